#include "tools/arkhost/HostStatusLine.h"

namespace {
constexpr char kErase[] = "\r\033[K";
constexpr char kReverse[] = "\033[7m";
constexpr char kNormal[] = "\033[0m";
} // namespace

QByteArray HostStatusLine::output(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return {};
    }
    QByteArray result = away() + bytes;
    m_lineIsOpen = !bytes.endsWith('\n');
    if (!m_lineIsOpen && !m_text.isEmpty()) {
        m_isDrawn = true;
        result += drawn();
    }
    return result;
}

QByteArray HostStatusLine::show(const QByteArray &text, int columns)
{
    m_text = text.left(qMax(columns - 1, 0)); // a mark in the last column would move on to the next line
    if (m_lineIsOpen || m_text.isEmpty()) {
        return away();
    }
    QByteArray result = away() + drawn();
    m_isDrawn = true;
    return result;
}

QByteArray HostStatusLine::away()
{
    QByteArray result = m_isDrawn ? QByteArray(kErase) : QByteArray();
    m_isDrawn = false;
    return result;
}

QByteArray HostStatusLine::drawn() const
{
    return kReverse + m_text + kNormal;
}
