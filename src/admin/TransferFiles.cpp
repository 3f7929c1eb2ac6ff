#include "admin/TransferFiles.h"
#include "base/Messages.h"
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr qint64 kBytesPerWrite = 8LL * 1024 * 1024;

enum DownloadKind { kSourceFile = 0, kUserInterfaceFile = 1, kIrCodeFile = 2 };

QString temporaryName(const QString &path)
{
    return path + QStringLiteral(".upload");
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// So that the new name too is there after a power cut.
void syncDirectory(const QString &path)
{
    const int directory = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory >= 0) {
        ::fsync(directory);
        ::close(directory);
    }
}

/// Takes the room now, so that a second upload does not count on it too. File systems that cannot are let be.
bool reserveSpace(const QFile &file, qint64 size)
{
    return ::fallocate(file.handle(), FALLOC_FL_KEEP_SIZE, 0, size) == 0 || errno == EOPNOTSUPP || errno == ENOSYS;
}
} // namespace

IncomingFile::IncomingFile(TransferFiles &files, const TransferTarget &target)
    : m_files(files)
    , m_target(target)
{}

IncomingFile::~IncomingFile()
{
    if (m_file.isOpen()) {
        m_file.close();
        m_file.remove();
    }
    m_files.release(m_target.path);
}

std::optional<QString> IncomingFile::open(qint64 size)
{
    const QFileInfo info(m_target.path);
    m_place = info.isSymLink() && info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
    const QString directory = QFileInfo(m_place).absolutePath();
    if (const QStorageInfo disk(directory); disk.isValid()) {
        const qint64 free = disk.bytesAvailable();
        if (free - TransferFiles::kKeptFreeBytes < size) {
            return translated(QT_TRANSLATE_NOOP("messages", "Not enough space on the disk: %1 bytes are free"))
                .arg(free);
        }
    }
    m_file.setFileName(temporaryName(m_place));
    QFile::remove(m_file.fileName());
    const QFileInfo there(m_place);
    const bool isReplaceable = !there.exists() || there.isFile(); // no folder, no device
    if (!isReplaceable || !m_file.open(QIODevice::ReadWrite | QIODevice::NewOnly)) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to open file"));
    }
    if (!reserveSpace(m_file, size)) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to write the file: %1")).arg(systemError());
    }
    return std::nullopt;
}

void IncomingFile::noteReceived(qint64 bytes)
{
    if (bytes - m_handedToDisk >= kBytesPerWrite && m_file.flush()) {
        ::sync_file_range(m_file.handle(), m_handedToDisk, bytes - m_handedToDisk, SYNC_FILE_RANGE_WRITE);
        m_handedToDisk = bytes;
    }
}

std::optional<QString> IncomingFile::commit()
{
    if (QFile::exists(m_place)) {
        m_file.setPermissions(QFile::permissions(m_place));
    }
    const QByteArray from = QFile::encodeName(m_file.fileName());
    const QByteArray to = QFile::encodeName(m_place);
    if (!m_file.flush() || ::fsync(m_file.handle()) != 0 || std::rename(from.constData(), to.constData()) != 0) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to write the file: %1")).arg(systemError());
    }
    m_file.close();
    syncDirectory(QFileInfo(m_place).absolutePath());
    return std::nullopt;
}

TransferFiles::TransferFiles(const TransferPaths &paths, Arrived arrived)
    : m_paths(paths)
    , m_arrived(std::move(arrived))
{}

void TransferFiles::removeLeftovers() const
{
    QStringList paths{ m_paths.object, m_paths.source, m_paths.userInterface, m_paths.webArchive };
    for (int number = 1; number <= kIrFiles; ++number) {
        paths << irPath(number);
    }
    for (const QString &path : qAsConst(paths)) {
        const QFileInfo info(path);
        QFile::remove(temporaryName(info.isSymLink() && info.exists() ? info.canonicalFilePath() : path));
    }
}

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
