#pragma once
#include "model/ProgramContext.h"
#include "model/StorageManager.h"
#include "model/Values.h"
#include "program/DeviceActions.h"
#include "program/DeviceCombineManager.h"
#include "program/Exclusive.h"
#include "program/Function.h"
#include "program/LevelAssocManager.h"

#include <QFile>
#include <QObject>

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <vector>

class SocketActions;

/// The loaded program: its symbols, types, functions, groups, handlers and blocks. Knows no socket, port or panel.
/// Owns: everything that the program declares. Thread: the main thread, but for requestStop().
/// Ends: when the execution manager replaces or stops the program.
class AST : public QObject, public ProgramContext
{
    Q_OBJECT
    Q_PROPERTY(QString programName READ programName WRITE setProgramName)
public:
    /// \param dataDirectory  where the variable stores live
    explicit AST(const QString &dataDirectory, QObject *parent = nullptr);
    ~AST() override;

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

    /// The addresses that one device stands for: the other members of its groups for a virtual device, else itself.
    std::vector<DeviceAddress> expandDevice(const DeviceAddress &device) const;

    void addExclusive(std::unique_ptr<Exclusive> group) { m_exclusives.push_back(std::move(group)); }
    const std::vector<std::unique_ptr<Exclusive>> &exclusives() const { return m_exclusives; }
    void addEventHandler(std::unique_ptr<EventHandler> handler) { m_handlers.push_back(std::move(handler)); }
    const std::vector<std::unique_ptr<EventHandler>> &eventHandlers() const { return m_handlers; }
    std::unique_ptr<Statement> startBlock;    // a StatementList, or none
    std::unique_ptr<Statement> mainlineBlock; // likewise

    /// Whether the program declares a device of that number, any port and system.
    bool declaresDevice(int number) const;

    // Parts
    DeviceCombineManager &combinations() { return m_combinations; }
    const DeviceCombineManager &combinations() const { return m_combinations; }
    LevelAssocManager &levels() { return m_levels; }
    const LevelAssocManager &levels() const { return m_levels; }
    StorageManager &storage() { return m_storage; }
    std::map<DeviceAddress, Name> &buffers() { return m_buffers; } // strings from a device go into this variable

    struct VirtualDevice
    {
        int channelCount = 0;
        int levelCount = 0;
    };
    std::map<DeviceAddress, VirtualDevice> &virtualDevices() { return m_virtualDevices; } // sizes that the program set
    /// The files that the program opened, by handle; a closed one keeps its handle, without a file.
    std::map<int, std::unique_ptr<QFile>> &files() { return m_files; }

    /// What the program switches and sends; may be missing while a program is only looked at. What has changed before
    /// is on the disk before anybody outside can see what follows.
    DeviceActions *devices()
    {
        m_storage.flush();
        return m_devices;
    }
    void setDevices(DeviceActions *devices);
    SocketActions *sockets() // likewise
    {
        m_storage.flush();
        return m_sockets;
    }
    void setSockets(SocketActions *sockets) { m_sockets = sockets; }

    int pulseTimeMs() const { return m_pulseTimeMs; }
    void setPulseTimeMs(int ms); // get_pulse_time follows, in tenths of a second

    /// Loops end at their next round, calls yield nothing. May be called from any thread and from a signal handler.
    void requestStop() { m_stopRequested.store(true, std::memory_order_relaxed); }
    const std::atomic<bool> &stopFlag() const { return m_stopRequested; }
    bool stopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }

    /// Empties the program after a load that failed: only the system's symbols stay.
    void clear();

    // System variables that the runtime keeps up to date. A program may declare a number of them again, as a constant
    // of the value that it begins with: the new one is kept up to date in its place.
    bool isKeptCurrent(const BasicType &global) const;
    void refreshDateAndTime();                     // by itself every second
    void setPushed(const ChannelAddress &input);   // push_channel, push_devchan
    void setReleased(const ChannelAddress &input); // release_channel, release_devchan

    void reportError(const QString &text) override { Q_EMIT error(text); }
    void reportWarning(const QString &text) override { Q_EMIT warning(text); }
    void variableChanged(Name name, qint64 value) override;
    void noteChanged(Name name) override { m_changedNames.insert(name.id()); }
    void noteBound(Name name) override { m_boundNames.insert(name.id()); }
    /// Whether some statement of the loaded program may change (bind a level to) a variable of that name.
    bool isChanged(Name name) const { return m_changedNames.count(name.id()) > 0; }
    bool isBound(Name name) const { return m_boundNames.count(name.id()) > 0; }

Q_SIGNALS:
    void error(const QString &text);
    void warning(const QString &text);
    void info(int type, const QString &text);

private:
    void createSystemSymbols();
    void findSystemVariables();
    void declareSystem(std::unique_ptr<BasicType> value, const char *name);
    void registerCustomTypes();
    void checkDevice(const Device &device);
    void tickTenth();

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
    LevelAssocManager m_levels;
    StorageManager m_storage;
    std::map<DeviceAddress, Name> m_buffers;
    std::map<DeviceAddress, VirtualDevice> m_virtualDevices;
    std::map<int, std::unique_ptr<QFile>> m_files;
    DeviceActions *m_devices = nullptr;
    SocketActions *m_sockets = nullptr;
    int m_pulseTimeMs = 500;
    std::atomic<bool> m_stopRequested{ false };
    qint64 m_tenths = 0; // since this object was made
    Double *m_getTimer = nullptr;
    Double *m_getPulseTime = nullptr;
    Double *m_pushChannel = nullptr;
    Double *m_releaseChannel = nullptr;
    DevChan *m_pushDevChan = nullptr;
    DevChan *m_releaseDevChan = nullptr;
    Array *m_date = nullptr;
    Array *m_time = nullptr;
    Array *m_day = nullptr;
    std::vector<int> m_clockTickets;
};
