#include "devices/PortHealth.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>

#include <utility>

void PortHealth::setOpen()
{
    m_isOpen = true;
    if (std::exchange(m_hasFailed, false)) {
        const QString line = translated(QT_TRANSLATE_NOOP("messages", "%1 (%2) is open again")).arg(m_name, m_device);
        monitorLog(MonitorMessageType::System, withRefused(line));
        m_refusedMs.reset();
    }
}

void PortHealth::setFailed(const QString &reason)
{
    m_isOpen = false;
    m_hasFailed = true;
    complain(translated(QT_TRANSLATE_NOOP("messages", "it cannot be opened: %1")).arg(reason));
}

void PortHealth::setLost(const QString &reason)
{
    m_isOpen = false;
    m_hasFailed = true;
    complain(translated(QT_TRANSLATE_NOOP("messages", "the device has gone: %1")).arg(reason));
}

void PortHealth::refuse(const QString &reason, int times)
{
    constexpr qint64 kSayAgainMs = 10000;
    const qint64 now = Clock::instance().monotonicMs();
    if (m_refusedMs && now - *m_refusedMs < kSayAgainMs) {
        m_refusedSince += times;
        return;
    }
    m_refusedMs = now;
    complain(withRefused(reason));
}

QString PortHealth::withRefused(const QString &text)
{
    const int times = std::exchange(m_refusedSince, 0);
    return times == 0
               ? text
               : translated(QT_TRANSLATE_NOOP("messages", "%1; before that %2 more were refused")).arg(text).arg(times);
}

void PortHealth::complain(const QString &text)
{
    m_lastError = text;
    const QString line = translated(QT_TRANSLATE_NOOP("messages", "Error:%1 (%2): %3")).arg(m_name, m_device, text);
    qWarning().noquote() << line;
    monitorLog(MonitorMessageType::Error, line);
}
