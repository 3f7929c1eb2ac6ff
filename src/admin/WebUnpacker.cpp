#include "admin/WebUnpacker.h"
#include "admin/ZipArchive.h"
#include "base/Descriptor.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>

#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
fs::path pathOf(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

/// Where the folder really is; it need not be there.
QString resolved(const QString &folder)
{
    const QFileInfo info(folder);
    return info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
}

/// Nothing can take the place of a folder that another file system is mounted on; what is in it can be replaced.
bool isMountPoint(const QString &folder)
{
    struct statx status
    {};
    return ::statx(AT_FDCWD, QFile::encodeName(folder).constData(), 0, STATX_BASIC_STATS, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

constexpr char kNewInside[] = ".new"; // within a mount point

QString newFolder(const QString &folder)
{
    return isMountPoint(folder) ? folder + QLatin1Char('/') + QLatin1String(kNewInside)
                                : folder + QStringLiteral(".new");
}

/// The new folder belongs to whom the old one belongs to, and new files in it may inherit the group.
void takeOverOwner(const QString &folder, const QString &fresh, mode_t moreRights)
{
    struct stat status
    {};
    const QByteArray place = QFile::encodeName(fresh);
    if (isMountPoint(folder) || ::stat(QFile::encodeName(folder).constData(), &status) != 0) {
        return;
    }
    if (::chown(place.constData(), status.st_uid, status.st_gid) != 0) { // not ours to give away
        [[maybe_unused]] const int kept = ::chown(place.constData(), static_cast<uid_t>(-1), status.st_gid);
    }
    constexpr mode_t kRights = 07777;
    ::chmod(place.constData(), (status.st_mode & kRights) | moreRights);
}

QString oldFolder(const QString &folder)
{
    return folder + QStringLiteral(".old");
}

/// A second name for the same file; a copy where the system allows none.
void addName(const fs::path &file, const fs::path &target, std::error_code &error)
{
    fs::create_hard_link(file, target, error);
    if (error) {
        fs::copy_file(file, target, error);
    }
}

/// Adds what only the old folder has to the new one. False: see error.
bool addMissing(const fs::path &old, const fs::path &fresh, std::error_code &error)
{
    for (fs::directory_iterator entry(old, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const fs::path target = fresh / entry->path().filename();
        if (entry->path() == fresh) {
            continue;
        }
        std::error_code ignored; // a target that is missing is no error
        const fs::file_type there = fs::symlink_status(target, ignored).type();
        const fs::file_type type = entry->symlink_status(ignored).type();
        const bool isMissing = there == fs::file_type::not_found;
        if (type == fs::file_type::directory && (isMissing || there == fs::file_type::directory)) {
            fs::create_directory(target, error);
            if (!error) {
                addMissing(entry->path(), target, error);
            }
        } else if (type == fs::file_type::symlink && isMissing) {
            fs::copy_symlink(entry->path(), target, error);
        } else if (type == fs::file_type::regular && isMissing) {
            addName(entry->path(), target, error);
        }
        if (error) {
            return false;
        }
    }
    return !error;
}

/// So that files whose names are in place also have their content after a power cut.
void syncDisk(const QString &folder)
{
    const Descriptor descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::syncfs(descriptor.get());
}

/// Exchanges what is in the folder, one entry after the other.
bool putEntriesInPlace(const QString &folder)
{
    const QDir fresh(newFolder(folder));
    const QStringList names = fresh.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    return std::all_of(names.begin(), names.end(), [&](const QString &name) {
        const QByteArray from = QFile::encodeName(fresh.filePath(name));
        const QByteArray to = QFile::encodeName(folder + QLatin1Char('/') + name);
        return ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_EXCHANGE) == 0 ||
               std::rename(from.constData(), to.constData()) == 0;
    });
}

bool putInPlace(const QString &folder)
{
    if (isMountPoint(folder)) {
        return putEntriesInPlace(folder);
    }
    const QByteArray place = QFile::encodeName(folder);
    const QByteArray fresh = QFile::encodeName(newFolder(folder));
    const QByteArray old = QFile::encodeName(oldFolder(folder));
    if (!QFileInfo::exists(folder)) {
        return std::rename(fresh.constData(), place.constData()) == 0;
    }
    if (::renameat2(AT_FDCWD, fresh.constData(), AT_FDCWD, place.constData(), RENAME_EXCHANGE) == 0) {
        return true;
    }
    // A file system without exchange. Between the two steps the next start would put the old one back.
    return std::rename(place.constData(), old.constData()) == 0 &&
           std::rename(fresh.constData(), place.constData()) == 0;
}

void removeFolder(const QString &folder)
{
    std::error_code ignored;
    fs::remove_all(pathOf(folder), ignored); // a link in it goes, not what it leads to
}
} // namespace

WebUnpacker::WebUnpacker(const QString &webFolder)
    : m_folder(webFolder)
{
    m_pool.setMaxThreadCount(1);
    const QString folder = resolved(m_folder);
    if (!QFileInfo::exists(folder) && QFileInfo::exists(oldFolder(folder))) {
        QFile::rename(oldFolder(folder), folder);
    }
    removeFolder(newFolder(folder));
    removeFolder(oldFolder(folder));
}

void WebUnpacker::unpack(const QString &archive, const QString &name)
{
    m_pool.start([this, archive, name] {
        int files = 0;
        const std::optional<QString> problem = unpackNow(archive, files);
        const QString outcome =
            problem.value_or(translated(QT_TRANSLATE_NOOP("messages", "%1 files unpacked")).arg(files));
        qInfo().noquote() << outcome;
        monitorLog(problem ? MonitorMessageType::Error : MonitorMessageType::System,
                   QStringLiteral("%1: %2").arg(name, outcome));
    });
}

std::optional<QString> WebUnpacker::unpackNow(const QString &archive, int &files)
{
    ZipArchive zip(archive);
    if (auto problem = zip.open()) {
        return problem;
    }
    const QString folder = resolved(m_folder);
    const QString fresh = newFolder(folder);
    removeFolder(fresh);
    const auto cannotWrite = [](const QString &path) {
        return translated(QT_TRANSLATE_NOOP("messages", "Cannot write %1")).arg(path);
    };
    if (!QDir().mkpath(fresh)) {
        return cannotWrite(fresh);
    }
    takeOverOwner(folder, fresh, S_IRWXU);
    std::optional<QString> problem;
    std::error_code error;
    const qint64 free = QStorageInfo(fresh).bytesAvailable();
    if (free < zip.unpackedBytes()) {
        problem =
            translated(QT_TRANSLATE_NOOP("messages", "Not enough space on the disk: %1 bytes are free")).arg(free);
    } else {
        problem = zip.unpack(fresh);
    }
    if (!problem && QFileInfo::exists(folder) && !addMissing(pathOf(folder), pathOf(fresh), error)) {
        problem = cannotWrite(QString::fromStdString(error.message()));
    }
    if (!problem) {
        takeOverOwner(folder, fresh, 0);
        syncDisk(fresh);
        if (!putInPlace(folder)) {
            problem = cannotWrite(folder);
        }
    }
    removeFolder(fresh); // what is left of it, or the old content
    removeFolder(oldFolder(folder));
    files = static_cast<int>(std::count_if(zip.entries().begin(), zip.entries().end(),
                                           [](const ZipArchive::Entry &entry) { return !entry.isDirectory; }));
    return problem;
}
