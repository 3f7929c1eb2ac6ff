#pragma once
#include "devices/DeviceLinks.h"
#include "net/sockets/ProgramSocket.h"

#include <map>
#include <utility>

class ProgramState;
class ClientSocket;
class Dispatcher;

/// The sockets of one loaded program, devices 0:P:0.
/// Owns: them, their loop and what they share. Thread: the main thread.
/// Ends: before the program; every socket is closed then, and no event is raised any more. A handler of the program may
///       be running meanwhile.
class ProgramSockets : public SocketActions, public SocketOutputs
{
public:
    ProgramSockets(ProgramState &state, Dispatcher &dispatcher);
    ~ProgramSockets() override;
    ProgramSockets(const ProgramSockets &) = delete;
    ProgramSockets &operator=(const ProgramSockets &) = delete;

    bool write(int port, const QByteArray &data) override;
    void restartAll(); // this controller has got another address

    /// Pages that may use the program's WebSocket servers, besides those of this host; see WebSocketHandshake::Server.
    void setWebSocketOrigins(const QStringList &origins) { m_origins = origins; }

    int openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort) override;
    void closeClient(int localPort) override;
    void refuseAddress(int localPort) override;
    int openServer(int localPort, quint16 port, Protocol protocol) override;
    void closeServer(int localPort) override;
    int openWebSocketServer(int localPort, quint16 port, const QString &name) override;
    void closeWebSocketServer(int localPort) override;
    int openWebSocketClient(int localPort, const QString &url) override;
    void closeWebSocketClient(int localPort) override;

    bool sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data) override;
    void broadcast(const QString &address, quint16 port, const QByteArray &datagram) override;
    std::vector<quint32> ipAddresses() const override;
    QStringList hardwareAddresses() const override;

private:
    enum class Kind { Client, Server, WebSocketServer, WebSocketClient }; // data goes to the first that there is
    using Key = std::pair<int, Kind>;                                     // by local port
    using Sockets = std::multimap<Key, std::shared_ptr<ProgramSocket>>;   // of equal keys the oldest first

    bool isInUse(int localPort) const;
    std::shared_ptr<ClientSocket> findClient(int localPort, Protocol protocol, int boundPort) const;
    template <class Server>
    int openListening(Kind kind, std::shared_ptr<Server> server);
    void closeFirst(int localPort, Kind kind);

    ProgramState &m_state;
    SocketContext m_context;
    Sockets m_sockets;
    QStringList m_origins;
};
