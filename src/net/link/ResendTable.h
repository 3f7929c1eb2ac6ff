#pragma once
#include <QByteArray>
#include <QHash>

#include <array>
#include <deque>
#include <optional>

/// The frames that a peer has not acknowledged yet: 100 slots, and an overflow list behind them.
/// Times are milliseconds on the connection's monotonic clock. Source: docs/formats/link-frame.md, "Reliability".
class ResendTable
{
public:
    static constexpr int kSlots = 100;
    static constexpr int kFramesPerTick = 31;
    static constexpr qint64 kResendAfterMs = 300;
    static constexpr qint64 kForgetAfterMs = 5000;

    int pending() const { return m_inUse; }
    qint64 bytes() const { return m_bytes; } // of all pending frames

    void add(quint32 messageId, const QByteArray &frame, qint64 nowMs);

    /// As add, for a level message: an older one of the same level is dropped, so only the newest is sent again.
    void addLevel(quint32 messageId, int levelCode, const QByteArray &frame, qint64 nowMs);

    bool acknowledge(quint32 messageId); // whether it was pending

    /// Drops what is older than 5000 ms; how many that were.
    int forgetOld(qint64 nowMs);

    /// Frames due for another try, slots first and then the overflow: from 300 ms after the first send on, every time
    /// it is asked; at most 31, often none, all in one piece to be written at once.
    /// When the slots alone give 30 or more, the overflow waits for the next tick.
    QByteArray dueFrames(qint64 nowMs) const;

    void clear();

private:
    struct Entry
    {
        quint32 messageId = 0; // 0: free slot; no message has this id
        qint64 firstSentMs = 0;
        QByteArray frame;
        std::optional<int> levelCode;
    };
    void place(Entry entry);
    void release(const Entry &entry);

    std::array<Entry, kSlots> m_slots;
    std::deque<Entry> m_overflow;
    QHash<int, quint32> m_levelMessages; // level code to the id of its pending message
    int m_inUse = 0;                     // slots and overflow together
    qint64 m_bytes = 0;
};
