#pragma once
#include <memory>
#include <mutex>
#include <set>

/// A connection that can be told not to read for a while.
class PausableReader
{
public:
    virtual ~PausableReader() = default;
    virtual void setReading(bool isReading) = 0; // any thread
};

/// Keeps what connections have told, and the main thread has not handled yet, within bounds: who tells more is not
/// read until half of it is done.
/// Owns: nothing. Thread: add() and isFull() on the I/O threads, done() on the main thread.
class Backlog
{
public:
    static constexpr int kPauseBytes = 256 * 1024;
    static constexpr int kMaxBytes = 8 * 1024 * 1024; // far above what one read brings: peers that come back for more
    static constexpr int kBytesPerMessage = 256;      // that one costs besides its text

    /// Whether there is room for one more message with a text of so many bytes. False: it is to be dropped.
    bool add(const std::shared_ptr<PausableReader> &from, int textBytes);
    void done(int textBytes);

    bool isFull() const
    {
        const std::lock_guard lock(m_mutex);
        return m_bytes >= kPauseBytes;
    }

private:
    using Reader = std::weak_ptr<PausableReader>;
    mutable std::mutex m_mutex;
    int m_bytes = 0;
    std::set<Reader, std::owner_less<Reader>> m_paused;
};
