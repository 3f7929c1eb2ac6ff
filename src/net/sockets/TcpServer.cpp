#include "net/sockets/TcpServer.h"

void TcpServer::send(const QByteArray &data)
{
    const std::vector<std::shared_ptr<TcpStream>> streams = m_streams; // a handler may change the list
    for (const std::shared_ptr<TcpStream> &stream : streams) {
        if (!stream->write(data) && forget(*stream)) {
            const SocketPeer peer = stream->peer();
            stream->close(ByteStream::Close::Reset);
            raiseError(QAbstractSocket::SocketResourceError);
            events().offline(localPort(), peer);
        }
    }
}

void TcpServer::take(Descriptor socket)
{
    const std::shared_ptr<TcpStream> stream =
        TcpStream::accepted(loop(), std::move(socket), { shared_from_this(), this });
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
    forget(stream);
    events().offline(localPort(), peer);
}

bool TcpServer::forget(const ByteStream &stream)
{
    const bool wasThere = std::erase_if(m_streams, [&stream](const auto &each) { return each.get() == &stream; }) > 0;
    if (wasThere) {
        release();
    }
    return wasThere;
}
