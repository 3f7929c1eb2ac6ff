#pragma once
#include <QtGlobal>

#include <map>
#include <memory>
#include <vector>

class Interpreter;

/// What TIMELINE shows while a step of a timeline is handled.
struct TimelineFigures
{
    int id = 0;
    int sequence = 0;  // of the step, from 1
    qint64 timeMs = 0; // counted for this step in this cycle
    bool isRelative = false;
    qint64 repetition = 0; // completed cycles
    qint64 cause = 0;      // of the timeline, in the trace
};

/// One programmed sequence of moments, counted in steps of 10 ms.
struct Timeline
{
    int id = 0;
    std::vector<int> timesMs; // offsets from the start of a cycle
    bool isRelative = true;
    bool repeats = false;
    std::vector<qint64> countersMs; // one per step; the overshoot is carried into the next cycle
    std::vector<bool> fired;
    qint64 repetition = 0;
    bool isRunning = false;
    bool isKilled = false;
    qint64 cause = 0; // in the trace
};

/// The timelines of a program, by id. A handler may wait for an answer: the ticks that come meanwhile pass its own
/// timeline over, and so any timeline that the handler has made under the same id. What is due then is late.
/// Owns: them. Thread: the main thread. Ends: with the program.
class TimelineTable
{
public:
    explicit TimelineTable(Interpreter &interpreter)
        : m_interpreter(interpreter)
    {}
    ~TimelineTable();
    TimelineTable(const TimelineTable &) = delete;
    TimelineTable &operator=(const TimelineTable &) = delete;

    Timeline *find(int id) const; // nullptr: no such timeline
    /// Starts it. The id must be free. Relative times must be running sums already.
    void add(int id, std::vector<int> timesMs, bool isRelative, bool repeats);
    bool kill(int id); // false: no such timeline. None of its steps fires after this, also in the running tick.

private:
    void tick();
    void tickOne(const std::shared_ptr<Timeline> &timeline);

    Interpreter &m_interpreter;
    std::map<int, std::shared_ptr<Timeline>> m_timelines;
    std::vector<std::shared_ptr<Timeline>> m_visited; // empty between ticks; spares their allocation
    std::vector<int> m_inProgress;                    // ids of the timelines whose handlers run, outermost first
    int m_tickTicket = 0;
};
