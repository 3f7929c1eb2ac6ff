#pragma once
#include "net/link/LinkCodes.h"
#include "net/link/LinkEvents.h"
#include "net/link/LinkExchange.h"

#include <vector>

/// The controller's side of one link connection, without socket, thread or clock: bytes and the time go in, bytes and
/// events come out. Frames to the peer gather in output(), for the owner to write.
/// Times are milliseconds on a monotonic clock. Source: docs/formats/link-frame.md, "Reliability".
class LinkSession
{
public:
    static constexpr qint64 kIdentifyMs = 1000;
    static constexpr qint64 kWatchdogMs = 1000;
    static constexpr int kMissedHeartbeats = 10;
    static constexpr int kMaxStrangersPayload = 8 * 1024; // a block of a file with room to spare
    static constexpr int kMaxEarlyBytes = 4 * 1024;       // of what a stranger says ahead of its introduction

    /// Begins with an identify request in output().
    explicit LinkSession(qint64 nowMs, quint32 lastMessageId = 0);

    int peerType() const { return m_peerType; }         // PeerType::kUnknown until the handshake
    int deviceNumber() const { return m_deviceNumber; } // -1 until the handshake
    bool isStranger() const { return m_peerType == PeerType::kUnknown; }
    void setDeviceNumber(int number) { m_deviceNumber = number; } // the peer's last introduction has not been taken
    int pendingMessages() const { return m_exchange.pendingMessages(); }
    OutBuffer &output() { return m_exchange.output(); }
    const OutBuffer &output() const { return m_exchange.output(); }
    LinkExchange &exchange() { return m_exchange; }

    /// Takes what the peer has sent. Acknowledgements and answers to heartbeats are in output() on return; write them
    /// before acting on the events, which are appended in the order of their frames.
    void receive(const char *bytes, int count, qint64 nowMs, std::vector<LinkEvent> &events);

    /// To be called every 200 ms: asks for the handshake, sends again what is due and counts heartbeats.
    /// Returns false when the peer has been silent for too long.
    /// \param isReading  false: heartbeats may wait unread, none is missed
    bool tick(qint64 nowMs, bool isReading = true);

    /// While a file is on its way, its frames are the only ones that are handed on (damaged ones too), and a peer that
    /// sends no heartbeats is not silent.
    void setTransferring(bool isTransferring) { m_isTransferring = isTransferring; }

    void sendPlain(quint8 code, const QByteArray &body) { m_exchange.sendPlain(code, body); }
    void sendFrame(const QByteArray &frame) { m_exchange.sendFrame(frame); } // a whole one
    void sendMessage(quint8 code, const QByteArray &body, qint64 nowMs)      // acknowledged, sent again until it is
    {
        m_exchange.sendMessage(code, body, nowMs);
    }
    void sendLevel(int levelCode, int level, qint64 nowMs) { m_exchange.sendLevel(levelCode, level, nowMs); }

private:
    void takeFrame(const Frame &frame, qint64 nowMs, std::vector<LinkEvent> &events);
    bool mayTake(quint8 code) const;
    void keep(Frame &&frame);
    void addEvent(quint8 code, const QByteArray &body, std::vector<LinkEvent> &events);

    LinkExchange m_exchange;
    int m_peerType = PeerType::kUnknown;
    int m_deviceNumber = -1;
    int m_missedHeartbeats = 0;
    std::vector<Frame> m_early; // wait for the introduction
    int m_earlyBytes = 0;
    bool m_isTransferring = false;
    qint64 m_identifyAtMs;
    qint64 m_watchdogAtMs;
};
