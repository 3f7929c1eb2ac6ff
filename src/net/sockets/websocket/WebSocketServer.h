#pragma once
#include "net/sockets/AcceptingSocket.h"
#include "net/sockets/websocket/WebSocketLink.h"

#include <vector>

/// A WebSocket server of the program. What the program sends goes to every connection, as a binary message.
class WebSocketServer final : public AcceptingSocket, private WebSocketLink::Owner
{
public:
    WebSocketServer(SocketContext context, int localPort, quint16 port, WebSocketHandshake::Server server)
        : AcceptingSocket(std::move(context), localPort, port)
        , m_server(std::move(server))
    {}

    void send(const QByteArray &data) override;

private:
    void take(Descriptor socket) override;
    void opened(WebSocketLink &link) override;
    void message(WebSocketLink &link, const QByteArray &bytes) override;
    void ended(WebSocketLink &link, int error) override;

    const WebSocketHandshake::Server m_server;
    std::vector<std::weak_ptr<WebSocketLink>> m_links; // their streams hold them, and they this server
};
