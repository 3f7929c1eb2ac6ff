#include "base/Monitor.h"

#include <algorithm>

NotificationCenter &NotificationCenter::instance()
{
    static NotificationCenter center;
    return center;
}

void monitorLog(MonitorMessageType type, const QString &text)
{
    NotificationCenter &center = NotificationCenter::instance();
    if (center.isListening()) {
        Q_EMIT center.line(static_cast<int>(type), text);
    }
}

bool isMonitored()
{
    return NotificationCenter::instance().isListening();
}

QString printableOrHex(const QByteArray &bytes)
{
    const bool printable =
        std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte >= 0x20 && byte <= 0x7E; });
    return printable ? QString::fromLatin1(bytes) : QString::fromLatin1(bytes.toHex(' ').toUpper());
}
