#include "net/sockets/UdpServer.h"

void UdpServer::open()
{
    using Input = DatagramSocket::Input;
    const std::shared_ptr<Owner> self(shared_from_this(), this);
    const SocketAddress any(QHostAddress(QHostAddress::Any), m_port);
    DatagramSocket::Result result = DatagramSocket::open(loop(), any, nullptr, Input::Read, self);
    if (!result.socket && result.error == QAbstractSocket::UnsupportedSocketOperationError) { // a kernel without IPv6
        const SocketAddress anyIpv4(QHostAddress(QHostAddress::AnyIPv4), m_port);
        result = DatagramSocket::open(loop(), anyIpv4, nullptr, Input::Read, self);
    }
    m_socket = std::move(result.socket);
    if (!m_socket) {
        later([this, error = result.error] { raiseError(error); });
    }
}

void UdpServer::send(const QByteArray &data)
{
    const int error =
        m_socket && m_lastSender ? m_socket->send(data, &*m_lastSender) : QAbstractSocket::SocketAccessError;
    if (error != kNoSocketError) {
        raiseError(error);
    }
}

void UdpServer::close()
{
    if (const std::shared_ptr<DatagramSocket> socket = std::exchange(m_socket, nullptr)) {
        socket->close();
    }
}

void UdpServer::received(const std::vector<DatagramSocket::Datagram> &datagrams)
{
    for (const DatagramSocket::Datagram &datagram : datagrams) {
        if (!m_socket) {
            return; // closed by a handler
        }
        m_lastSender = datagram.sender;
        events().data(localPort(), datagram.bytes,
                      { datagram.sender.host().toString().toLatin1(), datagram.sender.port() });
    }
}

void UdpServer::failed(int error)
{
    raiseError(error);
}
