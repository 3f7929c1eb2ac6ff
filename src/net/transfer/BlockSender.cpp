#include "net/transfer/BlockSender.h"
#include <QIODevice>

#include <algorithm>

using namespace TransferFrames;

BlockSender::BlockSender(QIODevice &file, qint64 size, int window, const TransferTimes &times)
    : m_file(file)
    , m_size(size)
    , m_window(static_cast<size_t>(std::max(window, 1)))
    , m_times(times)
{}

void BlockSender::begin(qint64 nowMs, QByteArray &out)
{
    sendBlocks(nowMs, out);
}

void BlockSender::confirm(const QByteArray &digest, qint64 nowMs, QByteArray &out)
{
    if (m_state != State::Sending || digest.size() != kDigestBytes) { // a go-ahead that came twice is no digest
        return;
    }
    m_heardMs = nowMs;
    const bool isDuplicate = goesAhead() && digest == m_lastConfirmed && ++m_duplicates == 1;
    if (m_waitsForQuiet || isDuplicate) {
        return;
    }
    if (!takeConfirmed(digest)) {
        mismatch(nowMs, out);
        return;
    }
    m_silences = 0;
    if (!goesAhead()) {
        m_retries = 0;
    }
    sendBlocks(nowMs, out);
}

void BlockSender::tick(qint64 nowMs, QByteArray &out)
{
    if (m_state != State::Sending) {
        return;
    }
    if (m_waitsForQuiet) {
        if (nowMs - m_heardMs >= m_times.quietMs) {
            repeat(nowMs, out);
        }
    } else if (nowMs - m_heardMs >= m_times.watchdogMs) {
        silence(nowMs, out);
    }
}

void BlockSender::sendBlocks(qint64 nowMs, QByteArray &out)
{
    m_heardMs = nowMs;
    constexpr int kFramedBlockBytes = kBlockBytes + 64;
    const auto free = static_cast<int>(m_window - std::min(m_window, m_unconfirmed.size()));
    out.reserve(out.size() + free * kFramedBlockBytes);
    while (m_unconfirmed.size() < m_window && m_position < m_size) {
        if (!sendBlock(out)) {
            m_state = State::Failed;
            return;
        }
    }
    if (m_unconfirmed.empty()) {
        m_state = State::AllConfirmed;
    }
}

bool BlockSender::sendBlock(QByteArray &out)
{
    const qint64 start = m_position;
    const qint64 end = std::min(start + kBlockBytes, m_size);
    char data[kChunkBytes];
    while (m_position < end) {
        const qint64 count = m_file.read(data, std::min<qint64>(kChunkBytes, end - m_position));
        if (count <= 0) {
            return false;
        }
        out += chunk(static_cast<quint32>(m_position), data, static_cast<int>(count));
        m_digest.addData(data, static_cast<int>(count));
        m_position += count;
    }
    out += endOfBlock();
    m_unconfirmed.push_back({ start, end, m_digest.result() });
    return true;
}

/// Whether the digest is that of a block under way; all up to it are confirmed then. The digest of a whole file so far
/// vouches for the blocks before it, so that of several sent ahead one confirmation may be lost.
bool BlockSender::takeConfirmed(const QByteArray &digest)
{
    const auto found = std::find_if(m_unconfirmed.begin(), m_unconfirmed.end(),
                                    [&](const Block &block) { return block.digest == digest; });
    if (found == m_unconfirmed.end()) {
        return false;
    }
    m_confirmed = found->end;
    m_lastConfirmed = digest;
    m_duplicates = 0;
    m_unconfirmed.erase(m_unconfirmed.begin(), std::next(found));
    return true;
}

void BlockSender::mismatch(qint64 nowMs, QByteArray &out)
{
    if (m_unconfirmed.empty()) {
        return;
    }
    ++m_retries;
    if (m_retries >= (goesAhead() ? kMaxRestarts : kMaxBlockRetries)) {
        m_state = State::Failed;
    } else if (m_retries == 1 && !goesAhead()) {
        repeat(nowMs, out);
    } else {
        m_waitsForQuiet = true; // else each answer to a void block would void the next one
    }
}

void BlockSender::repeat(qint64 nowMs, QByteArray &out)
{
    m_position = goesAhead() || m_unconfirmed.empty() ? 0 : m_unconfirmed.front().start;
    m_confirmed = m_position;
    m_waitsForQuiet = false;
    m_unconfirmed.clear();
    m_lastConfirmed.clear();
    m_digest.reset();
    if (!m_file.seek(m_position)) {
        m_state = State::Failed;
        return;
    }
    sendBlocks(nowMs, out);
}

void BlockSender::silence(qint64 nowMs, QByteArray &out)
{
    if (++m_silences >= kMaxSilences) {
        m_state = State::Failed;
    } else if (goesAhead()) {
        m_heardMs = nowMs;
        out += endOfBlock(); // asks for the digest: confirmations may have been lost, or be late only
    } else {
        repeat(nowMs, out);
    }
}
