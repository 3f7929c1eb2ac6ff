#pragma once
#include "net/sockets/ProgramSocket.h"
#include "net/sockets/TcpStream.h"

/// A TCP client of the program. It connects once when it is opened, and again only by restart().
/// Owns: its connection, which holds it while it lives.
class TcpClient final : public ClientSocket, private ByteStream::Owner
{
public:
    TcpClient(SocketContext context, int localPort, int boundPort)
        : ClientSocket(std::move(context), localPort, Protocol::Tcp, boundPort)
    {}

    void send(const QByteArray &data) override;
    void restart() override;
    void close() override;

private:
    void connected(ByteStream &stream) override;
    void received(ByteStream &stream, const QByteArray &bytes) override;
    void ended(ByteStream &stream, int error) override;
    void drop(ByteStream::Close how);
    void connectNow();
    void connectWhenDelivered();

    std::shared_ptr<TcpStream> m_stream;  // null: not connected, nor on the way
    std::shared_ptr<TcpStream> m_leaving; // the one before, until it has delivered what was sent
    int m_attempt = 0;
    qint64 m_giveUpMs = 0;
    bool m_isClosed = false;
};
