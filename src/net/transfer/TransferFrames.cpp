#include "net/transfer/TransferFrames.h"
#include "base/Frame.h"
#include "net/link/LinkCodes.h"
#include <QtEndian>

#include <algorithm>

namespace {
constexpr int kNumberBytes = 4;

QByteArray numberBytes(quint32 number)
{
    QByteArray bytes(kNumberBytes, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

quint32 numberAt(const QByteArray &body, int offset)
{
    return qFromBigEndian<quint32>(body.constData() + offset);
}
} // namespace

std::optional<TransferFrames::UploadRequest> TransferFrames::readUploadRequest(const QByteArray &body)
{
    constexpr int kNameAt = 1 + kNumberBytes;
    if (body.size() < kNameAt) {
        return std::nullopt;
    }
    return UploadRequest{ static_cast<quint8>(body.at(0)), numberAt(body, 1), QString::fromUtf8(body.mid(kNameAt)) };
}

std::optional<TransferFrames::DownloadRequest> TransferFrames::readDownloadRequest(const QByteArray &body)
{
    if (body.isEmpty()) {
        return std::nullopt;
    }
    const auto byteAt = [&body](int offset, quint8 otherwise) {
        return offset < body.size() ? static_cast<quint8>(body.at(offset)) : otherwise;
    };
    return DownloadRequest{ byteAt(0, 0), byteAt(1, 0), byteAt(2, 1) };
}

std::optional<quint32> TransferFrames::readSize(const QByteArray &body)
{
    return body.size() == kNumberBytes ? std::optional(numberAt(body, 0)) : std::nullopt;
}

std::optional<TransferFrames::Chunk> TransferFrames::readChunk(const QByteArray &body)
{
    if (body.size() <= kNumberBytes) {
        return std::nullopt;
    }
    return Chunk{ numberAt(body, 0),
                  QByteArray::fromRawData(body.constData() + kNumberBytes, body.size() - kNumberBytes) };
}

QByteArray TransferFrames::uploadRequest(const UploadRequest &request)
{
    return frameBytes(LinkCode::kUploadRequest,
                      static_cast<char>(request.parameter) + numberBytes(request.size) + request.name.toUtf8());
}

QByteArray TransferFrames::downloadRequest(const DownloadRequest &request)
{
    QByteArray body;
    body += static_cast<char>(request.kind);
    body += static_cast<char>(request.number);
    if (request.window > 1) {
        body += static_cast<char>(request.window);
    }
    return frameBytes(LinkCode::kDownloadRequest, body);
}

QByteArray TransferFrames::downloadAccepted(quint32 size)
{
    return frameBytes(LinkCode::kDownloadAccepted, numberBytes(size));
}

QByteArray TransferFrames::chunk(quint32 offset, const char *data, int count)
{
    QByteArray body(kNumberBytes + count, Qt::Uninitialized);
    qToBigEndian(offset, body.data());
    std::copy_n(data, count, body.data() + kNumberBytes);
    return frameBytes(LinkCode::kDataChunk, body);
}

QByteArray TransferFrames::endOfBlock()
{
    static const QByteArray frame = frameBytes(LinkCode::kEndOfBlock, {});
    return frame;
}

QByteArray TransferFrames::confirmation(const QByteArray &digest)
{
    return frameBytes(LinkCode::kConfirmation, digest);
}

QByteArray TransferFrames::endOfFile(const QByteArray &digest)
{
    return frameBytes(LinkCode::kEndOfFile, digest);
}

QByteArray TransferFrames::uploadComplete()
{
    return frameBytes(LinkCode::kUploadComplete, {});
}

QByteArray TransferFrames::downloadRefused()
{
    return frameBytes(LinkCode::kDownloadRefused, {});
}
