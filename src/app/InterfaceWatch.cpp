#include "app/InterfaceWatch.h"

#include "io/InterfaceEvents.h"

#include <QSocketNotifier>

namespace {
constexpr int kMomentMs = 200;
}

InterfaceWatch::InterfaceWatch()
    : m_descriptor(openInterfaceEvents())
{
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, &InterfaceWatch::changed);
    if (!m_descriptor.isOpen()) {
        return;
    }
    auto *notifier = new QSocketNotifier(m_descriptor.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        takeInterfaceEvents(m_descriptor.get());
        if (!m_moment.isActive()) {
            m_moment.start(kMomentMs);
        }
    });
}
