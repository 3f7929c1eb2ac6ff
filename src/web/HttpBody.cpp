#include "web/HttpBody.h"

#include <QDebug>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {
constexpr int kMaxLine = 256;     // of a chunk's size with its extensions
constexpr int kMaxTrailer = 4096; // headers behind the last chunk, which nobody reads
} // namespace

void HttpBody::begin(qint64 length, Keep keep)
{
    start(keep, length);
    m_remaining = length;
    m_state = length > 0 ? State::Sized : State::Done;
}

void HttpBody::beginChunked(qint64 most, Keep keep)
{
    start(keep, 0);
    m_room = most;
    m_state = State::ChunkSize;
}

void HttpBody::start(Keep keep, qint64 expected)
{
    m_refusal = HttpRefusal::None;
    m_trailerBytes = 0;
    m_line.clear();
    m_bytes.clear();
    m_file.reset();
    if (keep == Keep::OnDisk) {
        HttpTemporaryFile::Result result = HttpTemporaryFile::make(expected);
        m_file = std::move(result.file);
        if (!m_file) {
            refuse(result.made == HttpTemporaryFile::Made::NoRoom ? HttpRefusal::NoRoom : HttpRefusal::TooLarge,
                   "HttpRequest: Error writing temp file for multipart body");
        }
    }
}

int HttpBody::feed(const char *bytes, int count)
{
    int used = 0;
    while (used < count && m_state != State::Done && m_refusal == HttpRefusal::None) {
        const bool isData = m_state == State::Sized || m_state == State::Chunk;
        used += isData ? takeData(bytes + used, count - used) : takeLine(bytes + used, count - used);
    }
    return used;
}

int HttpBody::takeData(const char *bytes, int count)
{
    const int piece = static_cast<int>(std::min<qint64>(count, m_remaining));
    store(bytes, piece);
    m_remaining -= piece;
    if (m_remaining == 0) {
        m_state = m_state == State::Sized ? State::Done : State::ChunkEnd;
    }
    return piece;
}

int HttpBody::takeLine(const char *bytes, int count)
{
    const void *const end = std::memchr(bytes, '\n', static_cast<size_t>(count));
    const int piece = end ? static_cast<int>(static_cast<const char *>(end) - bytes) + 1 : count;
    if (m_line.size() + piece > kMaxLine) {
        refuse(HttpRefusal::BadRequest, "HttpRequest: received a broken chunk");
        return piece;
    }
    m_line.append(bytes, piece);
    if (end) {
        if (!m_line.endsWith("\r\n")) {
            refuse(HttpRefusal::BadRequest, "HttpRequest: received a broken chunk");
            return piece;
        }
        m_line.chop(2);
        readLine();
        m_line.resize(0);
    }
    return piece;
}

void HttpBody::readLine()
{
    if (m_state == State::ChunkSize) {
        readChunkSize();
    } else if (m_state == State::ChunkEnd) {
        if (!m_line.isEmpty()) {
            refuse(HttpRefusal::BadRequest, "HttpRequest: received a broken chunk");
        }
        m_state = State::ChunkSize;
    } else if (m_line.isEmpty()) {
        m_state = State::Done;
    } else if ((m_trailerBytes += m_line.size() + 2) > kMaxTrailer) {
        refuse(HttpRefusal::TooLarge, "HttpRequest: received too many bytes");
    }
}

void HttpBody::readChunkSize()
{
    constexpr int kMaxDigits = 15; // fits into 64 bits with its sign
    const int end = m_line.indexOf(';');
    const QByteArray digits = end < 0 ? m_line : m_line.left(end);
    const bool isNumber = !digits.isEmpty() && digits.size() <= kMaxDigits &&
                          std::all_of(digits.begin(), digits.end(),
                                      [](char digit) { return std::isxdigit(static_cast<unsigned char>(digit)) != 0; });
    if (!isNumber || HttpText::hasControls({ m_line.constData(), static_cast<size_t>(m_line.size()) })) {
        refuse(HttpRefusal::BadRequest, "HttpRequest: received a broken chunk");
        return;
    }
    m_remaining = digits.toLongLong(nullptr, 16);
    if (m_remaining > m_room) {
        refuse(HttpRefusal::TooLarge,
               m_file ? "HttpRequest: received too many multipart bytes" : "HttpRequest: expected body is too large");
        return;
    }
    m_room -= m_remaining;
    m_state = m_remaining > 0 ? State::Chunk : State::Trailer;
}

void HttpBody::store(const char *bytes, int count)
{
    if (!m_file) {
        m_bytes.append(bytes, count);
    } else if (!m_file->append(bytes, count)) {
        refuse(HttpRefusal::TooLarge, "HttpRequest: Error writing temp file for multipart body");
    }
}

void HttpBody::refuse(HttpRefusal refusal, const char *why)
{
    qDebug("%s", why);
    m_refusal = refusal;
}
