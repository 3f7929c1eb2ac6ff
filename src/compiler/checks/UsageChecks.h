#pragma once
#include "compiler/checks/ExpressionChecks.h"
#include "interp/nodes/Statements.h"

#include <map>
#include <set>

/// Collects what a program names and does, and tells at its end what does not fit together.
class UsageChecks
{
public:
    explicit UsageChecks(Workspace &workspace)
        : m_work(workspace)
    {}

    // Functions and routines
    void enterCallable(const QString &name) { m_callable = normalisedName(name); }
    void leaveCallable() { m_callable.clear(); }
    void called(const QString &name); // from the place that is being read
    void effect() { m_effects.insert(m_callable); }
    void body(const CallableSymbol &symbol, const Statement *body); // of a function with a result

    // Variables
    void stored(const Operand &target);
    void copied(const Operand &value);
    void filled(const Operand &operand);

    // Built-ins
    void builtinCall(const QString &name, const std::vector<Operand> &arguments);

    // Waits and timelines
    void waitNamed(const QString &name) { m_waits.insert(name); }
    void waitCancelled(const QString &name, SourcePosition position) { m_cancelled.push_back({ name, position }); }
    void timelineEvent(const Operand &id);

    /// Once, when all is read without an error.
    /// isLibrary: nothing in it runs by itself; it is included by others.
    void tell(const std::vector<ExpressionChecks::GuardedCall> &guardedCalls, bool isLibrary);

private:
    struct Timeline
    {
        double id;
        SourcePosition position;
    };
    struct Stores // of one global
    {
        bool isFilled = false; // as a whole, or by its length
        std::optional<SourcePosition> element{};
        std::optional<SourcePosition> member{};
        std::optional<SourcePosition> copy{};
    };
    void report(Fault code, SourcePosition position, const QStringList &arguments)
    {
        m_work.sources.report(code, position, arguments);
    }
    void checkArguments(const QString &name, const std::vector<Operand> &arguments);
    void timelineCreated(const std::vector<Operand> &arguments);
    void tellCallables(const std::vector<ExpressionChecks::GuardedCall> &guardedCalls, bool isLibrary);
    void tellVariables();
    void tellTimelines();

    Workspace &m_work;
    QString m_callable; // that is being read; empty in handlers
    std::set<QString> m_called;
    std::set<QString> m_effects;
    std::map<QString, std::set<QString>> m_calls; // of each function, those that it calls
    std::map<QString, Stores> m_stores;
    std::set<QString> m_waits;
    std::vector<std::pair<QString, SourcePosition>> m_cancelled;
    std::vector<Timeline> m_created;
    std::vector<Timeline> m_handled;
    bool m_createsComputed = false; // a timeline whose number is not constant
    bool m_handlesComputed = false;
};
