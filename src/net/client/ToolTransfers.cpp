#include "net/client/ToolTransfers.h"
#include "net/link/LinkCodes.h"
#include <QIODevice>

using namespace TransferFrames;

UploadClient::UploadClient(QIODevice &file, const UploadRequest &request, const TransferTimes &times)
    : m_times(times)
    , m_request(uploadRequest(request))
    , m_sender(file, request.size, kWindow, times)
{}

void UploadClient::begin(qint64 nowMs, QByteArray &out)
{
    await(m_request, kMaxRepeats, nowMs, out);
}

void UploadClient::take(quint8 code, const QByteArray &body, qint64 nowMs, QByteArray &out)
{
    if (code == LinkCode::kConfirmation && m_state == State::Requested && body.isEmpty()) {
        m_state = State::Sending;
        m_sender.begin(nowMs, out);
        settle(nowMs, out);
    } else if (code == LinkCode::kConfirmation && m_state == State::Sending) {
        m_sender.confirm(body, nowMs, out);
        settle(nowMs, out);
    } else if (code == LinkCode::kUploadComplete && m_state == State::Finishing) {
        m_state = State::Done;
    }
}

void UploadClient::tick(qint64 nowMs, QByteArray &out)
{
    if (m_state == State::Sending) {
        m_sender.tick(nowMs, out);
        settle(nowMs, out);
    } else if (nowMs >= m_repeatAtMs && (m_state == State::Requested || m_state == State::Finishing)) {
        if (--m_repeatsLeft <= 0) {
            m_state = State::Failed;
        } else {
            out += m_repeated;
            m_repeatAtMs = nowMs + m_times.watchdogMs;
        }
    }
}

void UploadClient::settle(qint64 nowMs, QByteArray &out)
{
    if (m_sender.state() == BlockSender::State::Failed) {
        m_state = State::Failed;
    } else if (m_sender.state() == BlockSender::State::AllConfirmed) {
        m_state = State::Finishing;
        await(endOfFile(m_sender.digest()), kMaxFinishRepeats, nowMs, out);
    }
}

void UploadClient::await(const QByteArray &frame, int repeats, qint64 nowMs, QByteArray &out)
{
    out += frame;
    m_repeated = frame;
    m_repeatsLeft = repeats;
    m_repeatAtMs = nowMs + m_times.watchdogMs;
}

DownloadClient::DownloadClient(QIODevice &file, const DownloadRequest &request, const TransferTimes &times)
    : m_times(times)
    , m_request(downloadRequest(request))
    , m_file(file)
{}

void DownloadClient::begin(qint64 nowMs, QByteArray &out)
{
    m_state = ++m_attempts > kMaxAttempts ? State::Failed : State::Requested;
    m_silences = 0;
    m_heardMs = nowMs;
    out += m_request;
}

void DownloadClient::take(quint8 code, const QByteArray &body, qint64 nowMs, QByteArray &out)
{
    if (code == LinkCode::kDownloadRefused && m_state == State::Requested) {
        m_state = State::Refused;
    } else if (code == LinkCode::kDownloadAccepted) {
        takeOffer(body, nowMs, out);
    } else if (m_state == State::Receiving && code == LinkCode::kDataChunk) {
        takeChunk(body, nowMs);
    } else if (m_state == State::Receiving && code == LinkCode::kEndOfBlock) {
        m_heardMs = nowMs;
        m_receiver->endBlock();
        out += confirmation(m_receiver->digest());
    } else if (m_state == State::Receiving && code == LinkCode::kEndOfFile) {
        takeEnd(body, nowMs, out);
    }
}

void DownloadClient::tick(qint64 nowMs, QByteArray &out)
{
    if ((m_state != State::Requested && m_state != State::Receiving) || nowMs - m_heardMs < m_times.watchdogMs) {
        return;
    }
    m_heardMs = nowMs;
    if (++m_silences >= kMaxSilences) {
        m_state = State::Failed;
    } else if (m_state == State::Requested) {
        out += m_request;
    } else if (m_receiver->received() == 0) {
        out += confirmation(); // the go-ahead may have been lost
    }
}

void DownloadClient::takeOffer(const QByteArray &body, qint64 nowMs, QByteArray &out)
{
    const std::optional<quint32> size = readSize(body);
    const bool isRepeated = m_state == State::Receiving && m_receiver->received() == 0;
    if (!size || (m_state != State::Requested && !isRepeated)) {
        return;
    }
    m_heardMs = nowMs;
    if (!m_file.seek(0)) {
        m_hasWriteError = true;
        m_state = State::Failed;
        return;
    }
    m_state = State::Receiving;
    m_receiver.emplace(m_file, *size);
    out += confirmation();
}

void DownloadClient::takeChunk(const QByteArray &body, qint64 nowMs)
{
    const std::optional<Chunk> chunk = readChunk(body);
    if (!chunk) {
        return;
    }
    m_heardMs = nowMs;
    m_silences = 0;
    const BlockReceiver::Taken taken = m_receiver->take(*chunk, true); // damaged frames do not get here
    m_hasWriteError = taken == BlockReceiver::Taken::WriteError;
    if (m_hasWriteError || taken == BlockReceiver::Taken::OutOfRange) {
        m_state = State::Failed;
    }
}

void DownloadClient::takeEnd(const QByteArray &digest, qint64 nowMs, QByteArray &out)
{
    if (m_receiver->isWhole() && m_receiver->coversAll() && m_receiver->digest() == digest) {
        m_state = State::Done;
    } else {
        begin(nowMs, out);
    }
}
