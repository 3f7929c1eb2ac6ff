#include "base/MonitorHistory.h"

#include "base/Monitor.h"

#include <QDateTime>

#include <algorithm>

namespace {
int textBytes(const QString &text)
{
    return text.size() * static_cast<int>(sizeof(QChar));
}
} // namespace

MonitorHistory::MonitorHistory(int mostLines)
    : m_mostLines(static_cast<size_t>(std::clamp(mostLines, 1, kMostLines)))
{
    NotificationCenter &center = NotificationCenter::instance();
    connect(
        &center, &NotificationCenter::line, this,
        [this](int type, const QString &text) { add(QDateTime::currentMSecsSinceEpoch(), type, text); },
        Qt::DirectConnection);
    center.addListener();
}

MonitorHistory::~MonitorHistory()
{
    NotificationCenter::instance().removeListener();
}

MonitorHistory::Past MonitorHistory::since(qint64 nowMs, qint64 ageMs,
                                           const std::function<void(const Past &)> &atTheSeam) const
{
    const std::lock_guard lock(m_mutex);
    const auto first =
        std::find_if(m_lines.begin(), m_lines.end(), [&](const Line &line) { return nowMs - line.wallMs <= ageMs; });
    Past past{ nowMs, m_lostUntilMs, { first, m_lines.end() } };
    atTheSeam(past);
    return past;
}

void MonitorHistory::add(qint64 wallMs, int type, const QString &text)
{
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(
        { wallMs, static_cast<quint8>(type), text.size() > kLongestText ? text.left(kLongestText) : text });
    m_textBytes += textBytes(m_lines.back().text);
    makeRoom();
    Q_EMIT line(type, text);
}

void MonitorHistory::makeRoom()
{
    while (m_lines.size() > m_mostLines || m_textBytes > kMostTextBytes) {
        m_textBytes -= textBytes(m_lines.front().text);
        m_lostUntilMs = m_lines.front().wallMs;
        m_lines.pop_front();
    }
}
