#pragma once
#include "base/Descriptor.h"
#include "io/OutBuffer.h"

#include <memory>

/// What a connection has to send: bytes, and behind them at most one piece of a file, which is read only when it goes.
/// Owns: the bytes; holds the file. Thread: that of its connection. Ends: with it.
class HttpOutput
{
public:
    OutBuffer &bytes() { return m_bytes; }
    const OutBuffer &bytes() const { return m_bytes; }
    bool hasFile() const { return m_fileBytes > 0; }
    bool isEmpty() const { return m_bytes.isEmpty() && !hasFile(); }

    int file() const { return m_file->get(); }
    off_t fileOffset() const { return m_fileOffset; }
    qint64 fileBytes() const { return m_fileBytes; }

    void append(const QByteArray &bytes)
    {
        Q_ASSERT(!hasFile());
        m_bytes.append(bytes);
    }

    void appendFile(std::shared_ptr<const Descriptor> file, qint64 offset, qint64 count)
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
    std::shared_ptr<const Descriptor> m_file;
    off_t m_fileOffset = 0;
    qint64 m_fileBytes = 0;
};
