#include "net/sockets/ProgramSockets.h"

#include "interp/ProgramState.h"
#include "net/sockets/OneShotSends.h"
#include "net/sockets/OwnAddresses.h"
#include "net/sockets/TcpClient.h"
#include "net/sockets/TcpServer.h"
#include "net/sockets/UdpClient.h"
#include "net/sockets/UdpServer.h"
#include "net/sockets/websocket/WebSocketClient.h"
#include "net/sockets/websocket/WebSocketServer.h"

ProgramSockets::ProgramSockets(ProgramState &state, Dispatcher &dispatcher)
    : m_state(state)
    , m_context{ SocketLoop::make(), std::make_shared<SocketEvents>(state.program(), dispatcher) }
{
    state.setSockets(this);
}

ProgramSockets::~ProgramSockets()
{
    m_state.setSockets(nullptr);
    m_context.events->stop();
    for (const auto &[key, socket] : m_sockets) {
        socket->close();
    }
    m_context.loop->stop();
}

bool ProgramSockets::write(int port, const QByteArray &data)
{
    const auto first = m_sockets.lower_bound({ port, Kind::Client });
    if (first == m_sockets.end() || first->first.first != port) {
        return false;
    }
    const std::shared_ptr<ProgramSocket> socket = first->second; // a handler of an error may close it
    socket->send(data);
    return true;
}

void ProgramSockets::restartAll()
{
    const Sockets sockets = m_sockets;
    for (const auto &[key, socket] : sockets) {
        socket->restart();
    }
}

int ProgramSockets::openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort)
{
    std::shared_ptr<ClientSocket> client = findClient(localPort, protocol, boundPort);
    if (!client) {
        if (protocol == Protocol::Tcp) {
            client = std::make_shared<TcpClient>(m_context, localPort, boundPort);
        } else {
            client = std::make_shared<UdpClient>(m_context, localPort, protocol, boundPort);
        }
        m_sockets.emplace(Key{ localPort, Kind::Client }, client);
    }
    client->setAddress(SocketAddress(QHostAddress(address), port));
    client->restart();
    return Done;
}

void ProgramSockets::closeClient(int localPort)
{
    closeFirst(localPort, Kind::Client);
}

void ProgramSockets::refuseAddress(int localPort)
{
    m_context.events->refusedAddress(localPort);
}

int ProgramSockets::openServer(int localPort, quint16 port, Protocol protocol)
{
    if (protocol == Protocol::Tcp) {
        return openListening(Kind::Server, std::make_shared<TcpServer>(m_context, localPort, port));
    }
    if (isInUse(localPort)) {
        return PortInUse;
    }
    const auto server = std::make_shared<UdpServer>(m_context, localPort, port);
    m_sockets.emplace(Key{ localPort, Kind::Server }, server);
    server->open();
    return Done;
}

void ProgramSockets::closeServer(int localPort)
{
    closeFirst(localPort, Kind::Server);
}

int ProgramSockets::openWebSocketServer(int localPort, quint16 port, const QString &name)
{
    const WebSocketHandshake::Server server{ name, m_origins };
    return openListening(Kind::WebSocketServer, std::make_shared<WebSocketServer>(m_context, localPort, port, server));
}

void ProgramSockets::closeWebSocketServer(int localPort)
{
    closeFirst(localPort, Kind::WebSocketServer);
}

int ProgramSockets::openWebSocketClient(int localPort, const QString &url)
{
    closeFirst(localPort, Kind::WebSocketClient);
    const auto client = std::make_shared<WebSocketClient>(m_context, localPort, url);
    m_sockets.emplace(Key{ localPort, Kind::WebSocketClient }, client);
    client->restart();
    return Done;
}

void ProgramSockets::closeWebSocketClient(int localPort)
{
    closeFirst(localPort, Kind::WebSocketClient);
}

bool ProgramSockets::sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data)
{
    return protocol == Protocol::Tcp ? OneShotSends::instance().sendTcp(host, port, data)
                                     : OneShotSends::instance().sendUdp(host, port, data);
}

void ProgramSockets::broadcast(const QString &address, quint16 port, const QByteArray &datagram)
{
    broadcastDatagram(address, port, datagram);
}

std::vector<quint32> ProgramSockets::ipAddresses() const
{
    return ownIpAddresses();
}

QStringList ProgramSockets::hardwareAddresses() const
{
    return ownHardwareAddresses();
}

bool ProgramSockets::isInUse(int localPort) const
{
    const auto first = m_sockets.lower_bound({ localPort, Kind::Client });
    return first != m_sockets.end() && first->first.first == localPort;
}

std::shared_ptr<ClientSocket> ProgramSockets::findClient(int localPort, Protocol protocol, int boundPort) const
{
    const auto [first, last] = m_sockets.equal_range({ localPort, Kind::Client });
    for (auto each = first; each != last; ++each) {
        auto client = std::static_pointer_cast<ClientSocket>(each->second);
        if (client->is(protocol, boundPort)) {
            return client;
        }
    }
    return nullptr;
}

template <class Server>
int ProgramSockets::openListening(Kind kind, std::shared_ptr<Server> server)
{
    const int localPort = server->localPort();
    if (isInUse(localPort)) {
        return PortInUse;
    }
    if (!server->listen()) {
        return CannotListen;
    }
    m_sockets.emplace(Key{ localPort, kind }, std::move(server));
    return Done;
}

void ProgramSockets::closeFirst(int localPort, Kind kind)
{
    const auto first = m_sockets.lower_bound({ localPort, kind });
    if (first == m_sockets.end() || first->first != Key{ localPort, kind }) {
        return;
    }
    const std::shared_ptr<ProgramSocket> socket = first->second;
    m_sockets.erase(first);
    socket->close();
}
