#include "net/transfer/BlockReceiver.h"
#include <QIODevice>

BlockReceiver::BlockReceiver(QIODevice &file, qint64 size)
    : m_file(file)
    , m_size(size)
{}

BlockReceiver::Taken BlockReceiver::take(const TransferFrames::Chunk &chunk, bool checksumOk)
{
    const qint64 offset = chunk.offset;
    const bool isInside = offset + chunk.data.size() <= m_size;
    if (!isInside && checksumOk) {
        return Taken::OutOfRange;
    }
    if (m_isAtBlockStart && offset >= m_received) {
        m_blockStart = m_received;
    }
    m_isAtBlockStart = false;
    if (!isInside || offset > m_received || (offset < m_received && !checksumOk)) {
        m_hasLost = true;
        return Taken::Ignored;
    }
    const bool isRepetition = offset < m_received || (m_hasLost && offset == m_blockStart);
    if (isRepetition && !startAgain(offset)) {
        return Taken::WriteError;
    }
    if (m_file.write(chunk.data) != chunk.data.size()) {
        return Taken::WriteError;
    }
    m_digest.addData(chunk.data);
    m_received += chunk.data.size();
    return Taken::Yes;
}

bool BlockReceiver::startAgain(qint64 offset)
{
    m_digest.reset();
    m_digestStart = offset;
    m_blockStart = offset;
    m_received = offset;
    m_hasLost = false;
    return m_file.seek(offset);
}
