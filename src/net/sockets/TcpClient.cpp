#include "net/sockets/TcpClient.h"

#include "base/Clock.h"

namespace {
constexpr int kLookAgainMs = 10;
constexpr qint64 kDeliverMs = 1000;
} // namespace

void TcpClient::send(const QByteArray &data)
{
    if (!m_stream || !m_stream->isConnected()) {
        raiseError(QAbstractSocket::SocketAccessError);
    } else if (!m_stream->write(data)) {
        drop(ByteStream::Close::Reset);
        raiseError(QAbstractSocket::SocketResourceError);
        if (!m_isClosed) { // by a handler of the error
            events().offline(localPort());
        }
    }
}

void TcpClient::restart()
{
    const bool isSamePeer = boundPort() != 0 && m_stream && m_stream->isConnected() && m_stream->goesTo(address());
    if (!isSamePeer) {
        drop(ByteStream::Close::Flush);
        connectNow();
        return;
    }
    // A connection between the same two ports as before needs a system that has forgotten that one: what was sent is
    // delivered first, then it ends at once.
    const std::shared_ptr<TcpStream> leaving = std::exchange(m_stream, nullptr);
    drop(ByteStream::Close::Flush);
    leaving->release();
    m_leaving = leaving;
    m_giveUpMs = Clock::instance().monotonicMs() + kDeliverMs;
    connectWhenDelivered();
}

void TcpClient::connectWhenDelivered()
{
    if (!m_leaving->isDelivered() && Clock::instance().monotonicMs() < m_giveUpMs) {
        Clock::instance().after(kLookAgainMs, [this, weak = weak_from_this(), attempt = m_attempt] {
            if (const std::shared_ptr<ProgramSocket> self = weak.lock(); self && attempt == m_attempt) {
                connectWhenDelivered();
            }
        });
        return;
    }
    std::exchange(m_leaving, nullptr)->close(ByteStream::Close::Forget);
    connectNow();
}

void TcpClient::connectNow()
{
    TcpStream::Result result = TcpStream::connectTo(loop(), address(), boundPort(), { shared_from_this(), this });
    m_stream = std::move(result.stream);
    if (!m_stream) {
        later([this, attempt = m_attempt, error = result.error] {
            if (attempt == m_attempt) {
                raiseError(error);
            }
        });
    }
}

void TcpClient::close()
{
    m_isClosed = true;
    drop(ByteStream::Close::Flush);
}

void TcpClient::drop(ByteStream::Close how)
{
    ++m_attempt;
    if (const std::shared_ptr<TcpStream> stream = std::exchange(m_stream, nullptr)) {
        stream->close(how);
    }
    if (const std::shared_ptr<TcpStream> leaving = std::exchange(m_leaving, nullptr)) {
        leaving->close(ByteStream::Close::Flush);
    }
}

void TcpClient::connected(ByteStream &)
{
    events().online(localPort());
}

void TcpClient::received(ByteStream &stream, const QByteArray &bytes)
{
    events().data(localPort(), bytes, stream.peer());
}

void TcpClient::ended(ByteStream &stream, int error)
{
    const bool wasConnected = stream.peer().port != 0;
    m_stream.reset();
    raiseError(error);
    if (wasConnected && !m_isClosed) { // by a handler of the error
        events().offline(localPort());
    }
}
