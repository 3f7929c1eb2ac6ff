#include "web/HttpConnectionHandler.h"

#include <QDebug>

#include <algorithm>
#include <cerrno>

#include <sys/epoll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace {
constexpr size_t kPiece = size_t{ 16 } * 1024; // also what may wait of a client that sends without reading
constexpr qint64 kFilePiece = qint64{ 1024 } * 1024;
constexpr int kPiecesPerTurn = 4; // then the other connections of the thread have theirs

std::vector<char> &scratch()
{
    thread_local std::vector<char> buffer(kPiece);
    return buffer;
}

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}
} // namespace

HttpSocket::Progress HttpSocket::send(HttpOutput &output)
{
    OutBuffer &bytes = output.bytes();
    if (bytes.isEmpty()) {
        return sendFile(output);
    }
    const int flags = MSG_NOSIGNAL | (output.hasFile() ? MSG_MORE : 0); // a head leaves with what is behind it
    const ssize_t count = ::send(m_socket.get(), bytes.data(), static_cast<size_t>(bytes.size()), flags);
    if (count < 0) {
        return wouldBlock() ? Progress::Blocked : Progress::Broken;
    }
    bytes.consume(static_cast<int>(count));
    return Progress::Some;
}

HttpSocket::Progress HttpSocket::sendFile(HttpOutput &output)
{
    off_t offset = output.fileOffset();
    ssize_t count = ::sendfile(m_socket.get(), output.file(), &offset,
                               static_cast<size_t>(std::min(output.fileBytes(), kFilePiece)));
    if (count < 0 && (errno == EINVAL || errno == ENOSYS)) { // a file system that cannot
        count = ::pread(output.file(), scratch().data(), std::min<size_t>(kPiece, output.fileBytes()), offset);
        if (count > 0) {
            count = ::send(m_socket.get(), scratch().data(), static_cast<size_t>(count), MSG_NOSIGNAL);
        }
    }
    if (count > 0) {
        output.consumeFile(count);
        return Progress::Some;
    }
    return count < 0 && wouldBlock() ? Progress::Blocked : Progress::Broken; // 0: the file has become shorter
}

void HttpSocket::beginLingering(qint64 nowMs)
{
    ::shutdown(m_socket.get(), SHUT_WR);
    m_lingersUntilMs = nowMs + kLingerMs;
}

bool HttpSocket::lingerOn()
{
    const ssize_t count = ::recv(m_socket.get(), scratch().data(), scratch().size(), 0);
    return count > 0 || (count < 0 && wouldBlock());
}

HttpConnectionHandler::HttpConnectionHandler(HttpConnectionHandlerPool::Newcomer client, IoThread &thread,
                                             const HttpSettings &settings, HttpRequestHandler &handler,
                                             HttpConnectionHandlerPool &pool)
    : HttpPlace(client.address, linkClockMs())
    , m_socket(std::move(client.socket))
    , m_thread(thread)
    , m_pool(pool)
    , m_conversation(settings, handler, linkClockMs())
    , m_watched(firstEvents())
{}

bool HttpConnectionHandler::ready(quint32 epollEvents, qint64 nowMs)
{
    if (m_socket.isLingering()) {
        return m_socket.lingerOn();
    }
    const bool isGone = (epollEvents & (EPOLLERR | EPOLLHUP)) != 0; // it reads no more either
    if (isGone || ((epollEvents & EPOLLIN) != 0 && !read(nowMs)) || !write(nowMs)) {
        return false;
    }
    if (m_conversation.isOver()) {
        m_pool.remove(*this); // it does not need the place any more
        if (m_hasEnded || !m_pool.beginLingering()) {
            return false;
        }
        m_socket.beginLingering(nowMs);
        watch(false);
        return true;
    }
    watch(!m_conversation.output().isEmpty());
    return true;
}

bool HttpConnectionHandler::tick(qint64 nowMs)
{
    if (m_socket.isLingering()) {
        return !m_socket.hasLingered(nowMs);
    }
    if (m_conversation.isTimedOut(nowMs)) {
        qDebug("HttpConnectionHandler (%p): read timeout occured", static_cast<void *>(this));
        return false;
    }
    m_isStalling = m_conversation.isStalling(nowMs);
    return true;
}

void HttpConnectionHandler::removed()
{
    m_pool.remove(*this);
    if (m_socket.isLingering()) {
        m_pool.endLingering();
    }
}

void HttpConnectionHandler::giveUp()
{
    ::shutdown(descriptor(), SHUT_RDWR); // its thread sees the end of the stream
}

bool HttpConnectionHandler::read(qint64 nowMs)
{
    if (!m_conversation.wantsInput() || m_hasEnded) {
        return true;
    }
    // One read a turn, so that a client that never stops talking leaves room for the others.
    const ssize_t count = ::recv(descriptor(), scratch().data(), scratch().size(), 0);
    if (count < 0) {
        return wouldBlock();
    }
    if (count == 0) {
        m_hasEnded = true;
        m_conversation.endOfInput();
    } else {
        m_activeMs = nowMs;
        m_conversation.receive(scratch().data(), static_cast<int>(count), nowMs);
    }
    return true;
}

bool HttpConnectionHandler::write(qint64 nowMs)
{
    HttpOutput &output = m_conversation.output();
    for (int pieces = 0; pieces < kPiecesPerTurn && !output.isEmpty(); ++pieces) {
        switch (m_socket.send(output)) {
        case HttpSocket::Progress::Some:
            m_activeMs = nowMs;
            m_conversation.sent(nowMs);
            break;
        case HttpSocket::Progress::Blocked:
            return true;
        case HttpSocket::Progress::Broken:
            return false;
        }
    }
    return true;
}

void HttpConnectionHandler::watch(bool isBlocked)
{
    const bool isReading = m_socket.isLingering() || (m_conversation.wantsInput() && !m_hasEnded);
    const quint32 events = (isReading ? EPOLLIN : 0U) | (isBlocked ? EPOLLOUT : 0U);
    if (events != m_watched) {
        m_watched = events;
        m_thread.watch(*this, events);
    }
}

HttpTurnedAway::HttpTurnedAway(Descriptor socket, qint64 nowMs, std::atomic<int> &count)
    : m_socket(std::move(socket))
    , m_count(count)
{
    ++m_count;
    HttpOutput output;
    output.append(
        QByteArrayLiteral("HTTP/1.1 503 too many connections\r\nConnection: close\r\n\r\nToo many connections\r\n"));
    m_socket.send(output); // the first bytes always fit
    m_socket.beginLingering(nowMs);
}

HttpTurnedAway::~HttpTurnedAway()
{
    --m_count;
}

bool HttpTurnedAway::ready(quint32, qint64)
{
    return m_socket.lingerOn();
}
