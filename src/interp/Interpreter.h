#pragma once
#include "interp/ProgramState.h"
#include "interp/TimelineTable.h"
#include "interp/TracedGlobals.h"
#include "interp/WaitTable.h"

#include <memory>
#include <optional>
#include <vector>

class Run;
class Step;

/// The interpreter's way up to the events: what statements and built-ins raise. The dispatcher implements it.
class EventRaiser
{
public:
    virtual ~EventRaiser() = default;
    virtual void simulatePush(int deviceNumber, int port, int channel) = 0;
    virtual void raiseCommand(const DeviceAddress &device, const QByteArray &text) = 0;
    virtual void raiseTimeline(const TimelineFigures &figures) = 0;
    /// The device with the channel (or level) of the push, release, hold or level event being handled; else nothing.
    virtual std::optional<ChannelAddress> handledInput() const { return {}; }
};

/// A prepared statement with the size of the frame that it needs.
/// The first slot of the frame holds the event's data, when there is any.
struct Body
{
    std::unique_ptr<Step> step; // nullptr: nothing to do
    int frameSize = 0;
    std::vector<bool> numberSlots; // of a wait's body: which of the first slots, which it starts with, are numbers
    Reach reach{};
    mutable std::unique_ptr<TracedGlobals> globals; // made of it when it runs first: then all that it calls is known
};

/// Runs one program: its stack, waits and timelines.
/// Owns: those. Thread: the main thread. Ends: with the program, before its state.
class Interpreter
{
public:
    explicit Interpreter(ProgramState &state);
    ~Interpreter();
    Interpreter(const Interpreter &) = delete;
    Interpreter &operator=(const Interpreter &) = delete;

    ProgramState &state() { return m_state; }
    AST &program() { return m_state.program(); }
    Run &run() { return *m_run; }
    WaitTable &waits() { return m_waits; }
    TimelineTable &timelines() { return m_timelines; }
    void setEvents(EventRaiser *events);
    EventRaiser *events() const { return m_events; }

    /// Makes functions, routines and blocks ready to run. Call once, after the load.
    void prepareFunctions();
    /// A body outside any function. dataName: the local under which it sees the event's data, or an empty name.
    Body prepareBody(const Statement &statement, Name dataName);
    std::unique_ptr<Code> prepareExpression(const Expression &expression);

    /// Runs a body in a scope of its own. data is borrowed; nullptr where the body sees none.
    /// A BREAK, CONTINUE or RETURN that reaches the top ends the body.
    /// False: too much is going on already for the stack to hold it; the caller reports it.
    [[nodiscard]] bool execute(const Body &body, BasicType *data);

    /// The same with copies of locals in the first slots; an empty copy is a local whose definition failed.
    [[nodiscard]] bool executeWithLocals(const Body &body, const WaitTable::Values &locals);

    void reportTooDeep(const QString &where); // in words of the source

    /// Whether changes of a variable of that name may have to go out as levels.
    bool mayMoveLevels(Name name) const;
    /// Whether nothing in the program changes a global.
    bool isNeverChanged(const BasicType &global) const;

    /// Panel channels that TO holds, oldest first.
    std::vector<ChannelAddress> &heldPanelChannels() { return m_heldPanelChannels; }

private:
    void runTimed(const Body &body); // in a scope that is there

    ProgramState &m_state;
    EventRaiser *m_events = nullptr;
    std::unique_ptr<Run> m_run;
    WaitTable m_waits;
    TimelineTable m_timelines;
    std::vector<ChannelAddress> m_heldPanelChannels;
};
