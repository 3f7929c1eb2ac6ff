#pragma once
#include <QByteArray>

/// Bytes on their way out. Consuming moves an offset; the bytes move only when half of the buffer is behind it.
class OutBuffer
{
public:
    const char *data() const { return m_bytes.constData() + m_offset; }
    int size() const { return m_bytes.size() - m_offset; }
    bool isEmpty() const { return size() == 0; }

    void append(const QByteArray &bytes) { m_bytes.append(bytes); }

    void consume(int count)
    {
        m_offset += count;
        if (m_offset == m_bytes.size()) {
            clear();
        } else if (m_offset > kShiftFrom && m_offset > m_bytes.size() / 2) {
            m_bytes.remove(0, m_offset);
            m_offset = 0;
        }
    }

    void clear()
    {
        m_offset = 0;
        if (m_bytes.capacity() > kKeptCapacity) {
            m_bytes = QByteArray(); // one burst does not hold its memory for the life of the connection
        } else {
            m_bytes.resize(0);
        }
    }

private:
    static constexpr int kShiftFrom = 4096;
    static constexpr int kKeptCapacity = 16 * 1024;
    QByteArray m_bytes;
    int m_offset = 0;
};
