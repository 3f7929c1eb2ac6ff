#pragma once
#include "io/OutBuffer.h"

#include <memory>

#include <unistd.h>

/// A descriptor that is closed with its last holder.
class OpenFile
{
public:
    explicit OpenFile(int descriptor)
        : m_descriptor(descriptor)
    {}
    ~OpenFile() { ::close(m_descriptor); }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    int descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
};

/// What a connection has to send: bytes, and behind them at most one piece of a file, which is read only when it goes.
/// Owns: the bytes; holds the file. Thread: that of its connection. Ends: with it.
class HttpOutput
{
public:
    OutBuffer &bytes() { return m_bytes; }
    const OutBuffer &bytes() const { return m_bytes; }
    bool hasFile() const { return m_fileBytes > 0; }
    bool isEmpty() const { return m_bytes.isEmpty() && !hasFile(); }

    int file() const { return m_file->descriptor(); }
    off_t fileOffset() const { return m_fileOffset; }
    qint64 fileBytes() const { return m_fileBytes; }

    void append(const QByteArray &bytes)
    {
        Q_ASSERT(!hasFile());
        m_bytes.append(bytes);
    }

    void appendFile(std::shared_ptr<const OpenFile> file, qint64 offset, qint64 count)
    {
        Q_ASSERT(!hasFile());
        m_file = std::move(file);
        m_fileOffset = offset;
        m_fileBytes = count;
    }

    void consumeFile(qint64 count)
    {
        m_fileOffset += count;
        m_fileBytes -= count;
        if (m_fileBytes == 0) {
            m_file.reset();
        }
    }

private:
    OutBuffer m_bytes;
    std::shared_ptr<const OpenFile> m_file;
    off_t m_fileOffset = 0;
    qint64 m_fileBytes = 0;
};
