#pragma once
#include "net/controllers/ControllerText.h"
#include "net/link/LinkExchange.h"

#include <vector>

/// The listener's side of a connection with another controller, without socket, thread or clock: bytes and the time go
/// in, bytes and messages come out. Introduces itself, beats, and asks for the target's system number until it knows.
/// Times are milliseconds on a monotonic clock. Source: docs/formats/controller-messages.md, "The listener's side".
class ListenerSession
{
public:
    static constexpr qint64 kHeartbeatMs = 1000;
    static constexpr qint64 kResendMs = 300;
    static constexpr int kMissedHeartbeats = 2; // with one more the target counts as gone

    /// \param handshake  the body of code 1F with which this controller introduces itself
    ListenerSession(const QByteArray &handshake, qint64 nowMs);

    int systemNumber() const { return m_systemNumber; } // of the target; -1: not known yet
    LinkExchange &exchange() { return m_exchange; }
    OutBuffer &output() { return m_exchange.output(); }

    /// Takes what the target has sent; its messages are appended in order, each once. The confirmations are in output()
    /// on return. The target's number is told when it becomes known, and again only when it has changed.
    void receive(const char *bytes, int count, qint64 nowMs, std::vector<TargetMessage> &messages);

    /// To be called every 200 ms: beats, sends again what is due, asks for the number.
    /// \param isReading  false while answers wait unread: no beat counts as missed, nothing is sent again
    /// Returns false when the target has been silent for too long.
    bool tick(qint64 nowMs, bool isReading = true);

    void send(const QByteArray &body, qint64 nowMs);

private:
    void takeMessage(const Frame &frame, qint64 nowMs, std::vector<TargetMessage> &messages);
    void beat(bool isReading);

    QByteArray m_handshake;
    LinkExchange m_exchange;
    int m_systemNumber = -1;
    bool m_awaitsAnswer = false; // to a heartbeat
    int m_missed = 0;
    qint64 m_heartbeatAtMs;
    qint64 m_resendAtMs;
};
