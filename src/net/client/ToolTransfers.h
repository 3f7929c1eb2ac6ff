#pragma once
#include "base/Frame.h"
#include "net/transfer/BlockReceiver.h"
#include "net/transfer/BlockSender.h"

#include <optional>

/// A tool's side of an upload, without socket and clock: frames of the controller and the time go in, frames for it
/// come out. Blocks are sent ahead of their confirmations. Ends when state() is Done, which means that the controller
/// has put the file in place, or Failed: it has the old one.
class UploadClient
{
public:
    enum class State { Requested, Sending, Finishing, Done, Failed };
    static constexpr int kWindow = 128; // blocks under way
    static constexpr int kMaxRepeats = 3;
    static constexpr int kMaxFinishRepeats = 15; // the controller writes the file to its disk meanwhile

    /// \param file  open; outlives this
    UploadClient(QIODevice &file, const TransferFrames::UploadRequest &request, const TransferTimes &times = {});

    State state() const { return m_state; }
    qint64 confirmed() const { return m_sender.confirmed(); }

    void begin(qint64 nowMs, QByteArray &out);
    void take(quint8 code, const QByteArray &body, qint64 nowMs, QByteArray &out);
    void tick(qint64 nowMs, QByteArray &out);

private:
    void settle(qint64 nowMs, QByteArray &out);
    void await(const QByteArray &frame, int repeats, qint64 nowMs, QByteArray &out);

    const TransferTimes m_times;
    const QByteArray m_request;
    BlockSender m_sender;
    State m_state = State::Requested;
    QByteArray m_repeated; // the frame whose answer is awaited
    int m_repeatsLeft = 0;
    qint64 m_repeatAtMs = 0;
};

/// A tool's side of a download, likewise. The file is complete when state() is Done: its digest was compared from the
/// first byte to the last; a controller that had to repeat a block is asked for the file again.
class DownloadClient
{
public:
    enum class State { Requested, Receiving, Done, Refused, Failed };
    static constexpr quint8 kWindow = 128;
    static constexpr int kMaxSilences = 3; // watchdog periods in a row
    static constexpr int kMaxAttempts = 8;

    /// \param file  open for writing, empty; outlives this
    DownloadClient(QIODevice &file, const TransferFrames::DownloadRequest &request, const TransferTimes &times = {});

    State state() const { return m_state; }
    bool hasWriteError() const { return m_hasWriteError; } // why it Failed
    qint64 received() const { return m_receiver ? m_receiver->received() : 0; }
    qint64 size() const { return m_receiver ? m_receiver->size() : 0; }

    void begin(qint64 nowMs, QByteArray &out);
    void take(quint8 code, const QByteArray &body, qint64 nowMs, QByteArray &out);
    void tick(qint64 nowMs, QByteArray &out);

private:
    void takeOffer(const QByteArray &body, qint64 nowMs, QByteArray &out);
    void takeChunk(const QByteArray &body, qint64 nowMs);
    void takeEnd(const QByteArray &digest, qint64 nowMs, QByteArray &out);

    const TransferTimes m_times;
    const QByteArray m_request;
    QIODevice &m_file;
    std::optional<BlockReceiver> m_receiver; // once a size is known
    State m_state = State::Requested;
    bool m_hasWriteError = false;
    int m_attempts = 0;
    int m_silences = 0;
    qint64 m_heardMs = 0;
};
