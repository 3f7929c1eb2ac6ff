#pragma once
#include <QByteArrayList>

/// Cuts what a board sends on the port link into frames. Knows no line, clock or signal.
class PortLinkParser
{
public:
    static constexpr int kMostFrame = 4 * 1024; // bytes of a frame of the board; a greater length is none

    /// Takes the next bytes, in pieces of any size; returns the frames that they complete, oldest first. Bytes outside
    /// a frame are skipped; where a frame does not end as it should, the next one is looked for from its second byte.
    QByteArrayList feed(const QByteArray &bytes);

    /// Whether a frame has begun and not ended.
    bool isWithinFrame() const { return !m_bytes.isEmpty(); }
    /// It never will: its length was damaged. The frames within what looked like it.
    QByteArrayList giveUp();

private:
    QByteArrayList cut();

    QByteArray m_bytes; // from the beginning of a frame on, else empty
};
