#pragma once
#include "net/transfer/TransferFrames.h"
#include <QCryptographicHash>

class QIODevice;

/// The receiving end of a transfer: puts the chunks of one file in their places and knows the digest of what came.
/// Without frames, clock or peer. The file is written from its beginning on, never beyond the size.
class BlockReceiver
{
public:
    enum class Taken {
        Yes,
        Ignored,    // damaged on its way, or its predecessor was: the sender will come again
        OutOfRange, // undamaged and beyond the size: the sender is at fault
        WriteError,
    };

    BlockReceiver(QIODevice &file, qint64 size);

    /// A chunk in its order is taken whatever its checksum says: the digest covers it. A step back, by which the
    /// sender repeats a block, starts the digest anew, and only a right checksum makes it believed; a step ahead
    /// means that a chunk was lost.
    Taken take(const TransferFrames::Chunk &chunk, bool checksumOk);
    void endBlock() { m_isAtBlockStart = true; }

    QByteArray digest() const { return m_digest.result(); } // of what came since its start
    bool isWhole() const { return m_received == m_size; }
    bool coversAll() const { return m_digestStart == 0; } // the digest is that of the file from its beginning
    qint64 received() const { return m_received; }
    qint64 size() const { return m_size; }

private:
    bool startAgain(qint64 offset);

    QIODevice &m_file;
    const qint64 m_size;
    qint64 m_received = 0;
    qint64 m_digestStart = 0;
    qint64 m_blockStart = 0;
    bool m_isAtBlockStart = true; // the next chunk in order begins a block
    bool m_hasLost = false;       // a chunk of this block: it will be repeated
    QCryptographicHash m_digest{ QCryptographicHash::Md4 };
};
