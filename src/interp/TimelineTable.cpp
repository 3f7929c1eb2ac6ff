#include "interp/TimelineTable.h"

#include "base/Clock.h"
#include "interp/Interpreter.h"

#include <algorithm>

namespace {
constexpr int kTickMs = 10;
}

TimelineTable::~TimelineTable()
{
    Clock::instance().cancel(m_tickTicket);
}

Timeline *TimelineTable::find(int id) const
{
    const auto found = m_timelines.find(id);
    return found != m_timelines.end() ? found->second.get() : nullptr;
}

void TimelineTable::add(int id, std::vector<int> timesMs, bool isRelative, bool repeats)
{
    auto timeline = std::make_shared<Timeline>();
    timeline->id = id;
    timeline->countersMs.assign(timesMs.size(), 0);
    timeline->fired.assign(timesMs.size(), false);
    timeline->timesMs = std::move(timesMs);
    timeline->isRelative = isRelative;
    timeline->repeats = repeats;
    timeline->isRunning = true;
    Trace &trace = m_interpreter.state().trace();
    trace.add(TraceRecord::of(TraceRecord::Kind::TimelineBegun, {}, id, static_cast<double>(timeline->timesMs.size())));
    timeline->cause = trace.running();
    m_timelines[id] = std::move(timeline);
    if (m_tickTicket == 0) { // while there is none, the fine tick does not wake the processor
        m_tickTicket = Clock::instance().every(kTickMs, [this] { tick(); });
    }
}

bool TimelineTable::kill(int id)
{
    const auto found = m_timelines.find(id);
    if (found == m_timelines.end()) {
        return false;
    }
    found->second->isKilled = true;
    m_timelines.erase(found);
    m_interpreter.state().trace().add(TraceRecord::of(TraceRecord::Kind::TimelineKilled, {}, id));
    return true;
}

void TimelineTable::tick()
{
    if (m_timelines.empty()) {
        Clock::instance().cancel(m_tickTicket);
        m_tickTicket = 0;
        return;
    }
    std::vector<std::shared_ptr<Timeline>> visited; // handlers may create and kill timelines meanwhile
    visited.swap(m_visited);                        // the memory of the last tick
    for (const auto &[id, timeline] : m_timelines) {
        visited.push_back(timeline);
    }
    for (const auto &timeline : visited) {
        const bool isInProgress =
            std::find(m_inProgress.begin(), m_inProgress.end(), timeline->id) != m_inProgress.end();
        if (timeline->isRunning && !timeline->isKilled && !isInProgress) {
            tickOne(timeline);
        }
    }
    visited.clear();
    visited.swap(m_visited);
}

void TimelineTable::tickOne(const std::shared_ptr<Timeline> &timeline)
{
    for (size_t step = 0; step < timeline->timesMs.size() && !timeline->isKilled; ++step) {
        if (timeline->fired[step]) {
            continue;
        }
        qint64 &counterMs = timeline->countersMs[step];
        counterMs += kTickMs;
        if (counterMs < timeline->timesMs[step]) {
            continue;
        }
        const qint64 reachedMs = counterMs;
        timeline->fired[step] = true;
        counterMs -= timeline->timesMs[step];
        if (EventRaiser *events = m_interpreter.events()) {
            m_inProgress.push_back(timeline->id);
            events->raiseTimeline({ timeline->id, static_cast<int>(step) + 1, reachedMs, timeline->isRelative,
                                    timeline->repetition, timeline->cause });
            m_inProgress.pop_back();
        }
    }
    if (timeline->isKilled ||
        !std::all_of(timeline->fired.begin(), timeline->fired.end(), [](bool fired) { return fired; })) {
        return;
    }
    std::fill(timeline->fired.begin(), timeline->fired.end(), false);
    ++timeline->repetition;
    if (!timeline->repeats) {
        kill(timeline->id);
    }
}
