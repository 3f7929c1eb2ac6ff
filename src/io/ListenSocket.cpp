#include "io/ListenSocket.h"
#include "base/Messages.h"
#include "io/SocketAddress.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>

namespace {
constexpr int kBacklog = 1024; // a whole building's panels come back at once after a power cut

Descriptor openSocket(const QHostAddress &address, quint16 port)
{
    const SocketAddress where(address, port);
    Descriptor socket(::socket(where.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return socket;
    }
    const int on = 1;
    const int off = 0;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    where.allowToCome(socket.get());
    if (where.family() == AF_INET6) {
        ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    if (::bind(socket.get(), where.get(), where.size) != 0 || ::listen(socket.get(), kBacklog) != 0) {
        socket.close();
    }
    return socket;
}
} // namespace

bool ListenSocket::isHere(const QHostAddress &address)
{
    const SocketAddress where(address, 0);
    const Descriptor socket(::socket(where.family(), SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return !socket.isOpen() || ::bind(socket.get(), where.get(), where.size) == 0 || errno != EADDRNOTAVAIL;
}

ListenSocket::Result ListenSocket::open(const QHostAddress &address, quint16 port, IoLoop &loop, Accepted accepted,
                                        int perTurn)
{
    Descriptor socket = openSocket(address, port);
    if (!socket.isOpen() && errno == EAFNOSUPPORT && address == QHostAddress(QHostAddress::Any)) {
        socket = openSocket(QHostAddress(QHostAddress::AnyIPv4), port); // a kernel without IPv6
    }
    if (!socket.isOpen()) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        const QString where = address == QHostAddress(QHostAddress::Any) ? QStringLiteral("*") : address.toString();
        return { nullptr, translated(QT_TRANSLATE_NOOP("messages", "Cannot listen on address %1, TCP port %2: %3"))
                              .arg(where)
                              .arg(port)
                              .arg(reason) };
    }
    return { std::unique_ptr<ListenSocket>(new ListenSocket(std::move(socket), loop, std::move(accepted), perTurn)),
             QString() };
}

ListenSocket::ListenSocket(Descriptor socket, IoLoop &loop, Accepted accepted, int perTurn)
    : m_socket(std::move(socket))
    , m_loop(loop)
    , m_accepted(std::move(accepted))
    , m_perTurn(perTurn)
{}

quint16 ListenSocket::port() const
{
    SocketAddress own;
    ::getsockname(m_socket.get(), own.get(), &own.size);
    return own.port();
}

bool ListenSocket::ready(quint32, qint64)
{
    for (int count = 0; count < m_perTurn && m_socket.isOpen(); ++count) {
        SocketAddress peer;
        Descriptor socket(::accept4(m_socket.get(), peer.get(), &peer.size, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.isOpen()) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                m_isResting = true;
                m_loop.watch(*this, 0);
            }
            return true;
        }
        const int on = 1;
        ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_accepted(std::move(socket), peer.host().toString());
    }
    return m_socket.isOpen();
}

bool ListenSocket::tick(qint64)
{
    if (m_isResting) {
        m_isResting = false;
        m_loop.watch(*this, EPOLLIN);
    }
    return true;
}

void ListenSocket::removed()
{
    m_socket.close();
}
