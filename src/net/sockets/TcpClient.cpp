#include "net/sockets/TcpClient.h"

void TcpClient::send(const QByteArray &data)
{
    if (!m_stream || !m_stream->isConnected()) {
        events().error(localPort(), QAbstractSocket::SocketAccessError);
    } else if (!m_stream->write(data)) {
        events().error(localPort(), QAbstractSocket::SocketResourceError);
    }
}

void TcpClient::restart()
{
    // A bound port can be used for the next connection only when nothing is left of this one.
    drop(boundPort() != 0 ? ByteStream::Close::Reset : ByteStream::Close::Flush);
    TcpStream::Result result = TcpStream::connectTo(loop(), address(), boundPort(), { shared_from_this(), this });
    m_stream = std::move(result.stream);
    if (!m_stream) {
        later([this, attempt = m_attempt, error = result.error] {
            if (attempt == m_attempt) {
                events().error(localPort(), error);
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
    events().error(localPort(), error);
    if (wasConnected && !m_isClosed) { // by a handler of the error
        events().offline(localPort());
    }
}
