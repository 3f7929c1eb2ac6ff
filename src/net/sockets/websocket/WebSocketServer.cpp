#include "net/sockets/websocket/WebSocketServer.h"

void WebSocketServer::send(const QByteArray &data)
{
    const std::vector<std::weak_ptr<WebSocketLink>> links = m_links; // one that ends leaves the list
    for (const std::weak_ptr<WebSocketLink> &each : links) {
        if (const std::shared_ptr<WebSocketLink> link = each.lock(); link && link->isOpen()) {
            link->send(data);
        }
    }
}

void WebSocketServer::take(Descriptor socket)
{
    const std::shared_ptr<WebSocketLink> link = WebSocketLink::asServer(loop(), m_server, { shared_from_this(), this });
    const std::shared_ptr<TcpStream> stream = TcpStream::accepted(loop(), std::move(socket), link);
    if (!stream) {
        release();
        return;
    }
    link->setStream(stream);
    m_links.push_back(link);
    stream->announce();
}

void WebSocketServer::opened(WebSocketLink &link)
{
    events().online(localPort(), link.peer());
}

void WebSocketServer::message(WebSocketLink &link, const QByteArray &bytes)
{
    events().data(localPort(), bytes, link.peer());
}

void WebSocketServer::ended(WebSocketLink &link, int error)
{
    const SocketPeer peer = link.peer();
    std::erase_if(m_links, [&link](const auto &each) { return each.lock().get() == &link; });
    release();
    const bool isGone = link.wasOpen() && error == QAbstractSocket::RemoteHostClosedError; // without a farewell
    if (error != kNoSocketError && !isGone) {
        raiseError(error);
    }
    if (link.wasOpen()) {
        events().offline(localPort(), peer);
    }
}
