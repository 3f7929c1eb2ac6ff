#include "app/InterfaceWatch.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "io/InterfaceEvents.h"
#include "io/ListenSocket.h"

#include <QSocketNotifier>

#include <memory>

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

QString InterfaceWatch::expect(const QHostAddress &address)
{
    if (ListenSocket::isHere(address)) {
        return {};
    }
    const QString said =
        translated(QT_TRANSLATE_NOOP("messages", "Waiting for the address %1, which this machine does not have yet"))
            .arg(address.toString());
    monitorLog(MonitorMessageType::Warning, said);
    const auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = connect(this, &InterfaceWatch::changed, this, [address, connection] {
        if (ListenSocket::isHere(address)) {
            disconnect(*connection);
            monitorLog(MonitorMessageType::System,
                       translated(QT_TRANSLATE_NOOP("messages", "The address %1 has come")).arg(address.toString()));
        }
    });
    return said;
}
