#include "net/link/LinkSession.h"
#include "net/link/LinkTable.h"

#include <algorithm>
#include <utility>

namespace {
const QByteArray &identifyFrame()
{
    static const QByteArray frame = frameBytes(LinkCode::kIdentify, QByteArrayLiteral("\x01"));
    return frame;
}
} // namespace

LinkSession::LinkSession(qint64 nowMs, quint32 lastMessageId)
    : m_exchange(lastMessageId, kMaxStrangersPayload)
    , m_identifyAtMs(nowMs + kIdentifyMs)
    , m_watchdogAtMs(nowMs + kWatchdogMs)
{
    sendFrame(identifyFrame());
}

void LinkSession::receive(const char *bytes, int count, qint64 nowMs, std::vector<LinkEvent> &events)
{
    for (int used = 0; used < count;) {
        const int piece = isStranger() ? 1 : count - used; // what follows an introduction has other limits
        for (Frame &frame : m_exchange.cut(bytes + used, piece)) {
            if (m_isTransferring && LinkCode::isTransfer(frame.code)) {
                events.emplace_back(OtherFrame{ std::move(frame) });
            } else if (!m_isTransferring && frame.checksumOk) {
                if (!mayTake(frame.code)) {
                    keep(std::move(frame));
                    continue;
                }
                takeFrame(frame, nowMs, events);
                if (!isStranger()) {
                    for (const Frame &early : std::exchange(m_early, {})) {
                        takeFrame(early, nowMs, events);
                    }
                }
            }
        }
        used += piece;
    }
}

bool LinkSession::tick(qint64 nowMs, bool isReading)
{
    m_exchange.forgetOld(nowMs);
    m_exchange.sendAgain(nowMs);
    if (m_peerType == PeerType::kUnknown && nowMs >= m_identifyAtMs) {
        m_identifyAtMs = nextMoment(m_identifyAtMs, kIdentifyMs, nowMs);
        sendFrame(identifyFrame());
    }
    if (nowMs >= m_watchdogAtMs) {
        m_watchdogAtMs = nextMoment(m_watchdogAtMs, kWatchdogMs, nowMs);
        m_missedHeartbeats += m_isTransferring || !isReading ? 0 : 1;
    }
    return m_missedHeartbeats <= kMissedHeartbeats;
}

void LinkSession::takeFrame(const Frame &frame, qint64 nowMs, std::vector<LinkEvent> &events)
{
    switch (frame.code) {
    case LinkCode::kHeartbeat:
        m_missedHeartbeats = 0;
        sendPlain(LinkCode::kHeartbeatAnswer, QByteArray());
        return;
    case LinkCode::kAcknowledgement:
        m_exchange.takeAcknowledgement(frame);
        return;
    default:
        if (!isConfirmed<LinkMessageRow::To::Controller>(frame.code)) {
            addEvent(frame.code, frame.body, events);
        } else if (const std::optional<QByteArray> body = m_exchange.takeMessage(frame, nowMs)) {
            addEvent(frame.code, *body, events);
        }
        return;
    }
}

/// Who has not introduced itself can do so, and ask what a tool asks: tools need not say who they are. A panel or a
/// controller has to; what it says before waits for that, unconfirmed, and keeps its order.
bool LinkSession::mayTake(quint8 code) const
{
    switch (code) {
    case LinkCode::kHeartbeat:
    case LinkCode::kAcknowledgement:
    case LinkCode::kHandshake:
    case LinkCode::kInformationRequest:
    case LinkCode::kTextCommand:
        return true;
    default:
        return !isStranger() || LinkCode::isTransfer(code);
    }
}

void LinkSession::keep(Frame &&frame)
{
    const bool isMessage = isConfirmed<LinkMessageRow::To::Controller>(frame.code);
    const bool isNew =
        std::none_of(m_early.begin(), m_early.end(), [&frame](const Frame &each) { return each.body == frame.body; });
    const int bytes = frame.body.size() + static_cast<int>(sizeof(Frame));
    if (isMessage && isNew && m_earlyBytes + bytes <= kMaxEarlyBytes) { // else the peer says it again
        m_earlyBytes += bytes;
        m_early.push_back(std::move(frame));
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
        m_exchange.setMaxPayload(kMaxStreamPayload);
        m_deviceNumber = introduced->deviceNumber;
    }
    events.push_back(std::move(*event));
}
