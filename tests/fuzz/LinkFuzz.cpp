#include "net/client/LinkMessage.h"
#include "net/controllers/ListenerSession.h"
#include "net/link/LinkSession.h"
#include "net/link/ManagementCommand.h"

#include <algorithm>
#include <cstdlib>

namespace {
bool isSame(const std::vector<Frame> &left, const std::vector<Frame> &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const Frame &a, const Frame &b) {
        return a.code == b.code && a.body == b.body && a.checksumOk == b.checksumOk;
    });
}

/// A stream is cut into the same frames however the network splits it.
void cutInPieces(const QByteArray &stream, int piece)
{
    FrameParser whole;
    FrameParser inPieces;
    std::vector<Frame> frames;
    for (int start = 0; start < stream.size(); start += piece) {
        inPieces.feed(stream.constData() + start, std::min(piece, stream.size() - start), frames);
    }
    if (!isSame(whole.feed(stream), frames)) {
        std::abort();
    }
}

void serve(const QByteArray &stream)
{
    LinkSession session(0);
    std::vector<LinkEvent> events;
    session.receive(stream.constData(), stream.size(), 0, events);
    session.sendLevel(1, 2, 10);
    session.sendMessage(0x1E, stream, 20);
    session.receive(stream.constData(), stream.size(), 1500, events);
    session.tick(2000);
}

void listenTo(const QByteArray &stream)
{
    ListenerSession session("3:100:m:1", 0);
    std::vector<TargetMessage> messages;
    session.receive(stream.constData(), stream.size(), 0, messages);
    session.tick(400);
    session.send(stream, 500);
    session.receive(stream.constData(), stream.size(), 1500, messages);
    session.tick(2000, false);
}

/// The bytes as frames that are all right: code, length, body, and again. Gets behind the checksum.
QByteArray framed(const QByteArray &bytes)
{
    QByteArray stream;
    for (int position = 0; position + 1 < bytes.size();) {
        const auto code = static_cast<quint8>(bytes.at(position));
        const int length = static_cast<quint8>(bytes.at(position + 1));
        stream += frameBytes(code, bytes.mid(position + 2, length));
        position += 2 + length;
    }
    return stream;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    cutInPieces(bytes, 1 + static_cast<int>(size % 7));
    serve(bytes);
    serve(framed(bytes));
    listenTo(bytes);
    listenTo(framed(bytes));
    if (!bytes.isEmpty()) {
        decodeLinkMessage(static_cast<quint8>(bytes.at(0)), bytes.mid(1));
        decodeSnapshot(bytes.mid(1));
        Management::parse(bytes.mid(1));
        ControllerText::parseFromListener(bytes.mid(1));
    }
    return 0;
}
