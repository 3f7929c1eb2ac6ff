#include "net/sockets/UdpClient.h"

#include <netinet/in.h>

void UdpClient::send(const QByteArray &data)
{
    const int error = m_socket ? m_socket->send(data) : QAbstractSocket::SocketAccessError;
    if (error != kNoSocketError) {
        raiseError(error);
    }
}

void UdpClient::restart()
{
    close();
    const QHostAddress any(address().family() == AF_INET ? QHostAddress::AnyIPv4 : QHostAddress::AnyIPv6);
    const auto input = protocol() == Protocol::UdpTwoWay ? DatagramSocket::Input::Read : DatagramSocket::Input::Ignore;
    DatagramSocket::Result result =
        DatagramSocket::open(loop(), SocketAddress(any, boundPort()), &address(), input, { shared_from_this(), this });
    m_socket = std::move(result.socket);
    later([this, attempt = m_attempt, error = result.error] {
        if (attempt == m_attempt) {
            tellOutcome(error);
        }
    });
}

void UdpClient::close()
{
    ++m_attempt;
    if (const std::shared_ptr<DatagramSocket> socket = std::exchange(m_socket, nullptr)) {
        socket->close();
    }
}

void UdpClient::tellOutcome(int error)
{
    if (error == kNoSocketError) {
        events().online(localPort());
    } else {
        raiseError(error);
    }
}

void UdpClient::received(const std::vector<DatagramSocket::Datagram> &datagrams)
{
    QByteArray bytes;
    for (const DatagramSocket::Datagram &datagram : datagrams) {
        bytes += datagram.bytes;
    }
    const SocketAddress &sender = datagrams.back().sender;
    events().data(localPort(), bytes, { sender.host().toString().toLatin1(), sender.port() });
}

void UdpClient::failed(int error)
{
    raiseError(error);
}
