#include "net/SocketClient.h"

#include <cerrno>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

SocketClient::SocketClient(int socket, const QString &peerAddress, IoThread &thread, LinkEventSink &sink)
    : m_socket(socket)
    , m_peerAddress(peerAddress)
    , m_thread(thread)
    , m_sink(sink)
    , m_session(linkClockMs())
{}

SocketClient::~SocketClient()
{
    ::close(m_socket); // not before: the number must not mean another socket while anybody can still send here
}

bool SocketClient::isTooSlow() const
{
    const std::lock_guard lock(m_mutex);
    return m_isTooSlow;
}

template <class Action>
void SocketClient::send(Action action)
{
    const std::lock_guard lock(m_mutex);
    if (m_isOpen) {
        action();
        flush();
    }
}

void SocketClient::begin()
{
    send([] {});
}

void SocketClient::sendPlain(quint8 code, const QByteArray &body)
{
    send([&] { m_session.sendPlain(code, body); });
}

void SocketClient::sendFrame(const QByteArray &frame)
{
    send([&] { m_session.sendFrame(frame); });
}

void SocketClient::sendMessage(quint8 code, const QByteArray &body)
{
    send([&] { m_session.sendMessage(code, body, linkClockMs()); });
}

void SocketClient::sendLevel(int levelCode, int level)
{
    send([&] { m_session.sendLevel(levelCode, level, linkClockMs()); });
}

void SocketClient::setTransferring(bool isTransferring)
{
    const std::lock_guard lock(m_mutex);
    m_session.setTransferring(isTransferring);
}

void SocketClient::close()
{
    const std::lock_guard lock(m_mutex);
    hangUp();
}

bool SocketClient::ready(quint32 epollEvents, qint64 nowMs)
{
    if ((epollEvents & EPOLLOUT) != 0) {
        send([this] {
            m_waitsForRoom = false;
            m_thread.watch(*this, EPOLLIN);
        });
    }
    return (epollEvents & (EPOLLIN | EPOLLHUP | EPOLLERR)) == 0 || readAvailable(nowMs);
}

bool SocketClient::tick(qint64 nowMs)
{
    const std::lock_guard lock(m_mutex);
    const bool isAlive = m_isOpen && m_session.tick(nowMs);
    flush();
    return isAlive;
}

void SocketClient::removed()
{
    close();
    m_sink.clientClosed(*this);
}

bool SocketClient::readAvailable(qint64 nowMs)
{
    // One read a turn, so that a peer that never stops talking leaves room for the others.
    constexpr size_t kReadSize = 64 * 1024;
    thread_local std::vector<char> buffer(kReadSize);
    const ssize_t count = ::recv(m_socket, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    }
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen) {
            return false;
        }
        m_session.receive(buffer.data(), static_cast<int>(count), nowMs, m_events);
        flush(); // the peer has its acknowledgements before anything else happens
    }
    for (LinkEvent &event : m_events) {
        m_sink.takeEvent(*this, event);
    }
    m_events.clear();
    return true;
}

void SocketClient::flush()
{
    OutBuffer &output = m_session.output();
    while (m_isOpen && !m_waitsForRoom && !output.isEmpty()) {
        const ssize_t count = ::send(m_socket, output.data(), static_cast<size_t>(output.size()), MSG_NOSIGNAL);
        if (count >= 0) {
            output.consume(static_cast<int>(count));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            m_waitsForRoom = true;
            m_thread.watch(*this, EPOLLIN | EPOLLOUT);
        } else if (errno != EINTR) {
            hangUp();
        }
    }
    if (output.size() > kMaxWaitingBytes) {
        m_isTooSlow = true;
        const linger dropUnsent{ 1, 0 }; // what the system still holds for it goes too
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &dropUnsent, sizeof dropUnsent);
        hangUp();
    }
}

void SocketClient::hangUp()
{
    if (m_isOpen) {
        m_isOpen = false;
        m_session.output().clear();
        ::shutdown(m_socket, SHUT_RDWR); // the I/O thread sees the end of the stream and removes us
    }
}
