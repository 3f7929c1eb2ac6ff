#pragma once
#include "net/link/LinkHooks.h"
#include "net/link/ManagementCommand.h"

class Backlog;
class ConnectionRegistry;
class MonitorHistory;

/// What management tools want of the controller, by link or by the console port.
/// Owns: nothing. Thread: any; what the services want to hear on the main thread goes through the backlog.
/// Ends: with the network manager, after its threads.
class LinkRequests
{
public:
    using Problem = LinkServices::Problem; // what went wrong, if anything

    LinkRequests(const LinkHooks &hooks, ConnectionRegistry &registry, Backlog &backlog);

    void setMonitorHistory(MonitorHistory &history) { m_history = &history; }

    void take(SocketClient &client, const QByteArray &text); // a text command, on the I/O thread of that tool

    Problem changeSystemNumber(int number); // none: ignored; other controllers reconnect and learn the new one
    void changeNetwork(const HostNetwork &network, const QString &mac = {},
                       LinkServices::Trial trial = LinkServices::Trial::Wanted,
                       const std::weak_ptr<SocketClient> &asker = {}); // tells the asker what is wrong
    Problem setMacAddress(const QString &mac);

private:
    void perform(SocketClient &client, const Management::Command &command);
    void tellPast(SocketClient &client, qint64 ageMs) const;
    Problem rebootUnless(const Problem &problem);

    const LinkHooks m_hooks;
    ConnectionRegistry &m_registry;
    Backlog &m_backlog;
    MonitorHistory *m_history = nullptr; // borrowed; nullptr: none is kept
};
