#include "admin/ZipArchive.h"
#include <QDir>
#include <QTemporaryDir>

#include <cstdlib>

/// Whatever an archive holds, nothing appears outside the folder it is unpacked to, and no more than it announced.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir directory;
    const QString folder = directory.filePath(QStringLiteral("deep/folder"));
    QFile file(directory.filePath(QStringLiteral("a.zip")));
    if (!file.open(QIODevice::WriteOnly)) {
        std::abort();
    }
    file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    file.close();
    ZipArchive archive(file.fileName());
    if (archive.open() || archive.unpackedBytes() > 1024 * 1024) { // what is larger takes too long here
        return 0;
    }
    QDir().mkpath(folder);
    archive.unpack(folder);
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (QDir(directory.path()).entryList(everything).size() != 2 ||
        QDir(directory.filePath(QStringLiteral("deep"))).entryList(everything).size() != 1) {
        std::abort();
    }
    QDir(folder).removeRecursively();
    return 0;
}
