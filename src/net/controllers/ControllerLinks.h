#pragma once
#include "net/controllers/DeviceListener.h"
#include <QObject>
#include <QStringList>

/// The links to the controllers of the listen list.
/// Owns: a listener for each address. Thread: the main thread; the connections run on the I/O threads.
/// Ends: before the I/O threads do.
class ControllerLinks : public QObject
{
    Q_OBJECT
public:
    static constexpr int kMaxTargets = 256; // each costs a descriptor and its traffic; further addresses are left out

    using NextThread = std::function<IoThread &()>; // deals the connections out

    ControllerLinks(const ListenerOptions &options, NextThread nextThread, QObject *parent = nullptr);
    ~ControllerLinks() override;

    /// Listens to these from now on and no longer to others; who stays keeps its connection. Entries that are no IPv4
    /// address of a single host are skipped, further ones of the same address too.
    /// Returns the addresses that are left, in their order and normal form.
    QStringList setAddresses(const QStringList &entries);

    /// A count, and for each target, highest address first, its address as a string and its status, both as a
    /// QDataStream of Qt 5.4 writes them; docs/formats/link-frame.md, "listenstatus?".
    QByteArray statusStream() const;

    void send(const QByteArray &body); // to every target that is connected

Q_SIGNALS:
    void told(const TargetMessage &message); // by a target of the list; in order

private:
    std::shared_ptr<DeviceListener> makeListener(const QHostAddress &target);

    const ListenerOptions m_options;
    const NextThread m_nextThread;
    Backlog m_backlog;                                        // of all targets together
    std::vector<std::shared_ptr<DeviceListener>> m_listeners; // in the order of the list
};
