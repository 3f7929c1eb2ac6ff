#pragma once
#include "events/Dispatcher.h"
#include "interp/Interpreter.h"
#include "interp/ProgramState.h"
#include "runtime/BusyWatch.h"
#include "runtime/ErrorReports.h"
#include "runtime/Places.h"
#include "runtime/TracedActions.h"

#include <memory>
#include <optional>

class Library;
class QDataStream;

/// One loaded program with everything that runs it: tree, state, built-ins, interpreter,
/// dispatcher. Several can run beside one another.
/// Thread: the main thread. Ends: when the execution manager lets it go.
class ControlProgram
{
public:
    /// \param traceBytes  memory for the trace; 0: none
    explicit ControlProgram(const QString &dataDirectory, qint64 traceBytes = Trace::kDefaultBytes);
    ~ControlProgram();
    ControlProgram(const ControlProgram &) = delete;
    ControlProgram &operator=(const ControlProgram &) = delete;

    /// What the program reports, with its place, each of them at most so often: to monitors and logs. That it
    /// is busy comes from another thread. Set it before the load.
    std::function<void(ErrorReports::Kind kind, const QString &text)> onReport;

    /// What the program switches, sends and opens, by way of its trace. Borrowed; nullptr takes them away.
    void setDevices(DeviceActions *devices);
    void setSockets(SocketActions *sockets);

    /// Reads an object file and makes it ready to run. False: it is no program of ours or damaged; this one is empty.
    bool load(QDataStream &stream);

    AST &tree() { return *m_tree; }
    ProgramState &state() { return *m_state; }
    Interpreter &interpreter() { return *m_interpreter; }
    Dispatcher &dispatcher() { return *m_dispatcher; }
    const Places &places() const { return m_places; } // empty where the object file names none
    /// "room.src:42, push of dvPanel 5" for what runs just now, with the calls that led there; empty: nothing runs, or
    /// its place is not known.
    QString whereItRuns() const;

private:
    // In order of construction; ended in reverse.
    std::unique_ptr<AST> m_tree;
    std::unique_ptr<ProgramState> m_state;
    std::optional<TracedDevices> m_devices;
    std::optional<TracedSockets> m_sockets;
    std::unique_ptr<Library> m_library;
    std::unique_ptr<Interpreter> m_interpreter;
    std::unique_ptr<Dispatcher> m_dispatcher;
    Places m_places;
    ErrorReports m_reports;
    std::unique_ptr<BusyWatch> m_busyWatch;
};
