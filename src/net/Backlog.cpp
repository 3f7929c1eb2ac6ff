#include "net/Backlog.h"

bool Backlog::add(const std::shared_ptr<PausableReader> &from, int textBytes)
{
    const std::lock_guard lock(m_mutex);
    const bool fits = m_bytes < kMaxBytes;
    if (fits) {
        m_bytes += textBytes + kBytesPerMessage;
    }
    if (m_bytes >= kPauseBytes && m_paused.count(from) == 0) {
        std::erase_if(m_paused, [](const Reader &reader) { return reader.expired(); });
        m_paused.insert(from);
        from->setReading(false);
    }
    return fits;
}

void Backlog::done(int textBytes)
{
    const std::lock_guard lock(m_mutex);
    m_bytes -= textBytes + kBytesPerMessage;
    if (m_bytes > kPauseBytes / 2) {
        return;
    }
    for (const Reader &paused : m_paused) {
        if (const auto reader = paused.lock()) {
            reader->setReading(true);
        }
    }
    m_paused.clear();
}
