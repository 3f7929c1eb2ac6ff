#include "net/link/LinkSocket.h"
#include "net/link/LinkExchange.h"

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <sys/epoll.h>
#include <sys/socket.h>

namespace {
std::atomic<qint64> heldTogether{ 0 };
}

LinkSocket::LinkSocket(Descriptor socket, IoThread &thread, IoHandler &handler)
    : m_socket(std::move(socket))
    , m_thread(thread)
    , m_handler(handler)
{}

LinkSocket::~LinkSocket()
{
    heldTogether -= m_held;
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
    while (isOpen() && !m_waitsForRoom && !output.isEmpty()) {
        const ssize_t count = ::send(m_socket.get(), output.data(), static_cast<size_t>(output.size()), MSG_NOSIGNAL);
        if (count >= 0) {
            output.consume(static_cast<int>(count));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            m_waitsForRoom = true;
            watch();
        } else if (errno != EINTR) {
            hangUp(exchange);
        }
    }
    if (output.size() > m_maxWaiting || exchange.pendingBytes() > kMaxPendingBytes) {
        cutOff(exchange, End::DoesNotRead);
    } else if (!mayKeep(exchange)) {
        cutOff(exchange, End::TakesTooMuch);
    }
}

void LinkSocket::hangUp(LinkExchange &exchange, End why)
{
    if (isOpen()) {
        m_end = why;
        exchange.output().clear();
        ::shutdown(m_socket.get(), SHUT_RDWR);
    }
}

bool LinkSocket::mayKeep(const LinkExchange &exchange)
{
    const qint64 more = std::max<qint64>(exchange.heldBytes() - kLeastBytes, 0) - m_held;
    if (more == 0) { // nearly always
        return true;
    }
    m_held += more;
    const qint64 together = heldTogether.fetch_add(more) + more;
    return more < 0 || together <= kMaxTogetherBytes;
}

void LinkSocket::cutOff(LinkExchange &exchange, End why)
{
    const linger dropUnsent{ 1, 0 }; // what the system still holds for it goes too
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &dropUnsent, sizeof dropUnsent);
    hangUp(exchange, why);
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
