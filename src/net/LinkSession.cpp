#include "net/LinkSession.h"

namespace {
const QByteArray &identifyFrame()
{
    static const QByteArray frame = frameBytes(LinkCode::kIdentify, QByteArrayLiteral("\x01"));
    return frame;
}

/// The next moment of a period that ran out; those missed in between are not made up for.
qint64 nextMoment(qint64 ranOutMs, qint64 periodMs, qint64 nowMs)
{
    return ranOutMs + ((nowMs - ranOutMs) / periodMs + 1) * periodMs;
}
} // namespace

LinkSession::LinkSession(qint64 nowMs, quint32 lastMessageId)
    : m_lastMessageId(lastMessageId)
    , m_identifyAtMs(nowMs + kIdentifyMs)
    , m_watchdogAtMs(nowMs + kWatchdogMs)
{
    sendFrame(identifyFrame());
}

void LinkSession::receive(const char *bytes, int count, qint64 nowMs, std::vector<LinkEvent> &events)
{
    m_frames.clear();
    m_parser.feed(bytes, count, m_frames);
    for (Frame &frame : m_frames) {
        if (m_isTransferring && LinkCode::isTransfer(frame.code)) {
            events.emplace_back(OtherFrame{ std::move(frame) });
        } else if (!m_isTransferring && frame.checksumOk) {
            takeFrame(frame, nowMs, events);
        }
    }
}

bool LinkSession::tick(qint64 nowMs)
{
    m_pending.forgetOld(nowMs);
    if (m_output.isEmpty()) { // else the first copies have not even left
        if (const QByteArray due = m_pending.dueFrames(nowMs); !due.isEmpty()) {
            sendFrame(due);
        }
    }
    if (m_peerType == PeerType::kUnknown && nowMs >= m_identifyAtMs) {
        m_identifyAtMs = nextMoment(m_identifyAtMs, kIdentifyMs, nowMs);
        sendFrame(identifyFrame());
    }
    if (nowMs >= m_watchdogAtMs) {
        m_watchdogAtMs = nextMoment(m_watchdogAtMs, kWatchdogMs, nowMs);
        m_missedHeartbeats += m_isTransferring ? 0 : 1;
    }
    return m_missedHeartbeats <= kMissedHeartbeats;
}

void LinkSession::sendMessage(quint8 code, const QByteArray &body, qint64 nowMs)
{
    const quint32 id = nextMessageId();
    const QByteArray frame = messageFrameBytes(code, id, body);
    m_pending.add(id, frame, nowMs);
    sendFrame(frame);
}

void LinkSession::sendLevel(int levelCode, int level, qint64 nowMs)
{
    const quint32 id = nextMessageId();
    const QByteArray body = QByteArray::number(levelCode) + ':' + QByteArray::number(level);
    const QByteArray frame = messageFrameBytes(LinkCode::kLevel, id, body);
    m_pending.addLevel(id, levelCode, frame, nowMs);
    sendFrame(frame);
}

void LinkSession::takeFrame(Frame &frame, qint64 nowMs, std::vector<LinkEvent> &events)
{
    switch (frame.code) {
    case LinkCode::kHeartbeat:
        m_missedHeartbeats = 0;
        sendPlain(LinkCode::kHeartbeatAnswer, QByteArray());
        return;
    case LinkCode::kAcknowledgement:
        if (const std::optional<quint32> id = messageIdOf(frame.body)) {
            m_pending.acknowledge(*id);
        }
        return;
    case LinkCode::kPush:
    case LinkCode::kRelease:
    case LinkCode::kLevelReport:
    case LinkCode::kController:
        takeMessage(frame, nowMs, events);
        return;
    default:
        addEvent(frame.code, frame.body, events);
        return;
    }
}

void LinkSession::takeMessage(Frame &frame, qint64 nowMs, std::vector<LinkEvent> &events)
{
    const std::optional<quint32> id = messageIdOf(frame.body);
    if (!id) {
        return;
    }
    constexpr int idSize = sizeof *id;
    sendPlain(LinkCode::kAcknowledgement, frame.body.left(idSize));
    if (m_received.isNew(*id, nowMs)) {
        addEvent(frame.code, frame.body.mid(idSize), events);
    }
}

void LinkSession::addEvent(quint8 code, const QByteArray &body, std::vector<LinkEvent> &events)
{
    std::optional<LinkEvent> event = parseLinkEvent(code, body);
    if (!event) {
        return;
    }
    if (auto *introduced = std::get_if<PeerIntroduced>(&*event)) {
        introduced->formerNumber = m_deviceNumber;
        m_peerType = introduced->type;
        m_deviceNumber = introduced->deviceNumber;
    }
    events.push_back(std::move(*event));
}

quint32 LinkSession::nextMessageId()
{
    if (++m_lastMessageId == 0) {
        m_lastMessageId = 1; // 0 is never sent
    }
    return m_lastMessageId;
}
