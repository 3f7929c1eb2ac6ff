#include "net/sockets/websocket/WebSocketLink.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "base/Monitor.h"

namespace {
constexpr int kMessagesPerTurn = 8; // each runs the program's handlers
}

std::shared_ptr<WebSocketLink> WebSocketLink::asServer(SocketLoop &loop, const WebSocketHandshake::Server &server,
                                                       std::shared_ptr<Owner> owner)
{
    std::shared_ptr<WebSocketLink> link(new WebSocketLink(loop, WebSocketRole::Server, std::move(owner)));
    link->m_server = server;
    return link;
}

std::shared_ptr<WebSocketLink> WebSocketLink::asClient(SocketLoop &loop, const QUrl &url, std::shared_ptr<Owner> owner)
{
    std::shared_ptr<WebSocketLink> link(new WebSocketLink(loop, WebSocketRole::Client, std::move(owner)));
    link->m_url = url;
    link->m_key = WebSocketHandshake::freshKey();
    return link;
}

WebSocketLink::WebSocketLink(SocketLoop &loop, WebSocketRole role, std::shared_ptr<Owner> owner)
    : m_loop(loop)
    , m_role(role)
    , m_owner(std::move(owner))
    , m_parser(role)
{}

WebSocketLink::~WebSocketLink()
{
    Clock::instance().cancel(m_handshakeTicket);
}

void WebSocketLink::send(const QByteArray &data)
{
    if (!m_stream->write(webSocketFrame(WebSocketOpcode::kBinary, data, m_role))) {
        end(QAbstractSocket::SocketResourceError, {});
    }
}

void WebSocketLink::close()
{
    m_owner.reset();
    const bool wasOpen = m_state == State::Open;
    end(kNoSocketError, wasOpen ? webSocketCloseFrame(WebSocketClose::kNormal, m_role) : QByteArray());
}

void WebSocketLink::connected(ByteStream &stream)
{
    const bool isServer = m_role == WebSocketRole::Server;
    m_handshakeTicket = Clock::instance().after(static_cast<int>(isServer ? kServerHandshakeMs : kClientHandshakeMs),
                                                [weak = weak_from_this()] {
                                                    if (const std::shared_ptr<WebSocketLink> self = weak.lock()) {
                                                        self->end(QAbstractSocket::SocketTimeoutError, {});
                                                    }
                                                });
    if (!isServer) {
        stream.write(WebSocketHandshake::request(m_url, m_key));
    }
}

void WebSocketLink::received(ByteStream &, const QByteArray &bytes)
{
    if (m_state == State::Handshake) {
        readHandshake(bytes);
    } else if (m_state == State::Open) {
        m_parser.append(bytes);
        readMessages();
    }
}

void WebSocketLink::ended(ByteStream &, int error)
{
    const bool isForgiven = m_role == WebSocketRole::Server && m_state == State::Handshake; // somebody looked in
    end(isForgiven ? kNoSocketError : error, {});
}

void WebSocketLink::readHandshake(const QByteArray &bytes)
{
    m_head += bytes;
    const int end = WebSocketHandshake::endOf(m_head);
    if (end < 0 && m_head.size() <= WebSocketHandshake::kMostBytes) {
        return;
    }
    const QByteArray head = std::exchange(m_head, {});
    Clock::instance().cancel(std::exchange(m_handshakeTicket, 0));
    if (!acceptPeer(head)) {
        return;
    }
    m_state = State::Open;
    m_wasOpen = true;
    m_parser.append(head.mid(end));
    if (const std::shared_ptr<Owner> owner = m_owner) {
        owner->opened(*this);
    }
    readMessages();
}

bool WebSocketLink::acceptPeer(const QByteArray &head)
{
    if (m_role == WebSocketRole::Client) {
        if (!WebSocketHandshake::isAccepted(head, m_key)) {
            end(QAbstractSocket::ConnectionRefusedError, {});
            return false;
        }
        return true;
    }
    const WebSocketHandshake::Answer answer = WebSocketHandshake::answerTo(head, m_server);
    if (!answer.isAccepted) {
        if (answer.strangeOrigin.isEmpty()) {
            end(QAbstractSocket::NetworkError, answer.bytes);
            return false;
        }
        monitorLog(MonitorMessageType::Warning,
                   translated(QT_TRANSLATE_NOOP("messages", "Warning:A page of %1 may not use the WebSocket server"))
                       .arg(printableOrHex(answer.strangeOrigin)));
        end(kNoSocketError, answer.bytes); // nothing that the program could do about it
        return false;
    }
    return m_stream->write(answer.bytes);
}

/// Hands on a few messages. When more are there the rest waits for the next turn, and the peer too.
void WebSocketLink::readMessages()
{
    for (int count = 0; count < kMessagesPerTurn && m_state == State::Open; ++count) {
        const std::optional<WebSocketParser::Message> message = m_parser.next();
        if (!message) {
            if (const quint16 violation = m_parser.violation(); violation != 0) {
                const bool isTooBig = violation == WebSocketClose::kTooBig;
                end(isTooBig ? QAbstractSocket::DatagramTooLargeError : QAbstractSocket::NetworkError,
                    webSocketCloseFrame(violation, m_role));
            } else {
                m_stream->setHolding(false);
            }
            return;
        }
        take(*message);
    }
    if (m_state == State::Open) {
        m_stream->setHolding(true);
        m_loop.later([weak = weak_from_this()] {
            if (const std::shared_ptr<WebSocketLink> self = weak.lock()) {
                self->readMessages();
            }
        });
    }
}

void WebSocketLink::take(const WebSocketParser::Message &message)
{
    switch (message.opcode) {
    case WebSocketOpcode::kPing:
        m_stream->write(webSocketFrame(WebSocketOpcode::kPong, message.payload, m_role));
        break;
    case WebSocketOpcode::kPong:
        break;
    case WebSocketOpcode::kClose: // answered with the code that it carries
        end(kNoSocketError, webSocketFrame(WebSocketOpcode::kClose, message.payload.left(2), m_role));
        break;
    default:
        if (const std::shared_ptr<Owner> owner = m_owner) {
            owner->message(*this, message.payload);
        }
    }
}

void WebSocketLink::end(int error, const QByteArray &lastBytes)
{
    if (m_state == State::Closed) {
        return;
    }
    m_state = State::Closed;
    Clock::instance().cancel(std::exchange(m_handshakeTicket, 0));
    if (!lastBytes.isEmpty()) {
        m_stream->write(lastBytes);
    }
    if (m_stream) {
        m_stream->close(lastBytes.isEmpty() ? ByteStream::Close::Reset : ByteStream::Close::Flush);
    }
    if (const std::shared_ptr<Owner> owner = std::exchange(m_owner, nullptr)) {
        owner->ended(*this, error);
    }
}
