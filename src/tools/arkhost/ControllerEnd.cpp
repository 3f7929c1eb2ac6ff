#include "tools/arkhost/ControllerEnd.h"

#include <cstring>

ControllerEnd ControllerEnd::of(int status, QProcess::ExitStatus how)
{
    return { how == QProcess::CrashExit, status, 0 };
}

QString ControllerEnd::reason() const
{
    if (silentMs > 0) {
        return QStringLiteral("no sign of life for %1").arg(secondsText(silentMs));
    }
    return wasSignal ? QStringLiteral("signal %1").arg(signalName(number))
                     : QStringLiteral("exit status %1").arg(number);
}

QString signalName(int number)
{
    const char *const name = ::sigabbrev_np(number);
    return name ? QStringLiteral("SIG%1").arg(QLatin1String(name)) : QString::number(number);
}

QString secondsText(qint64 ms)
{
    constexpr double kMsPerSecond = 1000;
    return QStringLiteral("%1 s").arg(static_cast<double>(ms) / kMsPerSecond);
}

QString timeText(qint64 seconds)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, zero)
        .arg(seconds % 60, 2, 10, zero);
}
