#pragma once
#include "admin/TransferFiles.h"
#include "base/Frame.h"
#include "net/transfer/BlockReceiver.h"
#include "net/transfer/BlockSender.h"

#include <memory>

/// The controller's side of the file transfers of one connection, whatever carries it: frames and the time go in,
/// frames come out. One transfer at a time. What goes wrong is told in the log and in a monitor line that begins with
/// the name the tool gave the file. Times are milliseconds on a monotonic clock. Source: docs/formats/file-transfer.md.
class TransferSession
{
public:
    static constexpr int kMaxSilences = 3; // watchdog periods without a sign of the peer
    static constexpr int kMaxWindow = 128; // blocks that a tool may ask to be sent ahead

    explicit TransferSession(TransferFiles &files, const TransferTimes &times = {},
                             TransferVia via = TransferVia::Link);
    ~TransferSession();

    bool isActive() const { return m_upload || m_download; } // the connection is to ignore all other frames

    void take(const Frame &frame, qint64 nowMs, QByteArray &out);
    void tick(qint64 nowMs, QByteArray &out); // often against the periods of the transfer
    void cancel();                            // at the tool's wish, or because the line is gone

private:
    struct Upload;
    struct Download;

    void takeUploadFrame(const Frame &frame, qint64 nowMs, QByteArray &out);
    void takeChunk(const Frame &frame, qint64 nowMs);
    void takeEndOfFile(const QByteArray &digest, qint64 nowMs, QByteArray &out);
    void takeDownloadFrame(const Frame &frame, qint64 nowMs, QByteArray &out);
    void beginUpload(const TransferFrames::UploadRequest &request, qint64 nowMs, QByteArray &out);
    void beginDownload(const TransferFrames::DownloadRequest &request, qint64 nowMs, QByteArray &out);
    void settleDownload(qint64 nowMs, QByteArray &out);
    void sendRepeated(const QByteArray &frame, qint64 periodMs, qint64 nowMs, QByteArray &out);
    void repeat(qint64 nowMs, QByteArray &out);
    void hear(qint64 nowMs); // a sign of the peer: nothing is to be sent again
    void fail(const QString &reason);

    TransferFiles &m_files;
    const TransferTimes m_times;
    const TransferVia m_via;
    std::unique_ptr<Upload> m_upload;
    std::unique_ptr<Download> m_download;
    QByteArray m_repeated; // sent again until the peer answers; may be empty while the watchdog runs
    qint64 m_periodMs = 0; // of the watchdog; 0: it is off
    qint64 m_dueMs = 0;
    int m_silences = 0;
    QByteArray m_completedDigest; // of the last upload: its end may come once more
};
