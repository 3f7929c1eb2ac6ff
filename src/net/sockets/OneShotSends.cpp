#include "net/sockets/OneShotSends.h"
#include "base/Descriptor.h"

#include "base/StopSignals.h"
#include "io/IoLoop.h"
#include "io/SocketAddress.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include <netdb.h>
#include <poll.h>

namespace {
struct Message
{
    std::string host;
    int port = 0;
    std::string data; // nothing of Qt: a thread may outlive the application
};
using Send = void (*)(const Message &);

Descriptor openSocket(int family, int type)
{
    return Descriptor(::socket(family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

bool waitUntilWritable(const Descriptor &socket, qint64 untilMs)
{
    pollfd wanted{ socket.get(), POLLOUT, 0 };
    const qint64 leftMs = untilMs - linkClockMs();
    return leftMs > 0 && ::poll(&wanted, 1, static_cast<int>(leftMs)) == 1;
}

bool connectUntil(const Descriptor &socket, const addrinfo &address, qint64 untilMs)
{
    if (::connect(socket.get(), address.ai_addr, address.ai_addrlen) == 0) {
        return true;
    }
    int error = errno;
    socklen_t size = sizeof error;
    return error == EINPROGRESS && waitUntilWritable(socket, untilMs) &&
           ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

void writeUntil(const Descriptor &socket, const std::string &data, qint64 untilMs)
{
    for (size_t sent = 0; sent < data.size();) {
        const ssize_t count = ::send(socket.get(), data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (count >= 0) {
            sent += static_cast<size_t>(count);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!waitUntilWritable(socket, untilMs)) {
                return;
            }
        } else if (errno != EINTR) {
            return;
        }
    }
}

/// The addresses of a host; a number is not looked up.
std::unique_ptr<addrinfo, void (*)(addrinfo *)> addressesOf(const Message &message, int type, int flags)
{
    addrinfo hints{};
    hints.ai_socktype = type;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const bool isPort = message.port > 0 && message.port <= 65535;
    if (!isPort || ::getaddrinfo(message.host.c_str(), std::to_string(message.port).c_str(), &hints, &found) != 0) {
        found = nullptr;
    }
    return { found, [](addrinfo *list) {
                if (list) {
                    ::freeaddrinfo(list);
                }
            } };
}

void sendByTcp(const Message &message)
{
    const auto addresses = addressesOf(message, SOCK_STREAM, 0);
    const qint64 untilMs = linkClockMs() + OneShotSends::kConnectMs;
    for (const addrinfo *address = addresses.get(); address; address = address->ai_next) {
        const Descriptor socket = openSocket(address->ai_family, SOCK_STREAM);
        if (socket.isOpen() && connectUntil(socket, *address, untilMs)) {
            writeUntil(socket, message.data, linkClockMs() + OneShotSends::kWriteMs);
            return;
        }
    }
}

void sendByUdp(const Message &message)
{
    const auto addresses = addressesOf(message, SOCK_DGRAM, AI_NUMERICHOST);
    if (!addresses) {
        return;
    }
    const Descriptor socket = openSocket(addresses->ai_family, SOCK_DGRAM);
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    const auto sendIt = [&] {
        return ::sendto(socket.get(), message.data.data(), message.data.size(), MSG_NOSIGNAL, addresses->ai_addr,
                        addresses->ai_addrlen);
    };
    if (sendIt() < 0 && errno == EAGAIN && waitUntilWritable(socket, linkClockMs() + OneShotSends::kWriteMs)) {
        sendIt();
    }
}
} // namespace

/// Messages of one kind in the order in which they came, and the threads that send them.
class OneShotSends::Lane : public std::enable_shared_from_this<Lane>
{
public:
    Lane(Send send, int mostThreads)
        : m_send(send)
        , m_mostThreads(mostThreads)
    {}

    bool take(Message message)
    {
        const std::lock_guard lock(m_mutex);
        const bool hasRoom = m_waiting.size() < kMostWaiting &&
                             (m_waitingBytes == 0 || m_waitingBytes + message.data.size() <= kMostWaitingBytes);
        if (m_isFinished || !hasRoom) {
            return false;
        }
        m_waitingBytes += message.data.size();
        m_waiting.push_back(std::move(message));
        if (m_threads < m_mostThreads) {
            startThread();
        }
        return true;
    }

    void finish(std::chrono::steady_clock::time_point until)
    {
        std::unique_lock lock(m_mutex);
        m_isFinished = true;
        m_isIdle.wait_until(lock, until, [this] { return m_threads == 0; });
        m_waiting.clear(); // the threads that are left end with what they are at
    }

private:
    void startThread() // with the lock held
    {
        const StopSignals::Blocked blocked;
        try {
            std::thread([self = shared_from_this()] { self->run(); }).detach();
            ++m_threads;
        } catch (const std::system_error &) { // no more threads: those that there are, or the next try, send it
        }
    }

    void run()
    {
        std::unique_lock lock(m_mutex);
        while (!m_waiting.empty()) {
            const Message message = std::move(m_waiting.front());
            m_waiting.pop_front();
            m_waitingBytes -= message.data.size();
            lock.unlock();
            m_send(message);
            lock.lock();
        }
        --m_threads;
        m_isIdle.notify_all();
    }

    const Send m_send;
    const int m_mostThreads;
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_isIdle;
    std::deque<Message> m_waiting;
    size_t m_waitingBytes = 0;
    int m_threads = 0;
    bool m_isFinished = false;
};

OneShotSends &OneShotSends::instance()
{
    static OneShotSends sends;
    return sends;
}

OneShotSends::OneShotSends()
    : m_tcp(std::make_shared<Lane>(sendByTcp, kMostTcpThreads))
    , m_udp(std::make_shared<Lane>(sendByUdp, 1))
{}

bool OneShotSends::sendTcp(const QString &host, int port, const QByteArray &data)
{
    return m_tcp->take({ host.toStdString(), port, data.toStdString() });
}

bool OneShotSends::sendUdp(const QString &address, int port, const QByteArray &data)
{
    return m_udp->take({ address.toStdString(), port, data.toStdString() });
}

void OneShotSends::finish(int mostMs)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(mostMs);
    m_tcp->finish(until);
    m_udp->finish(until);
}
