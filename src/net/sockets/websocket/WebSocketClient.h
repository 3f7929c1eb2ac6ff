#pragma once
#include "net/sockets/ProgramSocket.h"
#include "net/sockets/websocket/WebSocketLink.h"

/// A WebSocket client of the program, for ws and wss URLs. The host may be a name, which is looked up in the
/// background. Owns: its connection, which holds it while it lives.
class WebSocketClient final : public ProgramSocket, private WebSocketLink::Owner
{
public:
    WebSocketClient(SocketContext context, int localPort, const QString &url)
        : ProgramSocket(std::move(context), localPort)
        , m_url(url)
    {}

    void send(const QByteArray &data) override;
    void restart() override;
    void close() override;

private:
    bool isSecure() const { return m_url.scheme() == QLatin1String("wss"); }
    QString farEnd() const override { return m_url.toString(QUrl::RemoveUserInfo); }
    void connectToNext();
    void connectTo(const QHostAddress &address);
    void fail(int error);
    void opened(WebSocketLink &link) override;
    void message(WebSocketLink &link, const QByteArray &bytes) override;
    void ended(WebSocketLink &link, int error) override;

    const QUrl m_url;
    QList<QHostAddress> m_addresses;       // of the host, not tried yet
    std::shared_ptr<WebSocketLink> m_link; // null: not connected, nor on the way
    int m_attempt = 0;
    bool m_isClosed = false;
};
