#pragma once
#include "interp/Run.h"
#include "runtime/Places.h"

#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Says in which line a program is that keeps the main thread busy: it looks from a thread of its own and needs nothing
/// of the main thread.
/// Owns: its thread. Thread: made and ended on the main thread. Ends: before the run and the places that it looks at.
class BusyWatch
{
public:
    using Output = std::function<void(const QString &text)>; // called on the watch's thread
    BusyWatch(const Run &run, const Places &places, Output output, std::chrono::milliseconds period = kPeriod);
    ~BusyWatch();
    BusyWatch(const BusyWatch &) = delete;
    BusyWatch &operator=(const BusyWatch &) = delete;

private:
    static constexpr std::chrono::milliseconds kPeriod{ 500 };
    static constexpr int kFirst = 4;  // periods until it says so
    static constexpr int kAgain = 20; // periods until it does again

    void watch();
    void look();

    const Run &m_run;
    const Places &m_places;
    const Output m_output;
    const std::chrono::milliseconds m_period;
    quint32 m_turn = 0; // that ran when it looked last
    int m_periods = 0;  // for which it has run
    std::mutex m_mutex;
    std::condition_variable m_ending;
    bool m_isEnding = false;
    std::thread m_thread;
};
