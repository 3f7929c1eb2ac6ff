#include "net/controllers/ListenerSession.h"
#include "net/link/LinkCodes.h"

ListenerSession::ListenerSession(const QByteArray &handshake, qint64 nowMs)
    : m_handshake(handshake)
    , m_heartbeatAtMs(nowMs + kHeartbeatMs)
    , m_resendAtMs(nowMs + kResendMs)
{}

void ListenerSession::receive(const char *bytes, int count, qint64 nowMs, std::vector<TargetMessage> &messages)
{
    for (const Frame &frame : m_exchange.cut(bytes, count)) {
        if (!frame.checksumOk) {
            continue;
        }
        switch (frame.code) {
        case LinkCode::kIdentify:
            m_exchange.sendPlain(LinkCode::kHandshake, m_handshake);
            break;
        case LinkCode::kHeartbeatAnswer:
            m_awaitsAnswer = false;
            m_missed = 0;
            break;
        case LinkCode::kAcknowledgement:
            m_exchange.takeAcknowledgement(frame);
            break;
        case LinkCode::kController:
            takeMessage(frame, nowMs, messages);
            break;
        default: // what only panels and tools are told
            break;
        }
    }
}

bool ListenerSession::tick(qint64 nowMs, bool isReading)
{
    m_exchange.forgetOld(nowMs);
    if (nowMs >= m_resendAtMs) {
        m_resendAtMs = nextMoment(m_resendAtMs, kResendMs, nowMs);
        if (isReading) {
            m_exchange.sendAgain(nowMs);
            if (m_systemNumber < 0) {
                send(ControllerText::askNumber(), nowMs);
            }
        }
    }
    if (nowMs >= m_heartbeatAtMs) {
        m_heartbeatAtMs = nextMoment(m_heartbeatAtMs, kHeartbeatMs, nowMs);
        beat(isReading);
    }
    return m_missed <= kMissedHeartbeats;
}

void ListenerSession::send(const QByteArray &body, qint64 nowMs)
{
    m_exchange.sendMessage(LinkCode::kController, body, nowMs);
}

void ListenerSession::takeMessage(const Frame &frame, qint64 nowMs, std::vector<TargetMessage> &messages)
{
    const std::optional<QByteArray> body = m_exchange.takeMessage(frame, nowMs);
    std::optional<TargetMessage> message = body ? ControllerText::parseFromTarget(*body) : std::nullopt;
    if (!message) {
        return;
    }
    if (const auto *number = std::get_if<TargetNumber>(&*message)) {
        if (number->system == m_systemNumber) {
            return; // a second answer: we had asked again
        }
        m_systemNumber = number->system;
    }
    messages.push_back(std::move(*message));
}

void ListenerSession::beat(bool isReading)
{
    if (m_awaitsAnswer && isReading) {
        m_awaitsAnswer = false; // the next beat comes a second later
        ++m_missed;
    } else {
        m_exchange.sendPlain(LinkCode::kHeartbeat, QByteArray());
        m_awaitsAnswer = true;
    }
}
