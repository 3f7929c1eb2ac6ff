#include "tools/arkhost/RestartPauses.h"

#include <algorithm>

namespace {
constexpr int kMostDoublings = 10; // the limit is reached before
}

qint64 RestartPauses::pauseMs(End end, qint64 nowMs)
{
    const qint64 livedMs = nowMs - m_startedAtMs;
    if (livedMs >= kWellMs || (end == End::InOrder && livedMs >= kShortOrderlyMs)) {
        m_quickEnds = 0;
    }
    if (end == End::InOrder && m_quickEnds == 0) {
        m_quickEnds = livedMs < kShortOrderlyMs ? 1 : 0;
        return 0;
    }
    const int doublings = std::min(end == End::InOrder ? m_quickEnds - 1 : m_quickEnds, kMostDoublings);
    ++m_quickEnds;
    return std::min(kFirstMs << doublings, kLongestMs);
}
