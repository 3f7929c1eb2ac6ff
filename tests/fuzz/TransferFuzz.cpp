#include "admin/TransferSession.h"
#include "net/client/ToolTransfers.h"
#include <QBuffer>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdlib>

namespace {
/// The bytes as frames: code and checksum flag, length of the body, body, and again.
std::vector<Frame> framesOf(const QByteArray &bytes)
{
    std::vector<Frame> frames;
    for (int position = 0; position + 1 < bytes.size();) {
        const auto first = static_cast<quint8>(bytes.at(position));
        const int length = static_cast<quint8>(bytes.at(position + 1));
        const auto code = static_cast<quint8>(0x22 + (first & 7));
        frames.push_back({ code, bytes.mid(position + 2, length), (first & 0x80) == 0 });
        position += 2 + length;
    }
    return frames;
}

/// A controller that hears anything, at any time. What it takes for whole is as long as it was announced.
void serve(const std::vector<Frame> &frames)
{
    static const QTemporaryDir directory;
    qint64 nowMs = 0;
    TransferFiles files({ directory.filePath(QStringLiteral("a.pobj")), directory.filePath(QStringLiteral("a.src")),
                          directory.filePath(QStringLiteral("a.dtp")), directory.filePath(QStringLiteral("a.zip")),
                          directory.filePath(QStringLiteral("%1.ir")) },
                        [](const TransferTarget &target) {
                            if (!QFile::exists(target.path)) {
                                std::abort();
                            }
                        });
    TransferSession session(files);
    QByteArray out;
    for (const Frame &frame : frames) {
        session.take(frame, nowMs, out);
        session.tick(nowMs += frame.body.size() * 16, out);
    }
}

void useTools(const std::vector<Frame> &frames)
{
    QByteArray content(20000, 'x');
    QBuffer source(&content);
    QBuffer target;
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::ReadWrite)) {
        std::abort();
    }
    UploadClient upload(source, { 0, static_cast<quint32>(content.size()), QStringLiteral("a.src") });
    DownloadClient download(target, { 0, 0, DownloadClient::kWindow });
    QByteArray out;
    qint64 nowMs = 0;
    upload.begin(nowMs, out);
    download.begin(nowMs, out);
    for (const Frame &frame : frames) {
        if (frame.checksumOk) {
            upload.take(frame.code, frame.body, nowMs, out);
            download.take(frame.code, frame.body, nowMs, out);
        }
        upload.tick(nowMs += frame.body.size() * 16, out);
        download.tick(nowMs, out);
        out.clear();
    }
    const bool isDone = download.state() == DownloadClient::State::Done;
    if (download.received() > download.size() || (isDone && target.size() < download.size())) {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.info=false"));
    const std::vector<Frame> frames =
        framesOf(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    serve(frames);
    useTools(frames);
    return 0;
}
