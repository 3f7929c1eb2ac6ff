#pragma once
#include "net/sockets/AcceptingSocket.h"

#include <vector>

/// A TCP server of the program. What the program sends goes to every connection.
class TcpServer final : public AcceptingSocket, private ByteStream::Owner
{
public:
    using AcceptingSocket::AcceptingSocket;

    void send(const QByteArray &data) override;

private:
    void take(Descriptor socket) override;
    void connected(ByteStream &stream) override;
    void received(ByteStream &stream, const QByteArray &bytes) override;
    void ended(ByteStream &stream, int error) override;

    bool forget(const ByteStream &stream);

    std::vector<std::shared_ptr<TcpStream>> m_streams;
};
