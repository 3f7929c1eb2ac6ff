#pragma once
#include "base/Clock.h"

#include <memory>
#include <set>
#include <utility>

/// Jobs that run once after a delay and never after their owner has gone.
/// Owns: the clock's tickets of what is pending. Thread: the main thread. Ends: with its owner; pending jobs are
/// dropped.
class Delays
{
public:
    Delays() = default;
    ~Delays()
    {
        for (const int ticket : m_tickets) {
            Clock::instance().cancel(ticket);
        }
    }
    Delays(const Delays &) = delete;
    Delays &operator=(const Delays &) = delete;

    template <class Job>
    void after(int delayMs, Job job)
    {
        // The job learns its ticket only after the clock has given it, so it finds it through a cell of its own.
        auto cell = std::make_shared<int>(0);
        *cell = Clock::instance().after(delayMs, [this, cell, job = std::move(job)] {
            m_tickets.erase(*cell);
            job();
        });
        m_tickets.insert(*cell);
    }

private:
    std::set<int> m_tickets;
};
