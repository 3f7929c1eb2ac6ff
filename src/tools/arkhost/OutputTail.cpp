#include "tools/arkhost/OutputTail.h"

void OutputTail::take(const QByteArray &bytes)
{
    int from = 0;
    while (from < bytes.size()) {
        const int lineEnd = bytes.indexOf('\n', from);
        const int until = lineEnd < 0 ? bytes.size() : lineEnd;
        const int room = kMaxLineBytes - m_open.size();
        m_open.append(bytes.constData() + from, qMin(until - from, room));
        if (lineEnd >= 0) {
            endLine();
        }
        from = until + 1;
    }
}

QByteArrayList OutputTail::lines() const
{
    return m_open.isEmpty() ? m_lines : m_lines + QByteArrayList{ m_open };
}

void OutputTail::clear()
{
    m_lines.clear();
    m_open.clear();
}

void OutputTail::endLine()
{
    if (m_lines.size() == kMaxLines) {
        m_lines.removeFirst();
    }
    m_lines << m_open;
    m_open.clear();
}
