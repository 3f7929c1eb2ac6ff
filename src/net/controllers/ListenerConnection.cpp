#include "net/controllers/ListenerConnection.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "io/SocketAddress.h"

#include <cerrno>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace {
/// A socket on its way to the target; not open when the system refuses.
Descriptor beginConnecting(const QHostAddress &target, const ListenerOptions &options)
{
    const SocketAddress where(target, options.port);
    Descriptor socket(::socket(where.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    bool isGood = true;
    if (options.bindAddress.protocol() == QAbstractSocket::IPv4Protocol) {
        const SocketAddress from(options.bindAddress, 0);
        ::setsockopt(socket.get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof on);
        isGood = ::bind(socket.get(), from.get(), from.size) == 0;
    }
    if (!isGood || (::connect(socket.get(), where.get(), where.size) != 0 && errno != EINPROGRESS)) {
        return {};
    }
    return socket;
}
} // namespace

std::shared_ptr<ListenerConnection> ListenerConnection::open(const QHostAddress &target, const ListenerOptions &options,
                                                             IoThread &thread, Told told)
{
    Descriptor socket = beginConnecting(target, options);
    if (!socket.isOpen()) {
        return nullptr;
    }
    std::shared_ptr<ListenerConnection> connection(
        new ListenerConnection(std::move(socket), target, options.handshake, thread, std::move(told)));
    thread.add(connection);
    return connection;
}

ListenerConnection::ListenerConnection(Descriptor socket, const QHostAddress &target, const QByteArray &handshake,
                                       IoThread &thread, Told told)
    : m_target(target)
    , m_handshake(handshake)
    , m_told(std::move(told))
    , m_socket(std::move(socket), thread, *this)
    , m_session(handshake, linkClockMs())
{
    m_socket.trust(); // it is of our own list
}

ListenerConnection::State ListenerConnection::state() const
{
    const std::lock_guard lock(m_mutex);
    return m_state;
}

int ListenerConnection::systemNumber() const
{
    const std::lock_guard lock(m_mutex);
    return m_state == State::Connected ? m_session.systemNumber() : -1;
}

void ListenerConnection::send(const QByteArray &body)
{
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Connected && m_socket.isOpen()) {
        m_session.send(body, linkClockMs());
        m_socket.flush(m_session.exchange());
    }
}

void ListenerConnection::close()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Closed;
    m_socket.hangUp(m_session.exchange());
}

void ListenerConnection::setReading(bool isReading)
{
    const std::lock_guard lock(m_mutex);
    m_socket.setReading(isReading);
}

quint32 ListenerConnection::firstEvents() const
{
    return EPOLLIN | EPOLLOUT; // room to write: the connection is made
}

bool ListenerConnection::ready(quint32 epollEvents, qint64 nowMs)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Connecting && !finishConnecting(epollEvents, nowMs)) {
            return false;
        }
        if ((epollEvents & EPOLLOUT) != 0) {
            m_socket.noteRoom();
            m_socket.flush(m_session.exchange());
        }
    }
    return (epollEvents & (EPOLLIN | EPOLLHUP | EPOLLERR)) == 0 || readAvailable(nowMs);
}

bool ListenerConnection::tick(qint64 nowMs)
{
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Connecting) {
        return true;
    }
    const bool isAlive =
        m_state == State::Connected && m_socket.isOpen() && m_session.tick(nowMs, m_socket.isReading());
    m_socket.flush(m_session.exchange());
    return isAlive;
}

void ListenerConnection::removed()
{
    close();
    if (m_socket.end() == LinkSocket::End::DoesNotRead) {
        monitorLog(MonitorMessageType::Connection,
                   translated(QT_TRANSLATE_NOOP("messages", "Closed the connection with %1: it does not read"))
                       .arg(m_target.toString()));
    }
}

bool ListenerConnection::finishConnecting(quint32 epollEvents, qint64 nowMs)
{
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(descriptor(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0 || (epollEvents & EPOLLOUT) == 0) {
        return false;
    }
    m_state = State::Connected;
    m_session = ListenerSession(m_handshake, nowMs); // its times count from now
    return true;
}

bool ListenerConnection::readAvailable(qint64 nowMs)
{
    // One read a turn, so that a target that never stops talking leaves room for the others.
    constexpr size_t kReadSize = 65536;
    thread_local std::vector<char> buffer(kReadSize);
    const ssize_t count = ::recv(descriptor(), buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_state != State::Connected || !m_socket.isOpen()) {
            return false;
        }
        m_session.receive(buffer.data(), static_cast<int>(count), nowMs, m_messages);
        m_socket.flush(m_session.exchange()); // the target has its confirmations before anything else happens
    }
    for (TargetMessage &message : m_messages) {
        m_told(*this, message);
    }
    m_messages.clear();
    return true;
}
