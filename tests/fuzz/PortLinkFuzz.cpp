#include "devices/frames/PortFrames.h"
#include "devices/frames/PortLinkParser.h"

#include <cstdlib>

/// The first byte says how long the pieces are in which the rest comes; the frames must not depend on it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1) {
        return 0;
    }
    const QByteArray stream(reinterpret_cast<const char *>(data) + 1, static_cast<int>(size) - 1);
    PortLinkParser whole;
    PortLinkParser inPieces;
    const QByteArrayList frames = whole.feed(stream);
    QByteArrayList pieces;
    for (int at = 0; at < stream.size(); at += data[0] + 1) {
        pieces += inPieces.feed(stream.mid(at, data[0] + 1));
    }
    if (frames != pieces || whole.giveUp() != inPieces.giveUp() || whole.isWithinFrame()) {
        std::abort();
    }
    for (const QByteArray &frame : frames) {
        PortFrames::parse(frame);
    }
    return 0;
}
