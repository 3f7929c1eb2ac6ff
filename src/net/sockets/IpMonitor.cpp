#include "net/sockets/IpMonitor.h"

#include "base/Clock.h"

IpMonitor::IpMonitor(std::function<QString()> address, QObject *parent)
    : QObject(parent)
    , m_address(std::move(address))
    , m_last(m_address())
    , m_ticket(Clock::instance().every(kPeriodMs, [this] { check(); }))
{}

IpMonitor::~IpMonitor()
{
    Clock::instance().cancel(m_ticket);
}

void IpMonitor::check()
{
    const QString now = m_address();
    if (now.isEmpty() || now == m_last) {
        return;
    }
    const bool isFirst = m_last.isEmpty();
    m_last = now;
    if (!isFirst) {
        Q_EMIT changed();
    }
}
