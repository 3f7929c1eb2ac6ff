#include "base/FileReplacement.h"
#include "base/Descriptor.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr const char *kSuffix = ".unfinished";
constexpr mode_t kOwnersOnly = 0600;

QString systemError()
{
    return qt_error_string(errno);
}

QString resolved(const QString &path)
{
    const QFileInfo info(path);
    return info.isSymLink() && info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
}

QByteArray temporaryOf(const QString &place)
{
    return QFile::encodeName(place) + kSuffix;
}

/// So that what was renamed or removed in it is so after a power cut too.
std::optional<QString> syncDirectoryOf(const QString &path)
{
    const QByteArray name = QFile::encodeName(QFileInfo(path).absolutePath());
    const Descriptor directory(::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.isOpen()) {
        return systemError();
    }
    if (::fsync(directory.get()) != 0 && errno != EINVAL) { // a file system that has nothing to sync
        return systemError();
    }
    return std::nullopt;
}
} // namespace

FileReplacement::FileReplacement(const QString &path)
    : m_place(resolved(path))
    , m_temporary(temporaryOf(m_place))
    , m_file(m_place)
{}

FileReplacement::~FileReplacement()
{
    if (m_file.isOpen()) {
        m_file.close();
        ::unlink(m_temporary.constData());
    }
}

std::optional<QString> FileReplacement::open()
{
    const QByteArray place = QFile::encodeName(m_place);
    struct stat there
    {};
    const bool isThere = ::stat(place.constData(), &there) == 0;
    if (isThere && !S_ISREG(there.st_mode)) {
        return qt_error_string(S_ISDIR(there.st_mode) ? EISDIR : EINVAL);
    }
    ::unlink(m_temporary.constData());
    const int descriptor =
        ::open(m_temporary.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnersOnly);
    if (descriptor < 0) {
        return systemError();
    }
    m_file.open(descriptor, QIODevice::ReadWrite, QFileDevice::AutoCloseHandle);
    if (::fchmod(descriptor, isThere ? there.st_mode & ALLPERMS : kOwnersOnly) != 0) {
        return systemError();
    }
    return std::nullopt;
}

std::optional<QString> FileReplacement::commit()
{
    if (!m_file.flush() || ::fsync(m_file.handle()) != 0 ||
        std::rename(m_temporary.constData(), QFile::encodeName(m_place).constData()) != 0) {
        return systemError();
    }
    m_file.close();
    return syncDirectoryOf(m_place);
}

std::optional<QString> FileReplacement::write(const QString &path, const QByteArray &content)
{
    FileReplacement replacement(path);
    if (auto problem = replacement.open()) {
        return problem;
    }
    for (int written = 0; written < content.size();) {
        const ssize_t count = ::write(replacement.file().handle(), content.constData() + written,
                                      static_cast<size_t>(content.size() - written));
        if (count < 0 && errno != EINTR) {
            return systemError();
        }
        written += static_cast<int>(std::max<ssize_t>(count, 0));
    }
    return replacement.commit();
}

std::optional<QString> FileReplacement::remove(const QString &path)
{
    if (::unlink(QFile::encodeName(path).constData()) != 0) {
        return errno == ENOENT ? std::nullopt : std::optional(systemError());
    }
    return syncDirectoryOf(path);
}

void FileReplacement::removeLeftoverOf(const QString &path)
{
    ::unlink(temporaryOf(resolved(path)).constData());
}

void FileReplacement::removeLeftovers(const QString &directory)
{
    QDir folder(directory);
    const QStringList leftovers =
        folder.entryList({ QLatin1Char('*') + QString::fromLatin1(kSuffix) }, QDir::Files | QDir::Hidden);
    for (const QString &name : leftovers) {
        folder.remove(name);
    }
}
