#include "admin/TransferFiles.h"
#include "base/Messages.h"
#include <QFileInfo>
#include <QStorageInfo>

#include <cerrno>

#include <fcntl.h>

namespace {
constexpr qint64 kBytesPerWrite = 8LL * 1024 * 1024;

enum DownloadKind { kSourceFile = 0, kUserInterfaceFile = 1, kIrCodeFile = 2 };

/// Takes the room now, so that a second upload does not count on it too. File systems that cannot are let be.
bool reserveSpace(const QFile &file, qint64 size)
{
    return ::fallocate(file.handle(), FALLOC_FL_KEEP_SIZE, 0, size) == 0 || errno == EOPNOTSUPP || errno == ENOSYS;
}

QString failedToWrite(const QString &reason)
{
    return translated(QT_TRANSLATE_NOOP("messages", "Failed to write the file: %1")).arg(reason);
}
} // namespace

IncomingFile::IncomingFile(TransferFiles &files, const TransferTarget &target)
    : m_files(files)
    , m_target(target)
    , m_content(target.path)
{}

IncomingFile::~IncomingFile()
{
    m_content.reset(); // before another upload may have the name
    m_files.release(m_target.path);
}

std::optional<QString> IncomingFile::open(qint64 size)
{
    const QStorageInfo disk(QFileInfo(m_content->place()).absolutePath());
    if (disk.isValid() && disk.bytesAvailable() < size) {
        return translated(QT_TRANSLATE_NOOP("messages", "Not enough space on the disk: %1 bytes are free"))
            .arg(disk.bytesAvailable());
    }
    if (m_content->open()) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to open file"));
    }
    return reserveSpace(file(), size) ? std::nullopt : std::optional(failedToWrite(qt_error_string(errno)));
}

void IncomingFile::noteReceived(qint64 bytes)
{
    if (bytes - m_handedToDisk >= kBytesPerWrite && file().flush()) {
        ::sync_file_range(file().handle(), m_handedToDisk, bytes - m_handedToDisk, SYNC_FILE_RANGE_WRITE);
        m_handedToDisk = bytes;
    }
}

std::optional<QString> IncomingFile::commit()
{
    const std::optional<QString> problem = m_content->commit();
    return problem ? std::optional(failedToWrite(*problem)) : std::nullopt;
}

TransferFiles::TransferFiles(const TransferPaths &paths, Arrived arrived)
    : m_paths(paths)
    , m_arrived(std::move(arrived))
{}

std::optional<TransferTarget> TransferFiles::target(const QString &name, int irNumber) const
{
    struct Row
    {
        const char *suffix;
        TransferKind kind;
        QString path;
    };
    const Row rows[] = {
        { "pobj", TransferKind::Object, m_paths.object },
        { "src", TransferKind::Source, m_paths.source },
        { "dtp", TransferKind::UserInterface, m_paths.userInterface },
        { "zip", TransferKind::WebArchive, m_paths.webArchive },
        { "ir", TransferKind::IrCodes, irPath(irNumber) },
    };
    const QString suffix = QFileInfo(name).suffix().toLower();
    for (const Row &row : rows) {
        if (suffix == QLatin1String(row.suffix) && !row.path.isEmpty()) {
            return TransferTarget{ row.kind, row.path, name };
        }
    }
    return std::nullopt;
}

QString TransferFiles::downloadPath(int kind, int irNumber) const
{
    switch (kind) {
    case kSourceFile:
        return m_paths.source;
    case kUserInterfaceFile:
        return m_paths.userInterface;
    case kIrCodeFile:
        return irPath(irNumber);
    default:
        return {};
    }
}

std::unique_ptr<IncomingFile> TransferFiles::open(const TransferTarget &target, qint64 size, QString &problem)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_reserved.insert(target.path).second) {
            problem = translated(QT_TRANSLATE_NOOP("messages", "Another upload of this file is in progress"));
            return nullptr;
        }
    }
    std::unique_ptr<IncomingFile> incoming(new IncomingFile(*this, target));
    if (const std::optional<QString> refused = incoming->open(size)) {
        problem = *refused;
        return nullptr;
    }
    return incoming;
}

QString TransferFiles::irPath(int number) const
{
    return number >= 1 && number <= kIrFiles ? m_paths.irPattern.arg(number) : QString();
}

void TransferFiles::release(const QString &path)
{
    const std::lock_guard lock(m_mutex);
    m_reserved.erase(path);
}
