#pragma once
#include "base/Descriptor.h"
#include <QObject>
#include <QTimer>

/// Says when network interfaces, cables or addresses may have changed: several changes within a moment once.
/// Owns: its descriptor and timer. Thread: the main thread. Ends: with its owner.
class InterfaceWatch : public QObject
{
    Q_OBJECT
public:
    InterfaceWatch();

Q_SIGNALS:
    void changed();

private:
    const Descriptor m_descriptor;
    QTimer m_moment;
};
