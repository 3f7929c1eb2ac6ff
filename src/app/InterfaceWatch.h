#pragma once
#include "base/Descriptor.h"
#include <QHostAddress>
#include <QObject>
#include <QTimer>

/// Says when network interfaces, cables or addresses may have changed: several changes within a moment once.
/// Owns: its descriptor and timer. Thread: the main thread. Ends: with its owner.
class InterfaceWatch : public QObject
{
    Q_OBJECT
public:
    InterfaceWatch();

    /// Says in the monitor that an address is not here yet, and when it comes: with a cable, or from a DHCP server in
    /// an hour. Empty: it is here; else what was said.
    QString expect(const QHostAddress &address);

Q_SIGNALS:
    void changed();

private:
    const Descriptor m_descriptor;
    QTimer m_moment;
};
