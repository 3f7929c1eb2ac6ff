#include "app/InterfaceWatch.h"

#include "io/InterfaceEvents.h"

#include <QSocketNotifier>

#include <unistd.h>

namespace {
constexpr int kMomentMs = 200;
}

InterfaceWatch::InterfaceWatch()
    : m_descriptor(openInterfaceEvents())
{
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, &InterfaceWatch::changed);
    if (m_descriptor < 0) {
        return;
    }
    auto *notifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        takeInterfaceEvents(m_descriptor);
        if (!m_moment.isActive()) {
            m_moment.start(kMomentMs);
        }
    });
}

InterfaceWatch::~InterfaceWatch()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}
