#include "net/LinkSocket.h"
#include "net/LinkExchange.h"

#include <cerrno>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

LinkSocket::LinkSocket(int socket, IoThread &thread, IoHandler &handler)
    : m_socket(socket)
    , m_thread(thread)
    , m_handler(handler)
{}

LinkSocket::~LinkSocket()
{
    ::close(m_socket);
}

void LinkSocket::setReading(bool isReading)
{
    m_isReading = isReading;
    watch();
}

void LinkSocket::noteRoom()
{
    m_waitsForRoom = false;
    watch();
}

void LinkSocket::flush(LinkExchange &exchange)
{
    OutBuffer &output = exchange.output();
    while (m_isOpen && !m_waitsForRoom && !output.isEmpty()) {
        const ssize_t count = ::send(m_socket, output.data(), static_cast<size_t>(output.size()), MSG_NOSIGNAL);
        if (count >= 0) {
            output.consume(static_cast<int>(count));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            m_waitsForRoom = true;
            watch();
        } else if (errno != EINTR) {
            hangUp(exchange);
        }
    }
    if (output.size() > kMaxWaitingBytes || exchange.pendingBytes() > kMaxPendingBytes) {
        m_isTooSlow = true;
        const linger dropUnsent{ 1, 0 }; // what the system still holds for it goes too
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &dropUnsent, sizeof dropUnsent);
        hangUp(exchange);
    }
}

void LinkSocket::hangUp(LinkExchange &exchange)
{
    if (m_isOpen) {
        m_isOpen = false;
        exchange.output().clear();
        ::shutdown(m_socket, SHUT_RDWR);
    }
}

void LinkSocket::watch()
{
    quint32 events = 0;
    if (m_isReading) {
        events |= EPOLLIN;
    }
    if (m_waitsForRoom) {
        events |= EPOLLOUT;
    }
    m_thread.watch(m_handler, events);
}
