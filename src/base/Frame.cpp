#include "base/Frame.h"

#include <QtEndian>

#include <algorithm>
#include <numeric>

namespace {
constexpr quint8 kMagic1 = 'V';
constexpr quint8 kMagic2 = 'Q';
constexpr quint8 kEndMark = 0xAC;
constexpr int kHeaderSize = 6;

quint8 byteSum(const char *bytes, int count)
{
    return static_cast<quint8>(std::accumulate(
        bytes, bytes + count, 0U, [](unsigned sum, char byte) { return sum + static_cast<quint8>(byte); }));
}

/// Frame with room for the payload behind the code; fillPayload writes it.
template <class FillPayload>
QByteArray makeFrame(quint8 code, int payloadSize, FillPayload fillPayload)
{
    QByteArray frame(payloadSize + kFrameOverhead, Qt::Uninitialized);
    char *bytes = frame.data();
    bytes[0] = kMagic1;
    bytes[1] = kMagic2;
    qToBigEndian(static_cast<quint32>(payloadSize), bytes + 2);
    char *payload = bytes + kHeaderSize;
    payload[0] = static_cast<char>(code);
    fillPayload(payload + 1);
    payload[payloadSize] = static_cast<char>(byteSum(payload, payloadSize));
    payload[payloadSize + 1] = static_cast<char>(kEndMark);
    return frame;
}
} // namespace

QByteArray frameBytes(quint8 code, const QByteArray &body)
{
    return makeFrame(code, 1 + body.size(), [&](char *place) { std::copy(body.begin(), body.end(), place); });
}

QByteArray messageFrameBytes(quint8 code, quint32 messageId, const QByteArray &body)
{
    constexpr int idSize = sizeof messageId;
    return makeFrame(code, 1 + idSize + body.size(), [&](char *place) {
        qToBigEndian(messageId, place);
        std::copy(body.begin(), body.end(), place + idSize);
    });
}

std::optional<quint32> messageIdOf(const QByteArray &body)
{
    if (body.size() < static_cast<int>(sizeof(quint32))) {
        return std::nullopt;
    }
    return qFromBigEndian<quint32>(body.constData());
}

FrameParser::FrameParser(int maxPayload)
    : m_maxPayload(static_cast<quint32>(maxPayload))
{}

void FrameParser::setMaxPayload(int maxPayload)
{
    m_maxPayload = static_cast<quint32>(maxPayload);
}

std::vector<Frame> FrameParser::feed(const QByteArray &bytes)
{
    std::vector<Frame> frames;
    feed(bytes.constData(), bytes.size(), frames);
    return frames;
}

void FrameParser::feed(const char *bytes, int count, std::vector<Frame> &frames)
{
    int position = 0;
    while (position < count) {
        if (m_state == State::Body) {
            position += takeBody(bytes + position, count - position);
        } else {
            step(static_cast<quint8>(bytes[position]), frames);
            ++position;
        }
    }
}

void FrameParser::step(quint8 byte, std::vector<Frame> &frames)
{
    switch (m_state) {
    case State::Magic1:
        m_state = byte == kMagic1 ? State::Magic2 : State::Magic1;
        return;
    case State::Magic2:
        if (byte == kMagic2) {
            m_state = State::Length;
            m_length = 0;
            m_lengthBytes = 0;
        } else if (byte != kMagic1) { // in "VVQ" the second V starts a frame
            m_state = State::Magic1;
        }
        return;
    case State::Length:
        m_length = m_length << 8 | byte;
        if (++m_lengthBytes < 4) {
            return;
        }
        if (m_length < 1 || m_length > m_maxPayload) {
            refuseLength();
            return;
        }
        m_state = State::Code;
        return;
    case State::Code:
        m_frame.code = byte;
        m_state = m_length > 1 ? State::Body : State::Checksum;
        return;
    case State::Body:
        Q_ASSERT(false); // taken in long pieces by takeBody
        return;
    case State::Checksum:
        m_checksum = byte;
        m_state = State::End;
        return;
    case State::End:
        m_state = State::Magic1;
        if (byte == kEndMark) {
            finish(frames);
        } else {
            m_frame.body = QByteArray();
            step(byte, frames); // where the end mark is missing, this may be the next magic
        }
        return;
    }
}

int FrameParser::takeBody(const char *bytes, int count)
{
    const int missing = static_cast<int>(m_length) - 1 - m_frame.body.size();
    const int taken = std::min(missing, count);
    m_frame.body.append(bytes, taken);
    if (taken == missing) {
        m_state = State::Checksum;
    }
    return taken;
}

void FrameParser::refuseLength()
{
    // The four bytes may hold the next magic: a stray "VQ" must not cost the frame right behind it.
    quint8 bytes[4];
    qToBigEndian(m_length, bytes);
    m_state = State::Magic1;
    std::vector<Frame> none; // four bytes cannot complete a frame, nor another length
    for (const quint8 byte : bytes) {
        step(byte, none);
    }
}

void FrameParser::finish(std::vector<Frame> &frames)
{
    const unsigned sum = m_frame.code + byteSum(m_frame.body.constData(), m_frame.body.size());
    m_frame.checksumOk = static_cast<quint8>(sum) == m_checksum;
    frames.push_back(std::move(m_frame));
    m_frame = Frame();
}
