#include "admin/DataFolder.h"
#include "base/FileReplacement.h"
#include "base/Messages.h"
#include <QDebug>
#include <QDir>
#include <QTemporaryFile>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t kOthers = S_IRWXG | S_IRWXO;

/// Whether the folder is new, or has been a controller's. One that somebody else uses too, named by mistake perhaps,
/// stays as open as it is.
bool isControllers(const QString &folder)
{
    const char *const names[] = {
        "program.pobj", "persistent", "nonvolatile", "vars_storage.ini", "mac", "settings.ini"
    };
    const QDir directory(folder);
    return directory.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot) ||
           std::any_of(std::begin(names), std::end(names),
                       [&](const char *name) { return directory.exists(QLatin1String(name)); });
}

void closeToOthers(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat there
    {};
    const bool isPlain = ::lstat(name.constData(), &there) == 0 && (S_ISREG(there.st_mode) || S_ISDIR(there.st_mode)) &&
                         (there.st_mode & S_ISVTX) == 0;
    if (isPlain && (there.st_mode & kOthers) != 0) {
        ::chmod(name.constData(), there.st_mode & ALLPERMS & ~kOthers);
    }
}
} // namespace

std::optional<QString> DataFolder::take()
{
    QDir().mkpath(m_path);
    const bool isOurs = isControllers(m_path);
    qint64 holder = 0;
    if (!lock(holder)) {
        return QStringLiteral("Another controller, process %1, uses the data directory %2.").arg(holder).arg(m_path);
    }
    if (isOurs) {
        mendModes();
        FileReplacement::removeLeftovers(m_path);
    }
    return std::nullopt;
}

bool DataFolder::lock(qint64 &holder)
{
    // A lock of this kind tells its holder, and a program that a script starts does not inherit it.
    m_lock = Descriptor(::open(QFile::encodeName(m_path + QStringLiteral("/lock")).constData(),
                               O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    struct flock whole
    {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (!m_lock.isOpen()) {
        qWarning().noquote() << QStringLiteral("Cannot lock %1: %2").arg(m_path, qt_error_string(errno));
        return true;
    }
    if (::fcntl(m_lock.get(), F_SETLK, &whole) == 0 || (errno != EAGAIN && errno != EACCES)) {
        return true;
    }
    ::fcntl(m_lock.get(), F_GETLK, &whole);
    holder = whole.l_pid;
    return false;
}

void DataFolder::mendModes() const
{
    closeToOthers(m_path);
    for (const QString &name : QDir(m_path).entryList(QDir::Files | QDir::Hidden)) {
        closeToOthers(m_path + QLatin1Char('/') + name);
    }
}

std::optional<QString> DataFolder::whyNotWritable() const
{
    // Tried, not asked: permissions say nothing of a file system that is read-only.
    QTemporaryFile probe(m_path + QStringLiteral("/probe"));
    if (probe.open()) {
        return std::nullopt;
    }
    return translated(QT_TRANSLATE_NOOP("messages", "Values are not kept: cannot write in %1: %2"))
        .arg(m_path, probe.errorString());
}
