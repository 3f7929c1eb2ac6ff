#include "devices/linux/InfraredDevice.h"

#include "base/Messages.h"
#include "devices/linux/DeviceFile.h"

#include <QDir>
#include <QFile>

#include <optional>

#include <fcntl.h>
#include <linux/lirc.h>
#include <sys/ioctl.h>

namespace {
std::optional<quint32> featuresOf(const Descriptor &device)
{
    quint32 features = 0;
    return ioctl(device.get(), LIRC_GET_FEATURES, &features) == 0 ? std::optional(features) : std::nullopt;
}

Descriptor opened(const QString &device, int how)
{
    return Descriptor(::open(QFile::encodeName(device).constData(), how | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
}
} // namespace

std::variant<Descriptor, QString> InfraredDevice::open(const QString &device, Use use)
{
    Descriptor descriptor = opened(device, use == Use::Send ? O_WRONLY : O_RDONLY);
    if (!descriptor.isOpen()) {
        return refusal(device, errno);
    }
    const std::optional<quint32> features = featuresOf(descriptor);
    if (!features) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is no infrared device, such as /dev/lirc0 is")).arg(device);
    }
    if (use == Use::Send && !(*features & LIRC_CAN_SEND_PULSE)) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 can only receive")).arg(device);
    }
    if (use == Use::Receive && !(*features & LIRC_CAN_REC_MODE2)) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 does not tell pulses and spaces")).arg(device);
    }
    return descriptor;
}

QString InfraredDevice::refusal(const QString &device, int error)
{
    return QStringLiteral("%1: %2").arg(device, DeviceFile::whyRefused(device, error));
}

bool InfraredDevice::isThere(const Descriptor &device)
{
    return featuresOf(device).has_value();
}

std::vector<InfraredDevice::Found> InfraredDevice::all()
{
    std::vector<Found> found;
    const QDir folder(QStringLiteral("/dev"));
    const QStringList names = folder.entryList({ QStringLiteral("lirc*") }, QDir::System, QDir::Name);
    for (const QString &name : names) {
        const Descriptor descriptor = opened(folder.filePath(name), O_RDONLY);
        const QString refusal = descriptor.isOpen() ? QString() : DeviceFile::whyRefused(folder.filePath(name), errno);
        const quint32 features = featuresOf(descriptor).value_or(0);
        found.push_back({ folder.filePath(name), (features & LIRC_CAN_SEND_PULSE) != 0,
                          (features & LIRC_CAN_REC_MODE2) != 0, refusal });
    }
    return found;
}
