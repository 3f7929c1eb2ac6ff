#pragma once
#include "base/Frame.h"
#include "io/OutBuffer.h"
#include "net/link/DuplicateFilter.h"
#include "net/link/ResendTable.h"

#include <optional>
#include <vector>

/// The next moment of a period that ran out; those missed in between are not made up for.
inline qint64 nextMoment(qint64 ranOutMs, qint64 periodMs, qint64 nowMs)
{
    return ranOutMs + ((nowMs - ranOutMs) / periodMs + 1) * periodMs;
}

/// What both ends of a link connection do alike, without socket, thread or clock: they cut frames from the stream,
/// number their messages and send them again until the peer confirms, and tell a message that came twice once.
/// Times are milliseconds on a monotonic clock. Source: docs/formats/link-frame.md, "Reliability".
class LinkExchange
{
public:
    explicit LinkExchange(quint32 lastMessageId = 0, int maxPayload = kMaxStreamPayload)
        : m_parser(maxPayload)
        , m_lastMessageId(lastMessageId)
    {}

    OutBuffer &output() { return m_output; }
    const OutBuffer &output() const { return m_output; }
    quint32 lastMessageId() const { return m_lastMessageId; }
    int pendingMessages() const { return m_pending.pending(); }
    qint64 pendingBytes() const { return m_pending.bytes(); }
    qint64 heldBytes() const { return m_output.size() + m_pending.bytes() + m_parser.heldBytes(); } // for the peer
    void setMaxPayload(int maxPayload) { m_parser.setMaxPayload(maxPayload); } // of the peer's frames

    /// The frames that the bytes complete, also those with a wrong checksum; good until the next call.
    std::vector<Frame> &cut(const char *bytes, int count);

    void sendFrame(const QByteArray &frame) { m_output.append(frame); } // a whole one
    void sendPlain(quint8 code, const QByteArray &body) { sendFrame(frameBytes(code, body)); }
    quint32 sendMessage(quint8 code, const QByteArray &body, qint64 nowMs); // its id
    void sendLevel(int levelCode, int level, qint64 nowMs); // replaces an unconfirmed one of the same level

    std::optional<quint32> takeAcknowledgement(const Frame &frame); // of a message that was pending

    /// Confirms a message. Its body without the id when it is new; nothing when it came before or has no whole id.
    std::optional<QByteArray> takeMessage(const Frame &frame, qint64 nowMs);

    int forgetOld(qint64 nowMs) { return m_pending.forgetOld(nowMs); } // how many the peer has not confirmed in 5 s
    void sendAgain(qint64 nowMs); // what is due, unless earlier bytes still wait in output()

private:
    quint32 nextMessageId();

    FrameParser m_parser;
    std::vector<Frame> m_frames; // of one read; kept for its capacity
    OutBuffer m_output;
    ResendTable m_pending;
    DuplicateFilter m_received;
    quint32 m_lastMessageId;
};
