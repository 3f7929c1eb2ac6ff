#include "devices/frames/PortLinkParser.h"

namespace {
constexpr char kBegin = '\xCA';
constexpr char kEnd = '\xAC';
constexpr int kHead = 3; // the mark and the length
} // namespace

QByteArrayList PortLinkParser::feed(const QByteArray &bytes)
{
    m_bytes += bytes;
    return cut();
}

QByteArrayList PortLinkParser::giveUp()
{
    QByteArrayList frames;
    while (!m_bytes.isEmpty()) {
        m_bytes.remove(0, 1);
        frames += cut();
    }
    return frames;
}

QByteArrayList PortLinkParser::cut()
{
    QByteArrayList frames;
    int from = 0;
    while ((from = m_bytes.indexOf(kBegin, from)) >= 0) {
        if (m_bytes.size() - from < kHead) {
            break;
        }
        const int length = static_cast<quint8>(m_bytes.at(from + 1)) << 8 | static_cast<quint8>(m_bytes.at(from + 2));
        const int end = from + kHead + length;
        if (length > kMostFrame) {
            ++from;
        } else if (end >= m_bytes.size()) {
            break;
        } else if (m_bytes.at(end) == kEnd) {
            frames << m_bytes.mid(from + kHead, length);
            from = end + 1;
        } else {
            ++from;
        }
    }
    m_bytes = from < 0 ? QByteArray() : m_bytes.mid(from);
    return frames;
}
