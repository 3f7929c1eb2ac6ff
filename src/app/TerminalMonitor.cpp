#include "app/TerminalMonitor.h"

#include "base/MonitorNames.h"

#include <cstdio>

namespace {
void printLine(int type, const QString &text)
{
    const QString line = TerminalMonitor::lineOf(QTime::currentTime(), type, text);
    std::fputs((line.toLocal8Bit() + '\n').constData(), stdout);
    std::fflush(stdout);
}
} // namespace

TerminalMonitor::TerminalMonitor()
{
    NotificationCenter &center = NotificationCenter::instance();
    connect(&center, &NotificationCenter::line, this, printLine, Qt::DirectConnection);
    center.addListener();
}

TerminalMonitor::~TerminalMonitor()
{
    NotificationCenter::instance().removeListener();
}

QString TerminalMonitor::lineOf(const QTime &time, int type, const QString &text)
{
    const bool isKnown = type >= 0 && type < static_cast<int>(kMonitorTypeNames.size());
    const QString name =
        isKnown ? QString::fromLatin1(kMonitorTypeNames.at(static_cast<size_t>(type))) : QString::number(type);
    return time.toString(QStringLiteral("HH:mm:ss.zzz ")) + name.leftJustified(kMonitorNameWidth) + QLatin1Char(' ') +
           text;
}
