#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// The network as a running program opens and closes its own sockets there. Each socket has a local port P, a number
/// that the program chooses; it is device 0:P:0. What happens on a socket comes as a data event of that device, never
/// before the statement that caused it has ended, but for errors of sending. The program's sockets implement it.
/// Thread: the main thread. Nothing here waits.
class SocketActions
{
public:
    enum class Protocol : int { Tcp = 1, Udp = 2, UdpTwoWay = 3 }; // Udp as a client: sends only

    enum Status : int { Done = 0, PortInUse = -1, CannotListen = -3 };

    virtual ~SocketActions() = default;

    /// A client with the same local port, protocol and bound port gets the new address and connects again.
    /// \param address    numeric
    /// \param boundPort  the network port to send from; below 10: any
    virtual int openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort) = 0;
    virtual void closeClient(int localPort) = 0;
    virtual void refuseAddress(int localPort) = 0; // raises the error event of an address that is none
    virtual int openServer(int localPort, quint16 port, Protocol protocol) = 0;
    virtual void closeServer(int localPort) = 0;
    virtual int openWebSocketServer(int localPort, quint16 port, const QString &name) = 0;
    virtual void closeWebSocketServer(int localPort) = 0;
    virtual int openWebSocketClient(int localPort, const QString &url) = 0;
    virtual void closeWebSocketClient(int localPort) = 0;

    /// One message on a socket of its own, which no event tells of. False: too many are on their way already.
    virtual bool sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data) = 0;

    /// A datagram to an address, or, with an empty one, to the broadcast address of every network.
    virtual void broadcast(const QString &address, quint16 port, const QByteArray &datagram) = 0;

    /// This controller's own addresses, sorted: IPv4 of the networks that are up; hardware addresses like
    /// 08:90:00:12:34:56.
    virtual std::vector<quint32> ipAddresses() const = 0;
    virtual QStringList hardwareAddresses() const = 0;
};
