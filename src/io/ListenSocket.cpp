#include "io/ListenSocket.h"
#include "base/Messages.h"
#include "io/SocketAddress.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace {
constexpr int kBacklog = 1024; // a whole building's panels come back at once after a power cut

int openSocket(const QHostAddress &address, quint16 port)
{
    const SocketAddress where(address, port);
    const int socket = ::socket(where.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        return -1;
    }
    const int on = 1;
    const int off = 0;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    where.allowToCome(socket);
    if (where.family() == AF_INET6) {
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    if (::bind(socket, where.get(), where.size) != 0 || ::listen(socket, kBacklog) != 0) {
        const int reason = errno;
        ::close(socket);
        errno = reason;
        return -1;
    }
    return socket;
}
} // namespace

bool ListenSocket::isHere(const QHostAddress &address)
{
    const SocketAddress where(address, 0);
    const int socket = ::socket(where.family(), SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool isAbsent = socket >= 0 && ::bind(socket, where.get(), where.size) != 0 && errno == EADDRNOTAVAIL;
    ::close(socket);
    return !isAbsent;
}

ListenSocket::Result ListenSocket::open(const QHostAddress &address, quint16 port, IoLoop &loop, Accepted accepted,
                                        int perTurn)
{
    int socket = openSocket(address, port);
    if (socket < 0 && errno == EAFNOSUPPORT && address == QHostAddress(QHostAddress::Any)) {
        socket = openSocket(QHostAddress(QHostAddress::AnyIPv4), port); // a kernel without IPv6
    }
    if (socket < 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        const QString where = address == QHostAddress(QHostAddress::Any) ? QStringLiteral("*") : address.toString();
        return { nullptr, translated(QT_TRANSLATE_NOOP("messages", "Cannot listen on address %1, TCP port %2: %3"))
                              .arg(where)
                              .arg(port)
                              .arg(reason) };
    }
    return { std::unique_ptr<ListenSocket>(new ListenSocket(socket, loop, std::move(accepted), perTurn)), QString() };
}

ListenSocket::ListenSocket(int socket, IoLoop &loop, Accepted accepted, int perTurn)
    : m_socket(socket)
    , m_loop(loop)
    , m_accepted(std::move(accepted))
    , m_perTurn(perTurn)
{}

ListenSocket::~ListenSocket()
{
    removed();
}

quint16 ListenSocket::port() const
{
    SocketAddress own;
    ::getsockname(m_socket, own.get(), &own.size);
    return own.port();
}

bool ListenSocket::ready(quint32, qint64)
{
    for (int count = 0; count < m_perTurn && m_socket >= 0; ++count) {
        SocketAddress peer;
        const int socket = ::accept4(m_socket, peer.get(), &peer.size, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket < 0) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                m_isResting = true;
                m_loop.watch(*this, 0);
            }
            return true;
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_accepted(socket, peer.host().toString());
    }
    return m_socket >= 0;
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
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}
