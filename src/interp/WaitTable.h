#pragma once
#include "interp/Trace.h"
#include "model/BasicType.h"

#include <QString>

#include <map>
#include <memory>
#include <vector>

class Interpreter;
struct Body;

/// The pending waits of a program, by name, on a tick of 100 ms. Of those that are due in one tick the named ones run
/// first, in the order of their names, then those without a name in the order in which they were issued.
/// Owns: the records with their copies. Thread: the main thread. Ends: with the program.
class WaitTable
{
public:
    using Values = std::vector<std::unique_ptr<BasicType>>;
    /// 0 and the name; of a wait without a name a number that stands for it.
    using Id = std::pair<qint64, QString>;

    explicit WaitTable(Interpreter &interpreter);
    ~WaitTable();
    WaitTable(const WaitTable &) = delete;
    WaitTable &operator=(const WaitTable &) = delete;

    /// A negative time, or a name that is pending already: the copies are dropped and nothing happens.
    /// \param tenths   0 and 1 run at the next tick
    /// \param globals  copies of globals that the body sees in their place
    /// \param locals   copies for the first slots of the body's frame, in order
    void add(const Id &id, int tenths, Values globals, Values locals, const Body &body);
    void cancel(const QString &name);
    void cancelAll();
    bool isPending(const Id &id) const { return m_waits.count(id) > 0; }
    Id newId() { return { ++m_lastNumber, QString() }; }

private:
    struct Wait
    {
        Id id;
        qint64 issue; // 0 of a named wait
        int remainingTenths;
        bool isCancelled = false;
        bool isRunning = false;
        Values globals;
        Values locals;
        const Body *body;
        qint64 cause; // in the trace
    };
    void tick();
    void runWait(Wait &wait);
    void swapGlobals(Values &copies);
    Trace &trace();
    void note(TraceRecord::Kind kind, const QString &name, int tenths = 0);

    Interpreter &m_interpreter;
    std::map<Id, std::shared_ptr<Wait>> m_waits;
    qint64 m_lastNumber = 0;
    qint64 m_lastIssue = 0;
    const int m_tickTicket; // from the load on: when a wait ends does not depend on the one before
};
