#pragma once
#include "net/sockets/ByteStream.h"
#include "net/sockets/SocketErrors.h"
#include "net/sockets/SocketLoop.h"
#include "net/sockets/websocket/WebSocketFrames.h"
#include "net/sockets/websocket/WebSocketHandshake.h"

#include <QUrl>

#include <memory>

/// One WebSocket connection on a stream, from the handshake to the end.
/// Owns: the stream, which holds it while it lives, and the owner together with whoever else holds it.
/// Thread: the main thread. Ends: when the peer, a violation or close() ends it.
class WebSocketLink final : public ByteStream::Owner, public std::enable_shared_from_this<WebSocketLink>
{
public:
    /// Who opened it; called from the event loop, one call at a time.
    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void opened(WebSocketLink &link) = 0; // the handshake is over
        virtual void message(WebSocketLink &link, const QByteArray &bytes) = 0;
        /// The last call. \param error  kNoSocketError: closed as it should be, or gone before the handshake
        virtual void ended(WebSocketLink &link, int error) = 0;
    };

    static constexpr qint64 kServerHandshakeMs = 10000;
    static constexpr qint64 kClientHandshakeMs = 30000;

    static std::shared_ptr<WebSocketLink> asServer(SocketLoop &loop, const WebSocketHandshake::Server &server,
                                                   std::shared_ptr<Owner> owner);
    static std::shared_ptr<WebSocketLink> asClient(SocketLoop &loop, const QUrl &url, std::shared_ptr<Owner> owner);
    ~WebSocketLink() override;

    void setStream(std::shared_ptr<ByteStream> stream) { m_stream = std::move(stream); }
    bool isOpen() const { return m_state == State::Open; }
    bool wasOpen() const { return m_wasOpen; }
    const SocketPeer &peer() const { return m_stream->peer(); }

    void send(const QByteArray &data); // a binary message; when too much is waiting already the link ends
    void close();                      // with the normal close code; the owner is not called any more

    void connected(ByteStream &stream) override;
    void received(ByteStream &stream, const QByteArray &bytes) override;
    void ended(ByteStream &stream, int error) override;

private:
    enum class State { Handshake, Open, Closed };
    WebSocketLink(SocketLoop &loop, WebSocketRole role, std::shared_ptr<Owner> owner);

    void readHandshake(const QByteArray &bytes);
    bool acceptPeer(const QByteArray &head);
    void readMessages();
    void take(const WebSocketParser::Message &message);
    void end(int error, const QByteArray &lastBytes);

    SocketLoop &m_loop;
    const WebSocketRole m_role;
    std::shared_ptr<Owner> m_owner;
    std::shared_ptr<ByteStream> m_stream;
    WebSocketHandshake::Server m_server; // a server's
    QUrl m_url;                          // of a client
    QByteArray m_key;                    // of a client
    QByteArray m_head;                   // of the handshake, as far as it has come
    WebSocketParser m_parser;
    State m_state = State::Handshake;
    bool m_wasOpen = false;
    int m_handshakeTicket = 0;
};
