#include "tools/arkctl/screen/LogPosition.h"
#include "tools/arkctl/screen/PanelLog.h"

#include <algorithm>

LogPosition::Window LogPosition::window(const PanelLog &log, int rows) const
{
    const qint64 all = static_cast<qint64>(log.lines().size());
    const qint64 count = std::clamp<qint64>(rows, 0, all);
    const qint64 wanted = m_lowest ? static_cast<qint64>(*m_lowest - log.forgotten()) + 1 : all;
    const qint64 end = std::clamp(wanted, count, all);
    return { static_cast<int>(end - count), static_cast<int>(count), static_cast<int>(all - end) };
}

void LogPosition::move(const PanelLog &log, int rows, int lines)
{
    const Window now = window(log, rows);
    const qint64 newer = std::clamp<qint64>(qint64(now.newer) - lines, 0, qint64(now.newer) + now.first);
    m_lowest.reset();
    if (newer > 0) {
        m_lowest = log.forgotten() + log.lines().size() - 1 - static_cast<quint64>(newer);
    }
}

void LogPosition::toOldest(const PanelLog &log, int rows)
{
    move(log, rows, -static_cast<int>(log.lines().size()));
}
