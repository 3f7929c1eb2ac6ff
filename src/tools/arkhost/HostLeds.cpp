#include "tools/arkhost/HostLeds.h"

namespace {
constexpr int kPorts = 4;
constexpr int kFirstIr = 8;
constexpr int kAnySerial = 12;

int serialLed(int index)
{
    return 2 * index;
}
} // namespace

QString HostLeds::nameOf(int led)
{
    if (led == kAnySerial) {
        return QStringLiteral("any");
    }
    if (led >= kFirstIr && led < kFirstIr + kPorts) {
        return QStringLiteral("ir %1").arg(led - kFirstIr + 1);
    }
    const bool isSerial = led >= 0 && led < serialLed(kPorts) && led % 2 == 0;
    return isSerial ? QStringLiteral("serial %1").arg(led / 2 + 1) : QString();
}

QStringList HostLeds::namesOfThoseOn() const
{
    QStringList names;
    for (int led = 0; led < kCount; ++led) {
        if (isOn(led)) {
            names << nameOf(led);
        }
    }
    return names;
}

bool HostLeds::set(int led, bool on)
{
    if (nameOf(led).isEmpty()) {
        return false;
    }
    const auto index = static_cast<size_t>(led);
    m_on[index] = on;
    m_wereOn[index] = m_wereOn[index] || on;
    return true;
}

QString HostLeds::takeLine()
{
    const auto lit = m_on | m_wereOn;
    m_wereOn.reset();
    QString line = QStringLiteral("serial");
    const auto mark = [&](int led, int number) {
        line += QLatin1Char(' ') + (lit[static_cast<size_t>(led)] ? QString::number(number) : QStringLiteral("-"));
    };
    for (int port = 0; port < kPorts; ++port) {
        mark(serialLed(port), port + 1);
    }
    line += QStringLiteral("  ir");
    for (int emitter = 0; emitter < kPorts; ++emitter) {
        mark(kFirstIr + emitter, emitter + 1);
    }
    return line + (lit[kAnySerial] ? QStringLiteral("  any *") : QStringLiteral("  any -"));
}
