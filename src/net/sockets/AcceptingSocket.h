#pragma once
#include "net/sockets/ProgramSocket.h"
#include "net/sockets/TcpStream.h"

class ListenSocket;

/// What a TCP and a WebSocket server of the program have in common: they listen on every address of the controller, and
/// have a bounded number of connections. One more is closed as soon as it has come, with an error event, the first
/// time. Owns: the socket that listens. Ends: close() ends the listening; connections stay until they close, and keep
/// their server until then.
class AcceptingSocket : public ProgramSocket
{
public:
    static constexpr int kMostConnections = 1000;

    AcceptingSocket(SocketContext context, int localPort, quint16 port)
        : ProgramSocket(std::move(context), localPort)
        , m_port(port)
    {}
    ~AcceptingSocket() override;

    bool listen(); // false: the port cannot be had
    void restart() override;
    void close() override;

protected:
    virtual void take(Descriptor socket) = 0; // one more connection, which has been counted
    void release() { --m_connections; }
    QString farEnd() const override { return QLatin1Char(':') + QString::number(m_port); }

private:
    void accept(Descriptor socket);

    const quint16 m_port;
    std::shared_ptr<ListenSocket> m_listener;
    int m_connections = 0;
    bool m_hasRefused = false;
};
