#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

/// The frames of file transfers: bodies to read, whole frames to send. Source: docs/formats/file-transfer.md.
namespace TransferFrames {
constexpr int kBlockBytes = 4096; // confirmed as one; the last of a file may be shorter
constexpr int kChunkBytes = 4083; // so that a frame of data has 4096 bytes
constexpr int kDigestBytes = 16;  // MD4

struct UploadRequest
{
    quint8 parameter = 0; // number of an IR code file, start flag of a web archive
    quint32 size = 0;
    QString name;
};

struct DownloadRequest
{
    quint8 kind = 0;   // 0 source file, 1 user-interface file, 2 IR code file
    quint8 number = 0; // of an IR code file
    quint8 window = 1; // blocks that may be sent ahead of their confirmation
};

struct Chunk
{
    quint32 offset = 0;
    QByteArray data; // refers to the body it was read from
};

std::optional<UploadRequest> readUploadRequest(const QByteArray &body);
std::optional<DownloadRequest> readDownloadRequest(const QByteArray &body);
std::optional<quint32> readSize(const QByteArray &body); // of a download that was accepted
std::optional<Chunk> readChunk(const QByteArray &body);  // nothing when it holds no data; the body must outlive it

QByteArray uploadRequest(const UploadRequest &request);
QByteArray downloadRequest(const DownloadRequest &request);
QByteArray downloadAccepted(quint32 size);
QByteArray chunk(quint32 offset, const char *data, int count);
QByteArray endOfBlock();
QByteArray confirmation(const QByteArray &digest = {}); // without a digest: go ahead
QByteArray endOfFile(const QByteArray &digest);
QByteArray uploadComplete();
QByteArray downloadRefused();
} // namespace TransferFrames

/// The periods of a transfer, in milliseconds.
struct TransferTimes
{
    qint64 watchdogMs = 2000; // without a sign of the peer: send again; three in a row end the transfer
    qint64 quietMs = 200;     // so long nothing comes before a sender that was out of step sends again
    qint64 repeatMs = 200;    // between the three announcements that an upload is complete
};
