#include "devices/PortSettings.h"

#include "devices/frames/PortFrames.h"
#include "devices/linux/GpioLine.h"

#include <QStringList>

QString PortSettings::text(const SerialSetup &setup)
{
    const char *const parities[] = { "n", "o", "e" };
    return QStringLiteral("%1,%2,8,%3%4")
        .arg(setup.baudRate)
        .arg(QLatin1String(parities[static_cast<int>(setup.parity)]))
        .arg(setup.stopBits)
        .arg(setup.protocol == SerialSetup::Protocol::Rs485 ? QStringLiteral(" 485") : QString());
}

QString PortSettings::text(const GpioLine &line)
{
    const GpioLine::Setting &setting = line.setting();
    QStringList parts{ setting.direction == GpioLine::Direction::Input ? QStringLiteral("input")
                                                                       : QStringLiteral("output"),
                       line.isOn() ? QStringLiteral("on") : QStringLiteral("off") };
    if (setting.isActiveLow) {
        parts << QStringLiteral("active low");
    }
    if (setting.debounceMs > 0) {
        parts << QStringLiteral("%1 ms").arg(setting.debounceMs);
    }
    if (line.isPolled()) {
        parts << QStringLiteral("asked every %1 ms").arg(GpioLine::kReadMs);
    }
    return parts.join(QStringLiteral(", "));
}
