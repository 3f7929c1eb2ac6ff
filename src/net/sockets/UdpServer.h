#pragma once
#include "net/sockets/DatagramSocket.h"
#include "net/sockets/ProgramSocket.h"

#include <optional>

/// A UDP server of the program. What the program sends goes to the last sender.
/// Owns: its socket, which holds it while it lives.
class UdpServer final : public ProgramSocket, private DatagramSocket::Owner
{
public:
    UdpServer(SocketContext context, int localPort, quint16 port)
        : ProgramSocket(std::move(context), localPort)
        , m_port(port)
    {}

    void open(); // a port that cannot be had is told by an error event
    void send(const QByteArray &data) override;
    void restart() override {} // it hears every address
    void close() override;

private:
    QString farEnd() const override { return QLatin1Char(':') + QString::number(m_port); }
    void received(const std::vector<DatagramSocket::Datagram> &datagrams) override;
    void failed(int error) override;

    const quint16 m_port;
    std::shared_ptr<DatagramSocket> m_socket; // null: could not be opened, or closed
    std::optional<SocketAddress> m_lastSender;
};
