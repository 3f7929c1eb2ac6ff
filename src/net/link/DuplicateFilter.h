#pragma once
#include <QHash>

#include <deque>

/// Remembers the ids of received messages, so that one that was sent again takes effect once.
/// Times are milliseconds on the connection's monotonic clock.
class DuplicateFilter
{
public:
    static constexpr qint64 kRememberMs = 1000;

    /// Whether the id is new, and remembers it. Ids older than 1000 ms are forgotten only when a new one arrives:
    /// the last message sent again after a longer silence is still a duplicate.
    bool isNew(quint32 messageId, qint64 nowMs);

private:
    struct Receipt
    {
        quint32 messageId;
        qint64 receivedMs;
    };
    QHash<quint32, qint64> m_received; // id to time
    std::deque<Receipt> m_order;       // the same, oldest first
};
