#include "devices/linux/DeviceFile.h"

#include "base/Messages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QByteArray pathOf(const QString &file)
{
    const bool isPath = file.startsWith(QLatin1Char('/')) || file.startsWith(QLatin1Char('.'));
    return QFile::encodeName(isPath ? file : QStringLiteral("/dev/") + file);
}

bool isOpenIn(const QString &process, dev_t device)
{
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(process));
    for (const QString &name : descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)) {
        struct stat status = {};
        if (::stat(QFile::encodeName(descriptors.filePath(name)).constData(), &status) == 0 &&
            S_ISCHR(status.st_mode) && status.st_rdev == device) {
            return true;
        }
    }
    return false;
}
} // namespace

std::optional<QString> DeviceFile::whyNoCharacterDevice(const QString &file)
{
    struct stat status = {};
    if (::stat(pathOf(file).constData(), &status) != 0) {
        return qt_error_string(errno);
    }
    if (S_ISCHR(status.st_mode)) {
        return std::nullopt;
    }
    return S_ISDIR(status.st_mode) ? translated(QT_TRANSLATE_NOOP("messages", "it is a folder, not a device"))
                                   : translated(QT_TRANSLATE_NOOP("messages", "it is a file, not a device"));
}

QString DeviceFile::whyRefused(const QString &file, int error)
{
    const QString reason = qt_error_string(error);
    const QString group = QFileInfo(QFile::decodeName(pathOf(file))).group();
    if (error == EPERM) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1: DeviceAllow of the service must name it")).arg(reason);
    }
    if (error != EACCES) {
        return reason;
    }
    return group.isEmpty() || group == QLatin1String("root")
               ? translated(QT_TRANSLATE_NOOP("messages", "%1: it belongs to root; a udev rule gives it to a group"))
                     .arg(reason)
               : translated(QT_TRANSLATE_NOOP("messages", "%1: who opens it must be in the group %2"))
                     .arg(reason, group);
}

QString DeviceFile::whyForbidden(const QString &file)
{
    const bool isAllowed = ::faccessat(AT_FDCWD, pathOf(file).constData(), R_OK | W_OK, AT_EACCESS) == 0;
    return isAllowed ? QString() : whyRefused(file, errno);
}

QString DeviceFile::holder(const QString &file)
{
    struct stat status = {};
    if (::stat(pathOf(file).constData(), &status) != 0) {
        return {};
    }
    for (const QString &process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        if (process.at(0).isDigit() && isOpenIn(process, status.st_rdev)) {
            QFile name(QStringLiteral("/proc/%1/comm").arg(process));
            name.open(QIODevice::ReadOnly);
            return QStringLiteral("%1 (%2)").arg(QString::fromLocal8Bit(name.readAll().trimmed()), process);
        }
    }
    return {};
}
