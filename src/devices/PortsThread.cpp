#include "devices/PortsThread.h"

#include <QAbstractEventDispatcher>

#include <utility>

void PortsThread::heard(const void *line)
{
    if (m_line != line && m_sinceHeard.isValid() && m_sinceHeard.nsecsElapsed() < kTogetherUs * qint64(1000)) {
        m_areSeveral = true;
    }
    m_line = line;
    m_sinceHeard.start();
}

void PortsThread::run()
{
    QAbstractEventDispatcher *loop = eventDispatcher();
    connect(loop, &QAbstractEventDispatcher::aboutToBlock, loop, [this] { gather(); });
    exec();
}

void PortsThread::gather()
{
    if (std::exchange(m_areSeveral, false)) {
        usleep(kTogetherUs);
    }
}
