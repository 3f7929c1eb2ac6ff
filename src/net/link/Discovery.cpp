#include "net/link/Discovery.h"
#include "base/Descriptor.h"
#include "base/Messages.h"
#include "io/InterfaceEvents.h"
#include "io/SocketAddress.h"
#include "net/link/LinkCodes.h"
#include <QDebug>
#include <QNetworkInterface>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {
const QHostAddress &groupAddress()
{
    static const QHostAddress address(QStringLiteral("239.20.1.98"));
    return address;
}

Descriptor openDatagramSocket(const QHostAddress &address, bool isShared)
{
    Descriptor socket(::socket(SocketAddress(address, 0).family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    if (isShared) {
        ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    return socket;
}

bool bindTo(int socket, const QHostAddress &address, quint16 port)
{
    const SocketAddress where(address, port);
    where.allowToCome(socket);
    return ::bind(socket, where.get(), where.size) == 0;
}

bool joinGroup(int socket, int interfaceIndex)
{
    ip_mreqn request{};
    request.imr_multiaddr.s_addr = htonl(groupAddress().toIPv4Address());
    request.imr_ifindex = interfaceIndex;
    const int ownGroupsOnly = 0; // not those that another socket of this machine has joined
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_ALL, &ownGroupsOnly, sizeof ownGroupsOnly);
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &request, sizeof request);
    return ::setsockopt(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0;
}

bool hasAddress(const QNetworkInterface &card, const QHostAddress &address)
{
    const QList<QNetworkAddressEntry> entries = card.addressEntries();
    return std::any_of(entries.begin(), entries.end(),
                       [&](const QNetworkAddressEntry &entry) { return entry.ip() == address; });
}

/// The interfaces on which the group is joined: all fit ones, or the one that has the address we are bound to. The
/// group is one of IPv4: on an IPv6 address only who asks that address is answered.
QList<QNetworkInterface> groupInterfaces(const QHostAddress &bindAddress, bool isAnyAddress)
{
    QList<QNetworkInterface> fit;
    if (bindAddress.protocol() == QAbstractSocket::IPv6Protocol) {
        return fit;
    }
    const QList<QNetworkInterface> all = QNetworkInterface::allInterfaces();
    std::copy_if(all.begin(), all.end(), std::back_inserter(fit), [&](const QNetworkInterface &card) {
        constexpr QNetworkInterface::InterfaceFlags kNeeded =
            QNetworkInterface::IsUp | QNetworkInterface::IsRunning | QNetworkInterface::CanMulticast;
        const QNetworkInterface::InterfaceFlags flags = card.flags();
        return (flags & kNeeded) == kNeeded && !flags.testFlag(QNetworkInterface::IsLoopBack) &&
               (isAnyAddress || hasAddress(card, bindAddress));
    });
    return fit;
}

/// Null: there is no broadcast.
QHostAddress broadcastAddressFor(const QHostAddress &bindAddress)
{
    if (bindAddress.protocol() == QAbstractSocket::IPv6Protocol) {
        return QHostAddress();
    }
    return QHostAddress(bindAddress.isLoopback() ? QStringLiteral("127.255.255.255")
                                                 : QStringLiteral("255.255.255.255"));
}

void tellProblem(const QHostAddress &address, quint16 port)
{
    qWarning().noquote() << translated(QT_TRANSLATE_NOOP("messages", "Cannot listen on address %1, UDP port %2: %3"))
                                .arg(address.toString())
                                .arg(port)
                                .arg(QString::fromLocal8Bit(std::strerror(errno)));
}
} // namespace

/// One UDP socket of the discovery. The first one also keeps the time for the broadcasts.
class DiscoverySocket final : public IoHandler
{
public:
    enum class Role { AnswersOnly, AlsoBroadcasts };

    /// \param interfaceIndex  where it has joined the group; 0: nowhere
    DiscoverySocket(Descriptor socket, std::shared_ptr<Discovery> discovery, Role role, int interfaceIndex)
        : m_socket(std::move(socket))
        , m_discovery(std::move(discovery))
        , m_role(role)
        , m_interfaceIndex(interfaceIndex)
        , m_broadcastAtMs(linkClockMs() + Discovery::kBroadcastMs)
    {}

    int descriptor() const override { return m_socket.get(); }
    int interfaceIndex() const { return m_interfaceIndex; }
    void leave() { m_isLeft = true; } // at the next tick

    /// False: the system has not taken it. A datagram may get lost all the same.
    bool sendTo(const SocketAddress &receiver, const QByteArray &datagram) const
    {
        return ::sendto(m_socket.get(), datagram.constData(), static_cast<size_t>(datagram.size()), MSG_NOSIGNAL,
                        receiver.get(), receiver.size) >= 0;
    }

    bool ready(quint32, qint64) override
    {
        char bytes[kMaxDatagram]; // of a longer one only the beginning counts
        SocketAddress sender;
        const ssize_t count = ::recvfrom(m_socket.get(), bytes, sizeof bytes, 0, sender.get(), &sender.size);
        if (count > 0) {
            m_discovery->takeDatagram(bytes, static_cast<int>(count), sender);
        }
        return true;
    }

    bool tick(qint64 nowMs) override
    {
        if (m_role == Role::AlsoBroadcasts && nowMs >= m_broadcastAtMs) {
            m_broadcastAtMs = nowMs + Discovery::kBroadcastMs;
            m_discovery->broadcast(*this);
        }
        return !m_isLeft;
    }

    void removed() override
    {
        std::vector<DiscoverySocket *> &sockets = m_discovery->m_sockets;
        sockets.erase(std::remove(sockets.begin(), sockets.end(), this), sockets.end());
    }

private:
    const Descriptor m_socket;
    const std::shared_ptr<Discovery> m_discovery;
    const Role m_role;
    const int m_interfaceIndex;
    bool m_isLeft = false;
    qint64 m_broadcastAtMs;
};

/// Has the group joined on interfaces that come later. However many changes there are, it looks once a tick at most.
class DiscoveryWatch final : public IoHandler
{
public:
    DiscoveryWatch(Descriptor descriptor, std::shared_ptr<Discovery> discovery)
        : m_descriptor(std::move(descriptor))
        , m_discovery(std::move(discovery))
    {}

    int descriptor() const override { return m_descriptor.get(); }

    bool ready(quint32, qint64) override
    {
        takeInterfaceEvents(m_descriptor.get());
        m_hasChanged = true;
        return true;
    }

    bool tick(qint64) override
    {
        if (std::exchange(m_hasChanged, false)) {
            m_discovery->followInterfaces();
        }
        return true;
    }

private:
    const Descriptor m_descriptor;
    const std::shared_ptr<Discovery> m_discovery;
    bool m_hasChanged = true; // something may have come before it watched
};

void Discovery::start(IoThread &thread, LinkServices &services, const QHostAddress &bindAddress,
                      const DiscoveryPorts &ports)
{
    const std::shared_ptr<Discovery> discovery(new Discovery(thread, services, bindAddress, ports));
    Sockets sockets = discovery->openDirectSockets();
    const Sockets ofGroup = discovery->openGroupSockets();
    sockets.insert(sockets.end(), ofGroup.begin(), ofGroup.end());
    for (std::shared_ptr<DiscoverySocket> &socket : sockets) { // only now: the list of all is the thread's from here on
        thread.add(std::move(socket));
    }
    if (Descriptor events = openInterfaceEvents(); events.isOpen()) {
        thread.add(std::make_shared<DiscoveryWatch>(std::move(events), discovery));
    }
}

Discovery::Discovery(IoThread &thread, LinkServices &services, const QHostAddress &bindAddress,
                     const DiscoveryPorts &ports)
    : m_thread(thread)
    , m_services(services)
    , m_bindAddress(bindAddress)
    , m_broadcastAddress(broadcastAddressFor(bindAddress))
    , m_ports(ports)
{}

bool Discovery::isAnyAddress() const
{
    return m_bindAddress == QHostAddress(QHostAddress::Any) || m_bindAddress == QHostAddress(QHostAddress::AnyIPv4);
}

Discovery::Sockets Discovery::openDirectSockets()
{
    const auto open = [this](const QHostAddress &address, quint16 port, bool isShared, DiscoverySocket::Role role) {
        Descriptor socket = openDatagramSocket(address, isShared);
        if (!bindTo(socket.get(), address, port)) {
            tellProblem(address, port); // it still sends
        }
        auto made = std::make_shared<DiscoverySocket>(std::move(socket), shared_from_this(), role, 0);
        m_sockets.push_back(made.get());
        return made;
    };
    const QHostAddress where = isAnyAddress() ? QHostAddress(QHostAddress::AnyIPv4) : m_bindAddress;
    Sockets sockets{ open(where, m_ports.direct, false, DiscoverySocket::Role::AlsoBroadcasts) };
    if (!isAnyAddress()) { // a socket bound to the group does not hear what is sent to the address itself
        sockets.push_back(open(m_bindAddress, m_ports.group, true, DiscoverySocket::Role::AnswersOnly));
    }
    return sockets;
}

Discovery::Sockets Discovery::openGroupSockets()
{
    Sockets sockets;
    for (const QNetworkInterface &card : groupInterfaces(m_bindAddress, isAnyAddress())) {
        const bool isJoined = std::any_of(m_sockets.begin(), m_sockets.end(), [&](const DiscoverySocket *socket) {
            return socket->interfaceIndex() == card.index();
        });
        if (isJoined) {
            continue;
        }
        const QHostAddress where = isAnyAddress() ? QHostAddress(QHostAddress::AnyIPv4) : groupAddress();
        Descriptor socket = openDatagramSocket(where, true);
        if (!bindTo(socket.get(), where, m_ports.group) || !joinGroup(socket.get(), card.index())) {
            tellProblem(where, m_ports.group);
        }
        sockets.push_back(std::make_shared<DiscoverySocket>(std::move(socket), shared_from_this(),
                                                            DiscoverySocket::Role::AnswersOnly, card.index()));
        m_sockets.push_back(sockets.back().get());
    }
    return sockets;
}

void Discovery::followInterfaces()
{
    for (DiscoverySocket *socket : m_sockets) {
        char name[IF_NAMESIZE];
        if (socket->interfaceIndex() != 0 && !::if_indextoname(static_cast<uint>(socket->interfaceIndex()), name)) {
            socket->leave();
        }
    }
    for (std::shared_ptr<DiscoverySocket> &socket : openGroupSockets()) {
        m_thread.add(std::move(socket));
    }
}

/// Whether a datagram holds a request, or completes one that the sender's last datagram began.
bool Discovery::isRequest(const char *bytes, int count, const SocketAddress &sender)
{
    constexpr size_t kMostUnfinished = 32;
    const auto found = std::find_if(m_unfinished.begin(), m_unfinished.end(), [&](const Unfinished &each) {
        return each.port == sender.port() && each.address == sender.host();
    });
    FrameParser parser(kMaxDatagramPayload);
    std::vector<Frame> frames;
    if (found != m_unfinished.end()) {
        found->parser.feed(bytes, count, frames);
        m_unfinished.erase(found);
    }
    parser.feed(bytes, count, frames); // a whole one counts also behind half a one
    if (frames.empty() && parser.isWithinFrame()) {
        m_unfinished.push_back({ sender.host(), sender.port(), std::move(parser) });
        if (m_unfinished.size() > kMostUnfinished) {
            m_unfinished.pop_front();
        }
    }
    return std::any_of(frames.begin(), frames.end(), [](const Frame &frame) {
        return frame.code == LinkCode::kInformationRequest && frame.checksumOk;
    });
}

/// One answer a datagram, whatever it holds: the sender's address may be somebody else's.
void Discovery::takeDatagram(const char *bytes, int count, const SocketAddress &sender)
{
    if (isRequest(bytes, count, sender)) {
        const QByteArray answer = informationFrame();
        for (const DiscoverySocket *socket : m_sockets) {
            socket->sendTo(sender, answer);
        }
    }
}

void Discovery::broadcast(const DiscoverySocket &socket)
{
    if (m_broadcastAddress.isNull()) {
        return;
    }
    const QByteArray frame = informationFrame();
    if (socket.sendTo(SocketAddress(m_broadcastAddress, m_ports.broadcast), frame) || errno != ENETUNREACH) {
        return;
    }
    // A network without a gateway has no route to everybody: to each of its networks then.
    const QList<QNetworkInterface> cards = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &card : cards) {
        const QList<QNetworkAddressEntry> entries = card.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (!entry.broadcast().isNull()) {
                socket.sendTo(SocketAddress(entry.broadcast(), m_ports.broadcast), frame);
            }
        }
    }
}

QByteArray Discovery::informationFrame() const
{
    return frameBytes(LinkCode::kInformation, m_services.informationString());
}
