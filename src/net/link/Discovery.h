#pragma once
#include "base/Frame.h"
#include "io/IoThread.h"
#include "net/link/LinkHooks.h"
#include <QHostAddress>

#include <deque>
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
/// On a loopback address it keeps to that address: nothing leaves the machine. On an IPv6 address it answers who asks
/// that address, and broadcasts nothing.
/// Owns: its sockets, together with their I/O thread. Thread: made on the main thread, then served by one I/O thread,
///       so it answers also while a program keeps the main thread busy.
/// Ends: with its last socket.
class Discovery : public std::enable_shared_from_this<Discovery>
{
public:
    static constexpr qint64 kBroadcastMs = 2000;

    /// Opens the sockets and has the thread serve them, and those of interfaces that come later. A socket that cannot
    /// be opened is missing, with a line in the log (address, port, reason). The services outlive the thread.
    static void start(IoThread &thread, LinkServices &services, const QHostAddress &bindAddress,
                      const DiscoveryPorts &ports);

private:
    friend class DiscoverySocket;
    friend class DiscoveryWatch;
    Discovery(IoThread &thread, LinkServices &services, const QHostAddress &bindAddress, const DiscoveryPorts &ports);
    using Sockets = std::vector<std::shared_ptr<DiscoverySocket>>;
    bool isAnyAddress() const;
    Sockets openDirectSockets();
    Sockets openGroupSockets(); // of the interfaces that have none yet
    void followInterfaces();    // joins the group on new ones, leaves those that have gone
    bool isRequest(const char *bytes, int count, const SocketAddress &sender);
    void takeDatagram(const char *bytes, int count, const SocketAddress &sender);
    void broadcast(const DiscoverySocket &socket);
    QByteArray informationFrame() const;

    IoThread &m_thread;
    LinkServices &m_services;
    const QHostAddress m_bindAddress;
    const QHostAddress m_broadcastAddress;
    const DiscoveryPorts m_ports;
    /// A frame in the middle of which a sender's last datagram ended. Bounded: who talks nonsense harms nobody else.
    struct Unfinished
    {
        QHostAddress address;
        quint16 port = 0;
        FrameParser parser;
    };
    std::deque<Unfinished> m_unfinished;      // oldest first
    std::vector<DiscoverySocket *> m_sockets; // the answers go out through every one
};
