#pragma once
#include "model/BasicType.h"

#include <QString>

#include <map>
#include <memory>
#include <vector>

class Interpreter;
struct Body;

/// The pending waits of a program, by name, on a tick of 100 ms.
/// Owns: the records with their copies. Thread: the main thread. Ends: with the program.
class WaitTable
{
public:
    using Values = std::vector<std::unique_ptr<BasicType>>;

    explicit WaitTable(Interpreter &interpreter);
    ~WaitTable();
    WaitTable(const WaitTable &) = delete;
    WaitTable &operator=(const WaitTable &) = delete;

    /// A negative time, or a name that is pending already: the copies are dropped and nothing happens.
    /// \param tenths   0 and 1 run at the next tick
    /// \param globals  copies of globals that the body sees in their place
    /// \param locals   copies for the first slots of the body's frame, in order
    void add(const QString &name, int tenths, Values globals, Values locals, const Body &body);
    void cancel(const QString &name);
    void cancelAll();
    bool isPending(const QString &name) const { return m_waits.count(name) > 0; }

private:
    struct Wait
    {
        QString name;
        int remainingTenths;
        bool isCancelled = false;
        bool isRunning = false;
        Values globals;
        Values locals;
        const Body *body;
    };
    void tick();
    void runWait(Wait &wait);
    void swapGlobals(Values &copies);

    Interpreter &m_interpreter;
    std::map<QString, std::shared_ptr<Wait>> m_waits;
    int m_tickTicket = 0;
};
