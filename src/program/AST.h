#pragma once
#include "model/ProgramContext.h"
#include "model/Values.h"
#include "program/DeviceCombineManager.h"
#include "program/Exclusive.h"
#include "program/Function.h"
#include "program/LevelAssociation.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

/// What a program declares: its symbols, types, functions, groups, handlers and blocks. The compiler makes one, and the
/// loader; what a program has besides while it runs is in its ProgramState. Knows no socket, port, panel, file or
/// clock. Owns: everything that the program declares, with the values of its variables. Thread: the main thread. Ends:
/// with the compilation, or with the program that runs.
class AST : public QObject, public ProgramContext
{
    Q_OBJECT
    Q_PROPERTY(QString programName READ programName WRITE setProgramName)
public:
    AST();

    QString programName() const { return m_programName; }
    void setProgramName(const QString &name); // taken only while there is none

    // Symbols. Names may be given in any case with blanks around them.
    void declareGlobal(std::unique_ptr<BasicType> value);
    BasicType *findGlobal(Name name) const; // nullptr: not declared
    const std::map<QString, std::unique_ptr<BasicType>> &globals() const { return m_globals; }
    const std::vector<BasicType *> &globalsInOrder() const { return m_globalOrder; } // of declaration
    bool isSystemSymbol(const BasicType *value) const; // made by the program object itself

    void addFunction(std::unique_ptr<Function> function);
    void addBuiltin(Function *builtin); // borrowed from the library
    Function *findFunction(Name name) const;
    void addCallRoutine(std::unique_ptr<CallRoutine> routine);
    CallRoutine *findCallRoutine(Name name) const;
    const std::vector<std::unique_ptr<Function>> &functions() const
    {
        return m_functions;
    } // the program's own, file order
    const std::vector<std::unique_ptr<CallRoutine>> &callRoutines() const { return m_callRoutines; }

    int registerCustomType(std::unique_ptr<CustomTypeInfo> info); // the code it gets
    void setCustomType(int code, std::unique_ptr<CustomTypeInfo> info);
    const CustomTypeInfo *findType(int code) const override;
    QString typeName(int code) const; // built-in or of the program; empty for an unknown code
    const std::map<int, std::unique_ptr<CustomTypeInfo>> &customTypes() const { return m_types; }

    void addExclusive(std::unique_ptr<Exclusive> group) { m_exclusives.push_back(std::move(group)); }
    const std::vector<std::unique_ptr<Exclusive>> &exclusives() const { return m_exclusives; }
    void addEventHandler(std::unique_ptr<EventHandler> handler) { m_handlers.push_back(std::move(handler)); }
    const std::vector<std::unique_ptr<EventHandler>> &eventHandlers() const { return m_handlers; }
    std::unique_ptr<Statement> startBlock;    // a StatementList, or none
    std::unique_ptr<Statement> mainlineBlock; // likewise

    /// Whether the program declares a device of that number, any port and system.
    bool declaresDevice(int number) const;

    DeviceCombineManager &combinations() { return m_combinations; }
    const DeviceCombineManager &combinations() const { return m_combinations; }
    std::vector<LevelAssociation> &levels() { return m_levels; }
    const std::vector<LevelAssociation> &levels() const { return m_levels; }

    /// Empties the program after a load that failed: only the system's symbols stay.
    void clear();

    enum LogKind : int { kLogError = 1, kLogWarning, kLogInfo, kLogDebug }; // as the language numbers them

    void reportError(const QString &text) override { Q_EMIT error(text); }
    void reportWarning(const QString &text) override { Q_EMIT warning(text); }
    void variableChanged(Name name, qint64 value) override
    {
        if (onVariableChanged) {
            onVariableChanged(name, value);
        }
    }
    std::function<void(Name name, qint64 value)> onVariableChanged; // where the program runs: sends bound levels
    void noteChanged(Name name) override { m_changedNames.insert(name.id()); }
    void noteBound(Name name) override { m_boundNames.insert(name.id()); }
    /// Whether some statement of the loaded program may change (bind a level to) a variable of that name.
    bool isChanged(Name name) const { return m_changedNames.count(name.id()) > 0; }
    bool isBound(Name name) const { return m_boundNames.count(name.id()) > 0; }

Q_SIGNALS:
    void error(const QString &text);
    void warning(const QString &text);
    void info(int type, const QString &text);   // a monitor line of that type
    void logged(int kind, const QString &text); // by log_line

private:
    void createSystemSymbols();
    void declareSystem(std::unique_ptr<BasicType> value, const char *name);
    void registerCustomTypes();
    void checkDevice(const Device &device);

    QString m_programName;
    std::map<QString, std::unique_ptr<BasicType>> m_globals; // by normalised name
    std::vector<BasicType *> m_globalsById;                  // by Name::id(), for fast lookup
    std::vector<BasicType *> m_globalOrder;
    std::vector<const BasicType *> m_systemSymbols;
    std::vector<std::unique_ptr<Function>> m_functions;
    std::map<QString, Function *> m_functionsByName;
    std::vector<std::unique_ptr<CallRoutine>> m_callRoutines;
    std::map<QString, CallRoutine *> m_callRoutinesByName;
    std::map<int, std::unique_ptr<CustomTypeInfo>> m_types;
    std::vector<std::unique_ptr<Exclusive>> m_exclusives;
    std::vector<std::unique_ptr<EventHandler>> m_handlers;
    std::set<int> m_changedNames; // ids
    std::set<int> m_boundNames;
    DeviceCombineManager m_combinations;
    std::vector<LevelAssociation> m_levels;
};
