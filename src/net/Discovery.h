#pragma once
#include "base/Frame.h"
#include "net/IoThread.h"
#include "net/LinkHooks.h"
#include <QHostAddress>
#include <QStringList>

#include <memory>
#include <vector>

struct DiscoveryPorts
{
    quint16 group = 13042;    // requests to the multicast group 239.20.1.98
    quint16 direct = 6743;    // requests to the controller itself
    quint16 broadcast = 6151; // where the information string is broadcast every 2 s
};

class DiscoverySocket;
struct SocketAddress;

/// Answers "who is there" on the local network with the controller's information string, and broadcasts it.
/// On a loopback address it keeps to that address: nothing leaves the machine.
/// Owns: its sockets, together with their I/O thread. Thread: made on the main thread, then served by one I/O thread,
///       so it answers also while a program keeps the main thread busy.
/// Ends: with its last socket.
class Discovery
{
public:
    static constexpr qint64 kBroadcastMs = 2000;

    /// Opens the sockets and has the thread serve them. A socket that cannot be opened is missing, with a line in
    /// problems (address, port, reason). The services outlive the thread.
    static void start(IoThread &thread, LinkServices &services, const QHostAddress &bindAddress,
                      const DiscoveryPorts &ports, QStringList &problems);

private:
    friend class DiscoverySocket;
    Discovery(LinkServices &services, const QHostAddress &bindAddress, const DiscoveryPorts &ports);
    void takeDatagram(const char *bytes, int count, const SocketAddress &sender);
    void broadcast(const DiscoverySocket &socket);
    QByteArray informationFrame() const;

    LinkServices &m_services;
    const QHostAddress m_broadcastAddress;
    const DiscoveryPorts m_ports;
    FrameParser m_parser{ kMaxDatagramPayload }; // one for all sockets
    std::vector<DiscoverySocket *> m_sockets;    // the answers go out through every one; the first is the direct one
};
