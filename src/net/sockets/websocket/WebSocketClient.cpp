#include "net/sockets/websocket/WebSocketClient.h"

#include "net/sockets/HostLookup.h"
#include "net/sockets/TcpStream.h"
#include "net/sockets/TlsStream.h"

#include <QSslSocket>

namespace {
constexpr int kPlainPort = 80;
constexpr int kSecurePort = 443;
} // namespace

void WebSocketClient::send(const QByteArray &data)
{
    if (!m_link || !m_link->isOpen()) {
        raiseError(QAbstractSocket::SocketAccessError);
    } else {
        const std::shared_ptr<WebSocketLink> link = m_link; // it may end
        link->send(data);
    }
}

void WebSocketClient::restart()
{
    close();
    m_isClosed = false;
    const QString scheme = m_url.scheme();
    if (!m_url.isValid() || m_url.host().isEmpty()) {
        fail(QAbstractSocket::HostNotFoundError);
    } else if (scheme != QLatin1String("ws") && !(isSecure() && QSslSocket::supportsSsl())) {
        fail(QAbstractSocket::UnsupportedSocketOperationError);
    } else if (QHostAddress address; address.setAddress(m_url.host())) {
        connectTo(address);
    } else {
        const auto found = [this, attempt = m_attempt, weak = weak_from_this()](const QList<QHostAddress> &addresses) {
            const std::shared_ptr<ProgramSocket> self = weak.lock();
            if (!self || attempt != m_attempt) {
                return;
            }
            m_addresses = addresses;
            if (addresses.isEmpty()) {
                raiseError(QAbstractSocket::HostNotFoundError);
            } else {
                connectToNext();
            }
        };
        if (!HostLookup::start(loop(), m_url.host(), found)) {
            fail(QAbstractSocket::SocketResourceError);
        }
    }
}

void WebSocketClient::close()
{
    ++m_attempt;
    m_isClosed = true;
    m_addresses.clear();
    if (const std::shared_ptr<WebSocketLink> link = std::exchange(m_link, nullptr)) {
        link->close();
    }
}

void WebSocketClient::connectToNext()
{
    connectTo(m_addresses.takeFirst());
}

void WebSocketClient::connectTo(const QHostAddress &address)
{
    m_link = WebSocketLink::asClient(loop(), m_url, { shared_from_this(), this });
    if (isSecure()) {
        const auto port = static_cast<quint16>(m_url.port(kSecurePort));
        m_link->setStream(TlsStream::connectTo(loop(), address, port, m_url.host(), m_link));
        return;
    }
    const SocketAddress where(address, static_cast<quint16>(m_url.port(kPlainPort)));
    TcpStream::Result result = TcpStream::connectTo(loop(), where, 0, m_link);
    if (!result.stream) {
        m_link.reset();
        if (m_addresses.isEmpty()) {
            fail(result.error);
        } else {
            connectToNext();
        }
        return;
    }
    m_link->setStream(std::move(result.stream));
}

/// Tells of a failure from the event loop.
void WebSocketClient::fail(int error)
{
    later([this, attempt = m_attempt, error] {
        if (attempt == m_attempt) {
            raiseError(error);
        }
    });
}

void WebSocketClient::opened(WebSocketLink &)
{
    events().online(localPort());
}

void WebSocketClient::message(WebSocketLink &link, const QByteArray &bytes)
{
    events().data(localPort(), bytes, link.peer());
}

void WebSocketClient::ended(WebSocketLink &link, int error)
{
    m_link.reset();
    const bool wasConnected = link.peer().port != 0;
    if (!wasConnected && !m_addresses.isEmpty()) {
        connectToNext();
        return;
    }
    m_addresses.clear();
    if (error != kNoSocketError) {
        raiseError(error);
    }
    if (link.wasOpen() && !m_isClosed) { // by a handler of the error
        events().offline(localPort());
    }
}
