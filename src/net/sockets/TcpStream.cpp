#include "net/sockets/TcpStream.h"

#include "base/Clock.h"
#include "net/sockets/SocketLoop.h"

#include <cerrno>
#include <vector>

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>

namespace {
constexpr size_t kReadSize = 64UL * 1024;

// A peer that vanished without a word is noticed after two minutes.
constexpr int kSilentSeconds = 60;
constexpr int kProbeSeconds = 15;
constexpr int kProbes = 4;

void setOption(int socket, int level, int option, int value)
{
    ::setsockopt(socket, level, option, &value, sizeof value);
}

void setUp(int socket)
{
    setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(socket, IPPROTO_TCP, TCP_KEEPIDLE, kSilentSeconds);
    setOption(socket, IPPROTO_TCP, TCP_KEEPINTVL, kProbeSeconds);
    setOption(socket, IPPROTO_TCP, TCP_KEEPCNT, kProbes);
}

bool bindTo(int socket, int family, quint16 port)
{
    const SocketAddress own(QHostAddress(family == AF_INET ? QHostAddress::AnyIPv4 : QHostAddress::AnyIPv6), port);
    setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    return ::bind(socket, own.get(), own.size) == 0;
}

SocketPeer peerOf(int socket)
{
    SocketAddress address;
    ::getpeername(socket, address.get(), &address.size);
    return { address.host().toString().toLatin1(), address.port() };
}

bool wouldWait(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// One buffer for all: it is empty again before anybody else reads.
char *readBuffer()
{
    static std::vector<char> buffer(kReadSize);
    return buffer.data();
}
} // namespace

TcpStream::Result TcpStream::connectTo(SocketLoop &loop, const SocketAddress &address, quint16 boundPort,
                                       std::shared_ptr<Owner> owner)
{
    Descriptor socket(::socket(address.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return { nullptr, socketErrorOf(errno) };
    }
    setUp(socket.get());
    const bool isBound = boundPort == 0 || bindTo(socket.get(), address.family(), boundPort);
    if (!isBound || (::connect(socket.get(), address.get(), address.size) != 0 && errno != EINPROGRESS)) {
        return { nullptr, socketErrorOf(errno) };
    }
    std::shared_ptr<TcpStream> stream(new TcpStream(loop, std::move(socket), std::move(owner), State::Connecting));
    stream->m_deadlineMs = Clock::instance().monotonicMs() + kConnectMs;
    stream->m_watched = EPOLLOUT;
    if (!loop.add(stream, EPOLLOUT)) {
        return { nullptr, QAbstractSocket::SocketResourceError };
    }
    return { std::move(stream), kNoSocketError };
}

std::shared_ptr<TcpStream> TcpStream::accepted(SocketLoop &loop, Descriptor socket, std::shared_ptr<Owner> owner)
{
    setUp(socket.get());
    std::shared_ptr<TcpStream> stream(new TcpStream(loop, std::move(socket), std::move(owner), State::Open));
    stream->m_peer = peerOf(stream->descriptor());
    stream->m_watched = EPOLLIN;
    if (!loop.add(stream, EPOLLIN)) {
        return nullptr;
    }
    return stream;
}

TcpStream::TcpStream(SocketLoop &loop, Descriptor socket, std::shared_ptr<Owner> owner, State state)
    : m_loop(loop)
    , m_socket(std::move(socket))
    , m_owner(std::move(owner))
    , m_state(state)
{}

TcpStream::~TcpStream()
{
    removed();
}

void TcpStream::announce()
{
    tell([this](Owner &owner) { owner.connected(*this); });
}

bool TcpStream::write(const QByteArray &bytes)
{
    if (m_state != State::Open || bytes.isEmpty()) {
        return m_state == State::Open;
    }
    if (!hasRoom(bytes.size())) {
        flush(); // the peer may have read meanwhile
        if (!hasRoom(bytes.size())) {
            return false;
        }
    }
    const bool isFirst = m_out.isEmpty();
    m_out.append(bytes);
    noteWaiting();
    if (isFirst) {
        flush();
        watch();
    }
    return true;
}

void TcpStream::close(Close how)
{
    m_owner.reset();
    m_isHolding = false;
    if (m_state == State::Open && how == Close::Flush) {
        m_state = State::Closing;
        m_isMuted = false;
        m_deadlineMs = Clock::instance().monotonicMs() + kFlushMs;
        flush();
        watch();
        return;
    }
    if (m_state != State::Closed) {
        if (m_state == State::Open && how == Close::Forget) {
            ::shutdown(m_socket.get(), SHUT_WR); // leaves ahead of the reset
        }
        m_state = State::Closed;
        const linger dropUnsent{ 1, 0 }; // and its own port is free at once
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &dropUnsent, sizeof dropUnsent);
        m_loop.io().remove(*this);
    }
}

void TcpStream::release()
{
    m_owner.reset();
    setHolding(false);
}

bool TcpStream::isDelivered() const
{
    int unconfirmed = 0;
    return m_state != State::Open ||
           (m_out.isEmpty() && (::ioctl(m_socket.get(), SIOCOUTQ, &unconfirmed) != 0 || unconfirmed == 0));
}

bool TcpStream::goesTo(const SocketAddress &address) const
{
    return m_peer.port == address.port() && m_peer.address == address.host().toString().toLatin1();
}

void TcpStream::setHolding(bool isHolding)
{
    m_isHolding = isHolding;
    unmute();
}

bool TcpStream::ready(quint32 epollEvents, qint64)
{
    if ((epollEvents & EPOLLOUT) != 0 && m_state != State::Connecting) {
        flush();
        watch();
    }
    if (m_state == State::Open && (m_isTelling || m_isHolding)) {
        m_isMuted = true; // until the owner is done
        watch();
        return true;
    }
    const bool hasInput = (epollEvents & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0;
    switch (m_state) {
    case State::Connecting:
        return finishConnecting();
    case State::Open:
        return !hasInput || readOnce();
    case State::Closing:
        return !hasInput || discard();
    case State::Closed:
        break;
    }
    return false;
}

bool TcpStream::tick(qint64 nowMs)
{
    if (m_deadlineMs == 0 || nowMs < m_deadlineMs) {
        return true;
    }
    if (m_state == State::Connecting) {
        return fail(QAbstractSocket::SocketTimeoutError);
    }
    close(Close::Reset);
    return false;
}

void TcpStream::removed()
{
    m_socket.close();
    m_out.clear();
    noteWaiting();
    m_state = State::Closed;
    m_owner.reset();
}

/// Calls the owner, which may close this stream, or let events in that concern it.
template <class Call>
void TcpStream::tell(Call call)
{
    const std::shared_ptr<Owner> owner = m_owner;
    if (!owner) {
        return;
    }
    m_isTelling = true;
    call(*owner);
    m_isTelling = false;
    unmute();
}

bool TcpStream::finishConnecting()
{
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) {
        return fail(socketErrorOf(error != 0 ? error : errno));
    }
    m_state = State::Open;
    m_deadlineMs = 0;
    m_peer = peerOf(m_socket.get());
    watch();
    announce();
    return m_state != State::Closed;
}

bool TcpStream::readOnce()
{
    const ssize_t count = ::recv(m_socket.get(), readBuffer(), kReadSize, 0);
    if (count < 0 && wouldWait(errno)) {
        return true;
    }
    if (count <= 0) {
        return fail(count == 0 ? QAbstractSocket::RemoteHostClosedError : socketErrorOf(errno));
    }
    const QByteArray bytes(readBuffer(), static_cast<int>(count));
    tell([&](Owner &owner) { owner.received(*this, bytes); });
    return m_state != State::Closed;
}

/// After close(): what the peer still says is dropped until it has said all. To close without would make the system
/// throw away what is on its way to the peer.
bool TcpStream::discard()
{
    const ssize_t count = ::recv(m_socket.get(), readBuffer(), kReadSize, 0);
    return count > 0 || (count < 0 && wouldWait(errno));
}

bool TcpStream::fail(int error)
{
    m_state = State::Closed;
    tell([&](Owner &owner) { owner.ended(*this, error); });
    return false;
}

bool TcpStream::hasRoom(int bytes) const
{
    const int waiting = m_out.size();
    return waiting == 0 || (waiting + bytes <= kMostWaitingBytes &&
                            (waiting + bytes <= SocketLoop::kShare ||
                             m_loop.waitingBytes() + bytes <= SocketLoop::kMostWaitingTogether));
}

void TcpStream::noteWaiting()
{
    m_loop.waitingBytes() += m_out.size() - m_noted;
    m_noted = m_out.size();
}

void TcpStream::flush()
{
    while (!m_out.isEmpty()) {
        const ssize_t count = ::send(m_socket.get(), m_out.data(), static_cast<size_t>(m_out.size()), MSG_NOSIGNAL);
        if (count >= 0) {
            m_out.consume(static_cast<int>(count));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            noteWaiting();
            return;
        } else if (errno != EINTR) {
            m_out.clear(); // the end of the stream is there to be read
        }
    }
    noteWaiting();
    if (m_state == State::Closing && !m_isShutDown) {
        m_isShutDown = true;
        ::shutdown(m_socket.get(), SHUT_WR);
    }
}

/// Waits for what the state demands. A muted stream asks for edges only: the loop would call again and again for input
/// that is not taken. When it asks for input again, the system looks whether some is there.
void TcpStream::watch()
{
    const quint32 room = m_out.isEmpty() ? 0U : EPOLLOUT;
    const quint32 wanted = (m_isMuted ? EPOLLET : EPOLLIN) | room;
    if (wanted != m_watched) {
        m_watched = wanted;
        m_loop.io().watch(*this, wanted);
    }
}

void TcpStream::unmute()
{
    if (m_isMuted && !m_isTelling && !m_isHolding && m_state != State::Closed) {
        m_isMuted = false;
        watch();
    }
}
