#include "net/sockets/websocket/WebSocketFrames.h"
#include "net/sockets/websocket/WebSocketHandshake.h"

#include <QByteArrayList>

#include <cstdlib>

namespace {
struct Outcome
{
    QByteArrayList messages;
    quint16 violation = 0;
    bool operator==(const Outcome &) const = default;
};

Outcome parse(const QByteArray &stream, int piece, WebSocketRole role)
{
    WebSocketParser parser(role);
    Outcome outcome;
    for (int start = 0; start < stream.size(); start += piece) {
        parser.append(stream.mid(start, piece));
        while (const auto message = parser.next()) {
            outcome.messages << QByteArray::number(message->opcode) + ':' + message->payload;
        }
    }
    outcome.violation = parser.violation();
    return outcome;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    for (const WebSocketRole role : { WebSocketRole::Server, WebSocketRole::Client }) {
        // A stream is cut into the same messages however the network splits it.
        if (!(parse(bytes, static_cast<int>(size) + 1, role) == parse(bytes, 1 + static_cast<int>(size % 5), role))) {
            std::abort();
        }
    }
    WebSocketHandshake::answerTo(bytes, WebSocketHandshake::Server{ QString(), { QStringLiteral("panels.example") } });
    WebSocketHandshake::isAccepted(bytes, "key");
    return 0;
}
