#include "net/sockets/websocket/WebSocketFrames.h"

#include <QRandomGenerator>
#include <QTextCodec>
#include <QtEndian>

#include <array>

namespace {
constexpr quint8 kFinalBit = 0x80;
constexpr quint8 kReservedBits = 0x70;
constexpr quint8 kOpcodeBits = 0x0F;
constexpr quint8 kMaskBit = 0x80;
constexpr quint8 kLengthBits = 0x7F;
constexpr quint8 kControlBit = 0x08; // of an opcode
constexpr int kShortLength = 125;    // the longest that stands in the second byte, and of a control frame
constexpr quint8 kLength16 = 126;    // in its place: two bytes follow
constexpr quint8 kLength64 = 127;    // eight
constexpr int kMaskSize = 4;

bool isKnown(quint8 opcode)
{
    return opcode <= WebSocketOpcode::kBinary ||
           (opcode >= WebSocketOpcode::kClose && opcode <= WebSocketOpcode::kPong);
}

void applyMask(QByteArray &payload, const quint8 *mask)
{
    char *const bytes = payload.data();
    for (int index = 0; index < payload.size(); ++index) {
        bytes[index] = static_cast<char>(bytes[index] ^ mask[index % kMaskSize]);
    }
}

bool isUtf8(const QByteArray &bytes)
{
    static QTextCodec *const codec = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state;
    codec->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

bool mayBeSent(quint16 closeCode)
{
    return (closeCode >= 1000 && closeCode <= 1003) || (closeCode >= 1007 && closeCode <= 1014) ||
           (closeCode >= 3000 && closeCode <= 4999);
}

/// What a close frame's payload violates; 0: nothing.
quint16 violationOfClose(const QByteArray &payload)
{
    constexpr int kCodeSize = 2;
    if (payload.isEmpty()) {
        return 0;
    }
    if (payload.size() < kCodeSize || !mayBeSent(qFromBigEndian<quint16>(payload.constData()))) {
        return WebSocketClose::kProtocolError;
    }
    return isUtf8(payload.mid(kCodeSize)) ? quint16{ 0 } : WebSocketClose::kBadText;
}
} // namespace

QByteArray webSocketFrame(quint8 opcode, const QByteArray &payload, WebSocketRole sender)
{
    const quint8 maskBit = sender == WebSocketRole::Client ? kMaskBit : quint8{ 0 };
    QByteArray frame;
    frame.reserve(payload.size() + 14);
    frame.append(static_cast<char>(kFinalBit | opcode));
    if (payload.size() <= kShortLength) {
        frame.append(static_cast<char>(maskBit | payload.size()));
    } else if (payload.size() <= 0xFFFF) {
        frame.append(static_cast<char>(maskBit | kLength16));
        const auto length = qToBigEndian(static_cast<quint16>(payload.size()));
        frame.append(reinterpret_cast<const char *>(&length), sizeof length);
    } else {
        frame.append(static_cast<char>(maskBit | kLength64));
        const auto length = qToBigEndian(static_cast<quint64>(payload.size()));
        frame.append(reinterpret_cast<const char *>(&length), sizeof length);
    }
    if (maskBit == 0) {
        return frame + payload;
    }
    std::array<quint8, kMaskSize> mask{};
    qToBigEndian(QRandomGenerator::system()->generate(), mask.data());
    frame.append(reinterpret_cast<const char *>(mask.data()), kMaskSize);
    QByteArray masked = payload;
    applyMask(masked, mask.data());
    return frame + masked;
}

QByteArray webSocketCloseFrame(quint16 code, WebSocketRole sender)
{
    const quint16 bigEndian = qToBigEndian(code);
    const QByteArray payload(reinterpret_cast<const char *>(&bigEndian), sizeof bigEndian);
    return webSocketFrame(WebSocketOpcode::kClose, payload, sender);
}

std::optional<WebSocketParser::Message> WebSocketParser::next()
{
    while (m_violation == 0) {
        const std::optional<Header> header = readHeader();
        if (!header || m_bytes.size() < header->size + header->length) {
            return std::nullopt;
        }
        const QByteArray payload = takePayload(*header);
        if ((header->opcode & kControlBit) != 0) {
            return finish({ header->opcode, payload });
        }
        if (header->opcode != WebSocketOpcode::kContinuation) {
            m_fragments.opcode = header->opcode;
        }
        m_fragments.payload += payload;
        if (header->isFinal) {
            return finish(std::exchange(m_fragments, {}));
        }
    }
    return std::nullopt;
}

std::optional<WebSocketParser::Header> WebSocketParser::readHeader()
{
    constexpr int kLeast = 2;
    if (m_bytes.size() < kLeast) {
        return std::nullopt;
    }
    const auto *const bytes = reinterpret_cast<const quint8 *>(m_bytes.data());
    Header header{ (bytes[0] & kFinalBit) != 0, static_cast<quint8>(bytes[0] & kOpcodeBits), kLeast, 0, {} };
    const bool isControl = (header.opcode & kControlBit) != 0;
    const bool isMasked = (bytes[1] & kMaskBit) != 0;
    const quint8 shortLength = bytes[1] & kLengthBits;
    const bool hasBegun = m_fragments.opcode != 0;
    if ((bytes[0] & kReservedBits) != 0 || !isKnown(header.opcode) || isMasked != (m_role == WebSocketRole::Server) ||
        (isControl && (!header.isFinal || shortLength > kShortLength)) ||
        (!isControl && hasBegun != (header.opcode == WebSocketOpcode::kContinuation))) {
        violate(WebSocketClose::kProtocolError);
        return std::nullopt;
    }
    const int lengthSize = shortLength == kLength16 ? 2 : shortLength == kLength64 ? 8 : 0;
    header.size += lengthSize + (isMasked ? kMaskSize : 0);
    if (m_bytes.size() < kLeast + lengthSize) {
        return std::nullopt;
    }
    const quint64 length = lengthSize == 2   ? qFromBigEndian<quint16>(bytes + kLeast)
                           : lengthSize == 8 ? qFromBigEndian<quint64>(bytes + kLeast)
                                             : shortLength;
    if (length > quint64(kMostBytes) || (!isControl && m_fragments.payload.size() + int(length) > kMostBytes)) {
        violate(WebSocketClose::kTooBig);
        return std::nullopt;
    }
    header.length = static_cast<int>(length);
    if (m_bytes.size() < header.size) {
        return std::nullopt;
    }
    if (isMasked) {
        std::copy_n(bytes + header.size - kMaskSize, kMaskSize, header.mask);
    }
    return header;
}

QByteArray WebSocketParser::takePayload(const Header &header)
{
    QByteArray payload(m_bytes.data() + header.size, header.length);
    if (m_role == WebSocketRole::Server) {
        applyMask(payload, header.mask);
    }
    m_bytes.consume(header.size + header.length);
    return payload;
}

std::optional<WebSocketParser::Message> WebSocketParser::finish(Message message)
{
    if (message.opcode == WebSocketOpcode::kText && !isUtf8(message.payload)) {
        violate(WebSocketClose::kBadText);
        return std::nullopt;
    }
    if (message.opcode == WebSocketOpcode::kClose) {
        if (const quint16 violation = violationOfClose(message.payload); violation != 0) {
            violate(violation);
            return std::nullopt;
        }
    }
    return message;
}

void WebSocketParser::violate(quint16 closeCode)
{
    m_violation = closeCode;
    m_bytes.clear();
    m_fragments = {};
}
