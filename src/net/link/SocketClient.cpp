#include "net/link/SocketClient.h"

#include <algorithm>
#include <cerrno>

#include <sys/epoll.h>
#include <sys/socket.h>

namespace {
constexpr int kGatherBytes = 16 * 1024;

bool isForProgram(const LinkEvent &event)
{
    return std::holds_alternative<ButtonReport>(event) || std::holds_alternative<LevelReport>(event);
}
} // namespace

SocketClient::SocketClient(Descriptor socket, const QString &peerAddress, IoThread &thread, LinkEventSink &sink)
    : m_peerAddress(peerAddress)
    , m_thread(thread)
    , m_sink(sink)
    , m_socket(std::move(socket), thread, *this)
    , m_session(linkClockMs())
{}

SocketClient::~SocketClient() = default;

LinkSocket::End SocketClient::end() const
{
    const std::lock_guard lock(m_mutex);
    return m_socket.end();
}

void SocketClient::turnAway(int formerNumber)
{
    const std::lock_guard lock(m_mutex);
    m_session.setDeviceNumber(formerNumber); // nobody has heard of the other one
    m_socket.hangUp(m_session.exchange());
}

bool SocketClient::isBackedUp() const
{
    const std::lock_guard lock(m_mutex);
    return m_session.output().size() > LinkSocket::kMaxWaitingBytes / 2;
}

template <class Action>
void SocketClient::send(Action action)
{
    const std::lock_guard lock(m_mutex);
    if (m_socket.isOpen()) {
        action();
        if (m_unhandledEvents == 0 || m_session.output().size() >= kGatherBytes) {
            flush();
        }
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
    flush();
    m_socket.hangUp(m_session.exchange());
}

void SocketClient::setReading(bool isReading)
{
    const std::lock_guard lock(m_mutex);
    m_isHeld = !isReading;
    updateReading();
}

void SocketClient::pause()
{
    const std::lock_guard lock(m_mutex);
    m_isPaused = true;
    updateReading();
}

void SocketClient::updateReading()
{
    m_socket.setReading(!m_isPaused && !m_isHeld);
}

bool SocketClient::ready(quint32 epollEvents, qint64 nowMs)
{
    if ((epollEvents & EPOLLOUT) != 0) {
        const std::lock_guard lock(m_mutex);
        m_socket.noteRoom();
        flush();
    }
    return (epollEvents & (EPOLLIN | EPOLLHUP | EPOLLERR)) == 0 || readAvailable(nowMs);
}

bool SocketClient::tick(qint64 nowMs)
{
    const std::lock_guard lock(m_mutex);
    if (m_isPaused && !m_sink.isFull()) {
        m_isPaused = false;
        updateReading();
    }
    const bool isAlive = m_socket.isOpen() && m_session.tick(nowMs, m_socket.isReading());
    flush();
    return isAlive;
}

void SocketClient::due()
{
    const std::lock_guard lock(m_mutex);
    flush(); // the program is busy
    m_isDueAsked = m_unhandledEvents > 0 && m_socket.isOpen();
    if (m_isDueAsked) {
        m_thread.callLater(shared_from_this());
    }
}

void SocketClient::removed()
{
    close();
    m_sink.clientClosed(*this);
}

bool SocketClient::readAvailable(qint64 nowMs)
{
    // One read a turn, so that a peer that never stops talking leaves room for the others.
    constexpr size_t kReadSize = 65536;
    thread_local std::vector<char> buffer(kReadSize);
    const ssize_t count = ::recv(descriptor(), buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    }
    {
        const std::lock_guard lock(m_mutex);
        if (!m_socket.isOpen()) {
            return false;
        }
        m_session.receive(buffer.data(), static_cast<int>(count), nowMs, m_events);
        if (!m_session.isStranger()) {
            m_socket.trust();
        }
        if (std::none_of(m_events.begin(), m_events.end(), isForProgram)) {
            flush();
        } else if (!m_isDueAsked) {
            m_isDueAsked = true;
            m_thread.callLater(shared_from_this());
        }
    }
    for (LinkEvent &event : m_events) {
        m_sink.takeEvent(*this, event);
    }
    m_events.clear();
    return true;
}

std::shared_ptr<const void> SocketClient::gatherUntilHandled()
{
    const std::lock_guard lock(m_mutex);
    ++m_unhandledEvents;
    return { this, [weak = weak_from_this()](const void *) {
                if (const auto client = weak.lock()) {
                    client->handled();
                }
            } };
}

void SocketClient::handled()
{
    const std::lock_guard lock(m_mutex);
    --m_unhandledEvents;
    flush();
}

void SocketClient::flush()
{
    m_socket.flush(m_session.exchange());
}
