#include "app/TerminalMonitor.h"

#include "base/Monitor.h"

#include <cstdio>
#include <iterator>

namespace {
// By MonitorMessageType.
constexpr const char *kTypeNames[] = { "remote io", "system", "link",  "online", "error", "warning", "traffic",
                                       "command",   "level",  "pulse", "on",     "off",   "to",      "received" };
constexpr int kNameWidth = 9;

void print(int type, const QString &text)
{
    const QString line = TerminalMonitor::lineOf(QTime::currentTime(), type, text);
    std::fputs((line.toLocal8Bit() + '\n').constData(), stdout);
    std::fflush(stdout);
}
} // namespace

TerminalMonitor::TerminalMonitor()
{
    NotificationCenter &center = NotificationCenter::instance();
    connect(&center, &NotificationCenter::line, this, print, Qt::DirectConnection);
    center.addListener();
}

TerminalMonitor::~TerminalMonitor()
{
    NotificationCenter::instance().removeListener();
}

QString TerminalMonitor::lineOf(const QTime &time, int type, const QString &text)
{
    const bool isKnown = type >= 0 && type < static_cast<int>(std::size(kTypeNames));
    const QString name = isKnown ? QString::fromLatin1(kTypeNames[type]) : QString::number(type);
    return time.toString(QStringLiteral("HH:mm:ss.zzz ")) + name.leftJustified(kNameWidth) + QLatin1Char(' ') + text;
}
