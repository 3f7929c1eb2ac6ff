#pragma once
#include "io/OutBuffer.h"

#include <QByteArray>

#include <optional>

// The frames of the WebSocket protocol, version 13; docs/formats/websocket.md.

enum class WebSocketRole { Server, Client };

namespace WebSocketOpcode {
constexpr quint8 kContinuation = 0;
constexpr quint8 kText = 1;
constexpr quint8 kBinary = 2;
constexpr quint8 kClose = 8;
constexpr quint8 kPing = 9;
constexpr quint8 kPong = 10;
} // namespace WebSocketOpcode

namespace WebSocketClose {
constexpr quint16 kNormal = 1000;
constexpr quint16 kProtocolError = 1002;
constexpr quint16 kBadText = 1007;
constexpr quint16 kTooBig = 1009;
} // namespace WebSocketClose

/// One whole frame. A client masks what it sends.
QByteArray webSocketFrame(quint8 opcode, const QByteArray &payload, WebSocketRole sender);
QByteArray webSocketCloseFrame(quint16 code, WebSocketRole sender);

/// Cuts the byte stream of a peer into messages. Knows no socket, clock or signal.
/// Takes no memory for a length before the bytes are there; a message longer than kMostBytes is refused.
class WebSocketParser
{
public:
    static constexpr int kMostBytes = 1024 * 1024;

    struct Message
    {
        quint8 opcode = 0; // kText, kBinary, kClose, kPing or kPong
        QByteArray payload{};
    };

    /// \param role  our own: the peer has the other
    explicit WebSocketParser(WebSocketRole role)
        : m_role(role)
    {}

    void append(const QByteArray &bytes) { m_bytes.append(bytes); }

    /// The next whole message; nothing when more bytes are needed, or after a violation.
    std::optional<Message> next();
    quint16 violation() const { return m_violation; } // a close code; 0: none. Nothing is parsed after one.

private:
    struct Header
    {
        bool isFinal;
        quint8 opcode;
        int size; // of the header itself, with the mask
        int length;
        quint8 mask[4];
    };
    std::optional<Header> readHeader(); // nothing: more bytes are needed, or a violation
    QByteArray takePayload(const Header &header);
    std::optional<Message> finish(Message message);
    void violate(quint16 closeCode);

    const WebSocketRole m_role;
    OutBuffer m_bytes;
    Message m_fragments; // opcode 0: no message has begun
    quint16 m_violation = 0;
};
