#pragma once
#include "model/StructType.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <string_view>
#include <vector>

/// One line of the trace: what happened, or what that brought about. Of a fixed size, so that nothing is allocated.
struct TraceRecord
{
    enum class Kind : quint8 {
        // What happened. The records of what it brought about name it.
        Event,    // detail: the type of the event; code: channel, level, timeline or error; after: of a level, hold
        Wait,     // the body of a wait; text: its name
        PulseEnd, // a panel's channel
        LetGo,    // what TO held
        Mainline,
        Start,
        // What it brought about.
        Body,         // of a handler; micros: how long it ran
        Switched,     // a channel; detail: the action
        Feedback,     // of a panel's channel; after: its state; text: the exclusive group; to panels detail: kIsAbsent
        LevelSent,    // after: its value; detail: kIsQuiet where it raised no level event
        CommandSent,  // text
        StringSent,   // text
        PanelSet,     // something on a panel; text
        PanelAsked,   // after: 1 where it answered
        Assigned,     // code: the name's id; index, member: of what in it; before, after
        TextAssigned, // the same; text: the first half of the room each for old and new
        WaitBegun,    // text: its name; after: tenths of a second
        WaitRefused,  // one of that name is pending
        WaitCancelled,
        TimelineBegun,  // code: its id; after: how many steps
        TimelineKilled, // code: its id
        SocketOpened,   // text: where to; after: what came back
        SocketClosed,
        Failed,  // a built-in; text: its name; after: what it returned
        Problem, // an error or warning; text
        More,    // what did not fit; count: how much
    };
    static constexpr int kText = 64;
    static constexpr int kIsAbsent = 1; // the panel is not connected
    static constexpr int kIsQuiet = 2;

    static bool isEvent(Kind kind) { return kind <= Kind::Start; }
    static TraceRecord of(Kind kind, const DeviceAddress &device = {}, int code = 0, double after = 0);
    TraceRecord &&with(int newDetail) &&;
    TraceRecord &&with(std::string_view bytes) &&; // its beginning
    TraceRecord &&with(const QByteArray &whole) &&
    {
        return std::move(*this).with(std::string_view(whole.constData(), static_cast<size_t>(whole.size())));
    }

    std::string_view text() const { return { bytes.data(), static_cast<size_t>(std::min(size, kText)) }; }

    qint64 id;     // from 1 on, one after the other
    qint64 event;  // the one that it belongs to; of one that happened: what caused it, 0: nothing here
    qint64 micros; // of one that happened: since 1970; of a body: how long it ran
    double before;
    double after;
    DeviceAddress device;
    int code;
    int index;  // of an element, from 1
    int member; // the id of its name
    int place;  // the statement, 0: none
    int count;  // how often in a row; of one that happened: how many bodies it ran
    int size;   // of the whole text, in bytes
    Kind kind;
    qint8 detail;
    bool isNested; // happened while what caused it was running
    std::array<char, kText> bytes;
};

class TracedEvent;
class TracedGlobals;

/// What the program did lately, and what came in: a ring of records, the oldest make room. Always on, so a record
/// costs some ten nanoseconds; what it means is worked out by who asks (inspect).
/// Owns: the ring. Thread: the main thread. Ends: with the program's state.
class Trace
{
public:
    static constexpr qint64 kDefaultBytes = 4 * 1024 * 1024;

    void setMemory(qint64 bytes); // loses what is there; too little for a few records: off
    bool isOn() const { return m_room > 0; }
    void setPlace(const std::atomic<int> *place) { m_place = place; } // of the statement that runs; borrowed

    qint64 first() const { return std::max<qint64>(1, m_last - m_room + 1); } // the oldest there is
    qint64 last() const { return m_last; }                                    // 0: nothing yet
    const TraceRecord *find(qint64 id) const;                                 // nullptr: not there any more, or not yet
    qint64 running() const;       // the event that is being handled; 0: none that is written
    qint64 oldestRunning() const; // the outermost of them; 0: none

    /// What the event that is being handled brings about; without one nothing is kept.
    void add(const TraceRecord &record);

    void markLast(int detail); // the newest record also has this

    /// Who is connected: panels and ports, as their online and offline events say.
    void notePresence(int deviceNumber, bool isThere);
    bool isPresent(int deviceNumber) const
    {
        const auto index = static_cast<size_t>(deviceNumber);
        return index < m_present.size() && m_present[index];
    }

    /// What a device says now may be the answer to what the running event sent to it.
    void noteAsked(const DeviceAddress &device);
    qint64 askerOf(const DeviceAddress &device) const; // 0: nobody in the last 30 s

private:
    friend class TracedEvent;
    friend class TracedBody;
    TraceRecord *write(const TraceRecord &record);
    TraceRecord *change(qint64 id) { return const_cast<TraceRecord *>(find(id)); }
    bool isRepeated(const TraceRecord &record, qint64 event, int place); // the one before is counted then
    int placeNow() const { return m_place ? m_place->load(std::memory_order_relaxed) : 0; }

    std::vector<TraceRecord> m_ring; // grows up to the room, without ever moving
    qint64 m_room = 0;               // records
    qint64 m_last = 0;
    TracedEvent *m_innermost = nullptr; // borrowed
    const std::atomic<int> *m_place = nullptr;
    std::map<DeviceAddress, qint64> m_askers;
    std::vector<bool> m_present;  // by device number
    std::vector<quint64> m_words; // what globals held before the bodies that run
};

/// Around the handling of what happened.
class TracedEvent
{
public:
    enum class Keep { Always, IfItActs };
    TracedEvent(Trace &trace, const TraceRecord &what, qint64 cause, Keep keep);
    ~TracedEvent();
    TracedEvent(const TracedEvent &) = delete;
    TracedEvent &operator=(const TracedEvent &) = delete;

private:
    friend class Trace;
    friend class TracedBody;
    void write();

    Trace &m_trace;
    TracedEvent *const m_outer;
    TraceRecord m_record; // its id is 0 until it is written
    int m_steps = 0;
};

/// Around one body that it runs.
class TracedBody
{
public:
    TracedBody(Trace &trace, int place, const TracedGlobals *globals);
    ~TracedBody();
    void took(qint64 micros) const;
    TracedBody(const TracedBody &) = delete;
    TracedBody &operator=(const TracedBody &) = delete;

private:
    Trace &m_trace;
    const TracedGlobals *m_globals;
    const int m_place;
    size_t m_words = 0; // where in the trace's those of the globals begin
    qint64 m_id = 0;    // of its record; 0: none
};
