#pragma once
#include "web/HttpRequest.h"

/// Takes the body of one request out of the byte stream: of a known length or in chunks, into memory or into a
/// temporary file.
/// Owns: what it has taken. Thread: that of its connection. Ends: with its parser.
class HttpBody
{
public:
    enum class Keep { InMemory, OnDisk };

    void begin(qint64 length, Keep keep);      // exactly so many bytes
    void beginChunked(qint64 most, Keep keep); // until the last chunk; more bytes than the most are refused
    int feed(const char *bytes, int count);    // returns how many it took; the rest belongs to the next request

    bool isDone() const { return m_state == State::Done; }
    HttpRefusal refusal() const { return m_refusal; }
    QByteArray takeBytes() { return std::exchange(m_bytes, QByteArray()); }
    std::shared_ptr<HttpTemporaryFile> takeFile() { return std::exchange(m_file, nullptr); }

private:
    enum class State { Sized, ChunkSize, Chunk, ChunkEnd, Trailer, Done };
    void start(Keep keep, qint64 expected);
    int takeData(const char *bytes, int count);
    int takeLine(const char *bytes, int count);
    void readLine();
    void readChunkSize();
    void store(const char *bytes, int count);
    void refuse(HttpRefusal refusal, const char *why);

    State m_state = State::Done;
    HttpRefusal m_refusal = HttpRefusal::None;
    qint64 m_remaining = 0; // bytes of the body, or of the chunk
    qint64 m_room = 0;      // bytes that further chunks may bring
    int m_trailerBytes = 0;
    QByteArray m_line;
    QByteArray m_bytes;
    std::shared_ptr<HttpTemporaryFile> m_file;
};
