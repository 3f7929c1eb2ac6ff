#pragma once
#include "net/transfer/TransferFrames.h"
#include <QCryptographicHash>

#include <deque>

class QIODevice;

/// The sending end of a transfer: cuts a file into blocks, sends each with its end mark and checks the confirmations.
/// Without clock or peer: confirmations and the time go in, frames come out.
/// With a window of 1 every block waits for its confirmation, and one that is not confirmed is repeated, its digest
/// started anew. With a larger window blocks are sent ahead, and a mismatch starts the file over: the digest of all
/// of it then goes with the end of the file, so that the receiver itself vouches for every byte.
class BlockSender
{
public:
    enum class State { Sending, AllConfirmed, Failed };
    static constexpr int kMaxBlockRetries = 31;
    static constexpr int kMaxRestarts = 8;
    static constexpr int kMaxSilences = 3; // watchdog periods in a row

    /// \param file  open, at least size bytes long; outlives this
    BlockSender(QIODevice &file, qint64 size, int window, const TransferTimes &times);

    State state() const { return m_state; }
    QByteArray digest() const { return m_digest.result(); } // what goes with the end of the file
    qint64 confirmed() const { return m_confirmed; }        // bytes from the beginning

    void begin(qint64 nowMs, QByteArray &out);
    void confirm(const QByteArray &digest, qint64 nowMs, QByteArray &out);
    void tick(qint64 nowMs, QByteArray &out);

private:
    struct Block
    {
        qint64 start;
        qint64 end;
        QByteArray digest; // when it had been sent
    };
    bool goesAhead() const { return m_window > 1; }
    void sendBlocks(qint64 nowMs, QByteArray &out);
    bool sendBlock(QByteArray &out);
    bool takeConfirmed(const QByteArray &digest);
    void mismatch(qint64 nowMs, QByteArray &out);
    void repeat(qint64 nowMs, QByteArray &out);
    void silence(qint64 nowMs, QByteArray &out);

    QIODevice &m_file;
    const qint64 m_size;
    const size_t m_window;
    const TransferTimes m_times;
    State m_state = State::Sending;
    QCryptographicHash m_digest{ QCryptographicHash::Md4 };
    std::deque<Block> m_unconfirmed; // oldest first
    QByteArray m_lastConfirmed;
    int m_duplicates = 0; // of it; more than one means that the receiver does not get on
    qint64 m_position = 0;
    qint64 m_confirmed = 0;
    qint64 m_heardMs = 0;
    int m_retries = 0;
    int m_silences = 0;
    bool m_waitsForQuiet = false; // confirmations of what is void are still under way
};
