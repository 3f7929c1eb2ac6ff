#include "net/sockets/TcpServer.h"

void TcpServer::send(const QByteArray &data)
{
    bool isTaken = true;
    for (const std::shared_ptr<TcpStream> &stream : m_streams) {
        isTaken = stream->write(data) && isTaken;
    }
    if (!isTaken) {
        events().error(localPort(), QAbstractSocket::SocketResourceError);
    }
}

void TcpServer::take(int socket)
{
    const std::shared_ptr<TcpStream> stream = TcpStream::accepted(loop(), socket, { shared_from_this(), this });
    if (!stream) {
        release();
        return;
    }
    m_streams.push_back(stream);
    stream->announce();
}

void TcpServer::connected(ByteStream &stream)
{
    events().online(localPort(), stream.peer());
}

void TcpServer::received(ByteStream &stream, const QByteArray &bytes)
{
    events().data(localPort(), bytes, stream.peer());
}

void TcpServer::ended(ByteStream &stream, int)
{
    const SocketPeer peer = stream.peer();
    std::erase_if(m_streams, [&stream](const auto &each) { return each.get() == &stream; });
    release();
    events().offline(localPort(), peer);
}
