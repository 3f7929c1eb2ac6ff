#include "io/Backlog.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace {
constexpr int kMostNested = 8;
constexpr int kFewOfOne = 4;
constexpr std::chrono::milliseconds kTurn(1);
} // namespace

Backlog::Backlog()
    : m_bell([this] { serve(); })
{}

bool Backlog::post(const std::shared_ptr<PausableReader> &from, int textBytes, Kind kind, Job job)
{
    const std::lock_guard lock(m_mutex);
    if (m_bytes >= kMaxBytes && kind != Kind::NeverRefuse) {
        return false;
    }
    m_jobs.push_back({ from, textBytes + kBytesPerJob, kind, std::move(job) });
    m_bytes += textBytes + kBytesPerJob;
    // Who has brought only a few is not made to wait because another brings many.
    const int own = from ? ++from->m_waitingJobs : 0;
    const bool isTooMuch = own >= kMostOfOne || (own >= kFewOfOne && m_bytes >= kPauseBytes);
    if (isTooMuch && m_paused.insert(from).second) {
        from->setReading(false);
    }
    wake();
    return true;
}

bool Backlog::isFull() const
{
    const std::lock_guard lock(m_mutex);
    return m_bytes >= kPauseBytes;
}

void Backlog::serve()
{
    using std::chrono::steady_clock;
    {
        const std::lock_guard lock(m_mutex);
        m_isAwake = false;
        m_bell.hush();
    }
    ++m_depth;
    const steady_clock::time_point until = steady_clock::now() + kTurn;
    bool hasTime = true;
    for (Entry entry; hasTime && take(entry);) {
        entry.job();
        hasTime = m_depth > kMostNested || steady_clock::now() < until; // answers are quick
    }
    --m_depth;
    resume();
}

bool Backlog::take(Entry &entry)
{
    const std::lock_guard lock(m_mutex);
    auto next = m_jobs.begin();
    if (m_depth > kMostNested) {
        next = std::find_if(next, m_jobs.end(), [](const Entry &each) { return each.kind == Kind::Answer; });
    }
    if (next == m_jobs.end()) {
        return false;
    }
    entry = std::move(*next);
    m_jobs.erase(next);
    m_bytes -= entry.bytes;
    if (const auto from = entry.from.lock()) {
        --from->m_waitingJobs;
    }
    return true;
}

void Backlog::resume()
{
    const std::lock_guard lock(m_mutex);
    if (m_bytes <= kPauseBytes / 2) {
        std::erase_if(m_paused, [](const Reader &paused) {
            const auto reader = paused.lock();
            if (reader && reader->m_waitingJobs > kMostOfOne / 2) {
                return false;
            }
            if (reader) {
                reader->setReading(true);
            }
            return true;
        });
    }
    if (!m_jobs.empty() && m_depth < kMostNested) {
        wake();
    }
}

void Backlog::wake()
{
    if (!std::exchange(m_isAwake, true)) {
        m_bell.ring();
    }
}
