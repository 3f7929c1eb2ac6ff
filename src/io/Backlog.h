#pragma once
#include "io/Bell.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>

/// A connection that can be told not to read for a while.
class PausableReader
{
public:
    virtual ~PausableReader() = default;
    virtual void setReading(bool isReading) = 0; // any thread

private:
    friend class Backlog;
    int m_waitingJobs = 0; // in the backlog, which guards it
};

/// What connections have for the main thread to do: in order, a little at a time, and within bounds. Who brings more
/// is not read until half of it is done. Between two turns the event loop sees to pushes, ticks and sockets, so that no
/// peer keeps the room waiting however much it says.
/// Owns: the jobs. Thread: post() and isFull() on any; the rest on the main thread, where the jobs run. A job may let
///       events in (a handler that asks a panel does); others then run within it.
/// Ends: with its owner; jobs that have not begun are dropped.
class Backlog
{
public:
    using Job = std::function<void()>;
    enum class Kind {
        Answer,     // somebody may be waiting for it: also runs deep within other jobs
        Request,    // may run the program's handlers
        NeverRefuse // a request that comes at most once for each one that was taken
    };

    static constexpr int kPauseBytes = 256 * 1024;
    static constexpr int kMaxBytes = 8 * 1024 * 1024; // far above what one read brings: peers that come back for more
    static constexpr int kBytesPerJob = 512;          // that one costs besides its text
    static constexpr int kMostOfOne = 64;             // jobs of one connection, so that the others' are not behind many

    Backlog();

    /// False: there is no room for one more job with a text of so many bytes, and it is dropped.
    bool post(const std::shared_ptr<PausableReader> &from, int textBytes, Kind kind, Job job);
    bool isFull() const;

private:
    using Reader = std::weak_ptr<PausableReader>;
    struct Entry
    {
        Reader from;
        int bytes = 0;
        Kind kind = Kind::Request;
        Job job;
    };
    void serve();
    bool take(Entry &entry);
    void resume();
    void wake(); // the mutex is held

    Bell m_bell;
    int m_depth = 0;            // of jobs within jobs
    mutable std::mutex m_mutex; // guards what follows
    std::deque<Entry> m_jobs;
    int m_bytes = 0;
    bool m_isAwake = false; // serve() is going to be called
    std::set<Reader, std::owner_less<Reader>> m_paused;
};
