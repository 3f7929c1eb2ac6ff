#include "admin/TransferSession.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "net/link/LinkCodes.h"
#include <QDebug>
#include <QFileInfo>

#include <algorithm>
#include <limits>

using namespace TransferFrames;

namespace {
constexpr quint8 kNoParameter = 0xFF; // of an upload over the console port

void appendLog(const QString &text)
{
    qInfo().noquote() << text;
}

/// To the tools as well: nothing else tells them why they get no answer.
void report(const QString &name, const QString &reason)
{
    constexpr int kMaxNameShown = 255;
    monitorLog(MonitorMessageType::Error, QStringLiteral("%1: %2").arg(name.left(kMaxNameShown), reason));
}
} // namespace

struct TransferSession::Upload
{
    Upload(std::unique_ptr<IncomingFile> file, qint64 size)
        : incoming(std::move(file))
        , receiver(incoming->file(), size)
    {}
    std::unique_ptr<IncomingFile> incoming;
    BlockReceiver receiver;
};

struct TransferSession::Download
{
    Download(std::unique_ptr<QFile> source, int window, const TransferTimes &times)
        : file(std::move(source))
        , sender(*file, file->size(), window, times)
    {}
    std::unique_ptr<QFile> file;
    BlockSender sender;
    bool isUnderWay = false; // the peer has said go ahead
};

TransferSession::TransferSession(TransferFiles &files, const TransferTimes &times, TransferVia via)
    : m_files(files)
    , m_times(times)
    , m_via(via)
{}

TransferSession::~TransferSession() = default;

void TransferSession::take(const Frame &frame, qint64 nowMs, QByteArray &out)
{
    if (m_upload) {
        takeUploadFrame(frame, nowMs, out);
    } else if (!frame.checksumOk) {
        return;
    } else if (m_download) {
        takeDownloadFrame(frame, nowMs, out);
    } else if (const auto upload = readUploadRequest(frame.body); upload && frame.code == LinkCode::kUploadRequest) {
        beginUpload(*upload, nowMs, out);
    } else if (const auto wish = readDownloadRequest(frame.body); wish && frame.code == LinkCode::kDownloadRequest) {
        beginDownload(*wish, nowMs, out);
    } else if (frame.code == LinkCode::kEndOfFile && !frame.body.isEmpty() && frame.body == m_completedDigest) {
        out += uploadComplete(); // the tool has missed all that were sent
    }
}

void TransferSession::tick(qint64 nowMs, QByteArray &out)
{
    if (m_download && m_download->isUnderWay) {
        m_download->sender.tick(nowMs, out);
        settleDownload(nowMs, out);
    } else if (m_periodMs != 0 && nowMs >= m_dueMs) {
        repeat(nowMs, out);
    }
}

void TransferSession::takeUploadFrame(const Frame &frame, qint64 nowMs, QByteArray &out)
{
    if (frame.code == LinkCode::kDataChunk) {
        takeChunk(frame, nowMs);
    } else if (frame.code == LinkCode::kEndOfBlock && frame.checksumOk) {
        hear(nowMs);
        m_upload->receiver.endBlock();
        out += confirmation(m_upload->receiver.digest());
    } else if (frame.code == LinkCode::kEndOfFile && frame.checksumOk) {
        takeEndOfFile(frame.body, nowMs, out);
    }
}

void TransferSession::takeChunk(const Frame &frame, qint64 nowMs)
{
    const std::optional<Chunk> chunk = readChunk(frame.body);
    if (!chunk) {
        return;
    }
    hear(nowMs);
    switch (m_upload->receiver.take(*chunk, frame.checksumOk)) {
    case BlockReceiver::Taken::Yes:
        m_upload->incoming->noteReceived(m_upload->receiver.received());
        return;
    case BlockReceiver::Taken::Ignored: // the confirmation of the block will not match, and it comes again
        return;
    case BlockReceiver::Taken::OutOfRange:
        fail(translated(QT_TRANSLATE_NOOP("messages", "Data beyond the announced size")));
        return;
    case BlockReceiver::Taken::WriteError:
        fail(translated(QT_TRANSLATE_NOOP("messages", "Failed to write the file: %1"))
                 .arg(m_upload->incoming->file().errorString()));
        return;
    }
}

void TransferSession::takeEndOfFile(const QByteArray &digest, qint64 nowMs, QByteArray &out)
{
    const BlockReceiver &receiver = m_upload->receiver;
    if (!receiver.isWhole() || receiver.digest() != digest) {
        fail(translated(QT_TRANSLATE_NOOP("messages", "Size or digest is wrong")));
        return;
    }
    const TransferTarget target = m_upload->incoming->target();
    if (const std::optional<QString> problem = m_upload->incoming->commit()) {
        fail(*problem);
        return;
    }
    m_upload.reset();
    m_completedDigest = digest;
    sendRepeated(uploadComplete(), m_times.repeatMs, nowMs, out);
    appendLog(translated(QT_TRANSLATE_NOOP("messages", "File has been transfered successfully.")));
    m_files.announce(target);
}

void TransferSession::takeDownloadFrame(const Frame &frame, qint64 nowMs, QByteArray &out)
{
    if (frame.code != LinkCode::kConfirmation) {
        return;
    }
    if (m_download->isUnderWay) {
        m_download->sender.confirm(frame.body, nowMs, out);
    } else {
        m_download->isUnderWay = true;
        hear(nowMs);
        m_download->sender.begin(nowMs, out);
    }
    settleDownload(nowMs, out);
}

void TransferSession::beginUpload(const UploadRequest &request, qint64 nowMs, QByteArray &out)
{
    const auto refuse = [&](const QString &reason) {
        appendLog(reason);
        report(request.name, reason);
    };
    if (request.size == 0) {
        refuse(translated(QT_TRANSLATE_NOOP("messages", "File size is 0.")));
        return;
    }
    const int irNumber = m_via == TransferVia::Console && request.parameter == kNoParameter ? 0 : request.parameter;
    std::optional<TransferTarget> target = m_files.target(request.name, irNumber);
    if (!target) {
        refuse(translated(QT_TRANSLATE_NOOP("messages", "Filename is empty.")));
        return;
    }
    target->via = m_via;
    appendLog(translated(QT_TRANSLATE_NOOP("messages", "Begin to receive file %1. File size: %2 bytes."))
                  .arg(QFileInfo(target->path).fileName())
                  .arg(request.size));
    QString problem;
    std::unique_ptr<IncomingFile> incoming = m_files.open(*target, request.size, problem);
    if (!incoming) {
        refuse(problem);
        return;
    }
    m_completedDigest.clear();
    m_upload = std::make_unique<Upload>(std::move(incoming), request.size);
    sendRepeated(confirmation(), m_times.watchdogMs, nowMs, out);
    appendLog(translated(QT_TRANSLATE_NOOP("messages", "start receive file.")));
}

void TransferSession::beginDownload(const DownloadRequest &request, qint64 nowMs, QByteArray &out)
{
    const QString path = m_files.downloadPath(request.kind, request.number);
    auto file = std::make_unique<QFile>(path);
    const bool isThere = QFileInfo(path).isFile() && file->open(QIODevice::ReadOnly) &&
                         file->size() <= std::numeric_limits<quint32>::max();
    if (!isThere) {
        sendRepeated(downloadRefused(), m_times.watchdogMs, nowMs, out);
        return;
    }
    const int window = std::clamp<int>(request.window, 1, kMaxWindow);
    m_download = std::make_unique<Download>(std::move(file), window, m_times);
    sendRepeated(downloadAccepted(static_cast<quint32>(m_download->file->size())), m_times.watchdogMs, nowMs, out);
}

void TransferSession::settleDownload(qint64 nowMs, QByteArray &out)
{
    switch (m_download->sender.state()) {
    case BlockSender::State::Sending:
        return;
    case BlockSender::State::AllConfirmed: {
        const QByteArray digest = m_download->sender.digest();
        m_download.reset();
        sendRepeated(endOfFile(digest), m_times.watchdogMs, nowMs, out);
        return;
    }
    case BlockSender::State::Failed:
        fail(translated(QT_TRANSLATE_NOOP("messages", "Failed to send file")));
        return;
    }
}

void TransferSession::sendRepeated(const QByteArray &frame, qint64 periodMs, qint64 nowMs, QByteArray &out)
{
    out += frame;
    m_repeated = frame;
    m_periodMs = periodMs;
    m_dueMs = nowMs + periodMs;
    m_silences = 0;
}

void TransferSession::repeat(qint64 nowMs, QByteArray &out)
{
    m_dueMs = nowMs + m_periodMs;
    if (++m_silences < kMaxSilences) {
        out += m_repeated;
    } else if (isActive()) {
        fail(m_upload ? translated(QT_TRANSLATE_NOOP("messages", "Failed to receive file"))
                      : translated(QT_TRANSLATE_NOOP("messages", "Failed to send file")));
    } else {
        m_periodMs = 0;
    }
}

void TransferSession::hear(qint64 nowMs)
{
    m_repeated.clear();
    m_silences = 0;
    m_periodMs = m_times.watchdogMs;
    m_dueMs = nowMs + m_periodMs;
}

void TransferSession::cancel()
{
    if (isActive()) {
        fail(translated(QT_TRANSLATE_NOOP("messages", "The transfer was cancelled")));
    }
}

void TransferSession::fail(const QString &reason)
{
    appendLog(reason);
    report(m_upload ? m_upload->incoming->target().name : QFileInfo(m_download->file->fileName()).fileName(), reason);
    m_upload.reset();
    m_download.reset();
    m_repeated.clear();
    m_periodMs = 0;
}
