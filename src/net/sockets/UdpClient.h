#pragma once
#include "net/sockets/DatagramSocket.h"
#include "net/sockets/ProgramSocket.h"

/// A UDP client of the program, with one peer: it sends only, or both ways.
/// Owns: its socket, which holds it while it lives.
class UdpClient final : public ClientSocket, private DatagramSocket::Owner
{
public:
    using ClientSocket::ClientSocket;

    void send(const QByteArray &data) override;
    void restart() override;
    void close() override;

private:
    void received(const std::vector<DatagramSocket::Datagram> &datagrams) override;
    void failed(int error) override;
    void tellOutcome(int error);

    std::shared_ptr<DatagramSocket> m_socket; // null: could not be opened
    int m_attempt = 0;
};
