#include "devices/PortHealth.h"

#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>

#include <utility>

void PortHealth::setOpen()
{
    m_isOpen = true;
    if (std::exchange(m_hasFailed, false)) {
        monitorLog(MonitorMessageType::System,
                   translated(QT_TRANSLATE_NOOP("messages", "%1 (%2) is open again")).arg(m_name, m_device));
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

void PortHealth::complain(const QString &text)
{
    m_lastError = text;
    const QString line = translated(QT_TRANSLATE_NOOP("messages", "Error:%1 (%2): %3")).arg(m_name, m_device, text);
    qWarning().noquote() << line;
    monitorLog(MonitorMessageType::Error, line);
}
