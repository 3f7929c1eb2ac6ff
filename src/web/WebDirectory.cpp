#include "web/WebDirectory.h"
#include "web/HttpText.h"

#include <QDir>
#include <QMimeDatabase>

#include <cerrno>

#include <fcntl.h>
#include <limits.h>

namespace {
constexpr int kEntryBytes = 512;      // what an entry takes beside its name and content, about
constexpr int kTypeBytes = 16 * 1024; // of a file's start, from which its type is told

bool isSame(const timespec &left, const timespec &right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

WebFile::Identity identityOf(const struct stat &status)
{
    return { status.st_dev, status.st_ino, status.st_size, status.st_ctim, status.st_mtim };
}

/// Could be a file's name: no NUL in it, and no step up.
bool isPlainName(const QByteArray &name)
{
    return !name.isEmpty() && name.size() < PATH_MAX && !name.contains('\0') && !name.startsWith('/') &&
           !name.split('/').contains("..");
}

QByteArray pathOfDescriptor(int descriptor)
{
    return "/proc/self/fd/" + QByteArray::number(descriptor);
}

/// Where an open descriptor's file stands, links followed.
QByteArray realPath(int descriptor)
{
    char path[PATH_MAX];
    const ssize_t size = ::readlink(pathOfDescriptor(descriptor).constData(), path, sizeof path);
    return size > 0 ? QByteArray(path, static_cast<int>(size)) : QByteArray();
}

std::shared_ptr<Descriptor> openFile(const QByteArray &path, int flags)
{
    const int descriptor = ::open(path.constData(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    return descriptor < 0 ? nullptr : std::make_shared<Descriptor>(descriptor);
}

QByteArray readStart(int descriptor, int count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    int filled = 0;
    while (filled < count) {
        const ssize_t more = ::pread(descriptor, bytes.data() + filled, static_cast<size_t>(count - filled), filled);
        if (more <= 0) {
            break;
        }
        filled += static_cast<int>(more);
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace

bool WebFile::Identity::operator==(const Identity &other) const
{
    return device == other.device && inode == other.inode && size == other.size && isSame(changed, other.changed) &&
           isSame(modified, other.modified);
}

WebDirectory::WebDirectory(const QString &path, std::time_t settledAfterSeconds)
    : m_path(path)
    , m_encodedPath(QFile::encodeName(path))
    , m_settledAfterSeconds(settledAfterSeconds)
{}

void WebDirectory::make() const
{
    QDir().mkpath(m_path);
}

WebDirectory::Opened WebDirectory::open(const QByteArray &name)
{
    if (!isPlainName(name)) {
        return {};
    }
    const QByteArray fullPath = m_encodedPath + '/' + name;
    struct stat status
    {};
    if (::stat(fullPath.constData(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return { S_ISDIR(status.st_mode) ? Access::Unreadable : Access::Missing, nullptr, nullptr };
    }
    // The same file as the one that was found inside before: wherever the path leads by now, it leads to that one.
    if (const auto file = kept(name); file && file->identity == identityOf(status)) {
        if (Opened opened = openKept(fullPath, file); opened.access == Access::Open) {
            return opened;
        }
    }
    return openInside(name, fullPath);
}

WebDirectory::Opened WebDirectory::openKept(const QByteArray &fullPath,
                                            const std::shared_ptr<const WebFile> &file) const
{
    if (file->hasContent) {
        return { Access::Open, file, nullptr };
    }
    struct stat status
    {};
    const auto opened = openFile(fullPath, O_RDONLY);
    if (!opened || ::fstat(opened->get(), &status) != 0 || !(identityOf(status) == file->identity)) {
        return {};
    }
    return { Access::Open, file, opened };
}

WebDirectory::Opened WebDirectory::openInside(const QByteArray &name, const QByteArray &fullPath)
{
    // First a descriptor that only names the file, so that nothing is read before it is known where the file stands.
    const auto directory = openFile(m_encodedPath, O_PATH | O_DIRECTORY);
    const auto named = openFile(fullPath, O_PATH);
    struct stat status
    {};
    if (!directory || !named || ::fstat(named->get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !realPath(named->get()).startsWith(realPath(directory->get()) + '/')) {
        return {};
    }
    const auto opened = openFile(pathOfDescriptor(named->get()), O_RDONLY);
    if (!opened) {
        return { errno == EACCES || errno == EPERM ? Access::Unreadable : Access::Missing, nullptr, nullptr };
    }
    if (::fstat(opened->get(), &status) != 0) {
        return {};
    }
    const auto file = examine(name, *opened, status);
    keep(name, file);
    return { Access::Open, file, opened };
}

std::shared_ptr<const WebFile> WebDirectory::examine(const QByteArray &name, const Descriptor &opened,
                                                     const struct stat &status) const
{
    auto file = std::make_shared<WebFile>();
    file->identity = identityOf(status);
    const bool isSmall = status.st_size <= kMaxKeptFile;
    const QByteArray start = readStart(opened.get(), isSmall ? static_cast<int>(status.st_size) : kTypeBytes);
    file->contentType =
        QMimeDatabase().mimeTypeForFileNameAndData(QFile::decodeName(name), start.left(kTypeBytes)).name().toLatin1();
    file->lastModified = HttpText::date(status.st_mtim.tv_sec);
    file->etag = QByteArray::number(static_cast<qint64>(status.st_size)).toBase64();
    const bool isSettled = std::time(nullptr) - status.st_ctim.tv_sec >= m_settledAfterSeconds;
    if (isSmall && isSettled && start.size() == status.st_size) {
        file->hasContent = true;
        file->content = start;
    }
    return file;
}

std::shared_ptr<const WebFile> WebDirectory::kept(const QByteArray &name) const
{
    const std::lock_guard lock(m_mutex);
    return m_kept.value(name);
}

void WebDirectory::keep(const QByteArray &name, const std::shared_ptr<const WebFile> &file)
{
    const int bytes = kEntryBytes + name.size() + file->content.size();
    const std::lock_guard lock(m_mutex);
    if (m_keptBytes + bytes > kMaxKeptTogether) {
        m_kept.clear(); // rare, and what is needed comes back by itself
        m_keptBytes = 0;
    }
    m_keptBytes += bytes; // also for one that is replaced: then it is cleared a little early
    m_kept.insert(name, file);
}
