#include "app/ServiceManagerLink.h"

#include <chrono>
#include <utility>

#include <systemd/sd-daemon.h>

namespace {
constexpr int kKeepEnvironment = 0; // the variables that systemd has set

void tell(const char *state, const QString &status)
{
    QString line = status;
    line.replace(QLatin1Char('\n'), QLatin1Char(' ')); // a line end would begin another variable
    const QByteArray message = QByteArray(state) + "\nSTATUS=" + line.toUtf8();
    ::sd_notify(kKeepEnvironment, message.constData());
}

/// Half of the time after which systemd takes a silent process for dead; zero: it does not watch.
std::chrono::milliseconds lifeInterval()
{
    uint64_t microseconds = 0;
    const bool isWatched = ::sd_watchdog_enabled(kKeepEnvironment, &microseconds) > 0;
    const std::chrono::microseconds limit(isWatched ? microseconds : 0);
    return std::chrono::duration_cast<std::chrono::milliseconds>(limit / 2);
}
} // namespace

ServiceManagerLink::ServiceManagerLink(std::function<QString()> status)
    : m_status(std::move(status))
{
    m_life.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_life, &QTimer::timeout, &m_life, [this] { showLife(); });
}

void ServiceManagerLink::ready()
{
    tell("READY=1", m_status());
    if (const auto interval = lifeInterval(); interval.count() > 0) {
        m_life.start(interval);
        showLife();
    }
}

void ServiceManagerLink::stopping(const QString &why)
{
    m_life.stop();
    tell("STOPPING=1", why);
}

void ServiceManagerLink::showLife()
{
    tell("WATCHDOG=1", m_status());
}
