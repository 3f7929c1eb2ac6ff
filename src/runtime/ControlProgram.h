#pragma once
#include "events/Dispatcher.h"
#include "interp/Interpreter.h"
#include "interp/ProgramState.h"

#include <memory>

class Library;
class QDataStream;

/// One loaded program with everything that runs it: tree, state, built-ins, interpreter,
/// dispatcher. Several can run beside one another.
/// Thread: the main thread. Ends: when the execution manager lets it go.
class ControlProgram
{
public:
    explicit ControlProgram(const QString &dataDirectory);
    ~ControlProgram();
    ControlProgram(const ControlProgram &) = delete;
    ControlProgram &operator=(const ControlProgram &) = delete;

    /// Reads an object file and makes it ready to run. False: it is no program of ours or damaged; this one is empty.
    bool load(QDataStream &stream);

    AST &tree() { return *m_tree; }
    ProgramState &state() { return *m_state; }
    Interpreter &interpreter() { return *m_interpreter; }
    Dispatcher &dispatcher() { return *m_dispatcher; }

private:
    // In order of construction; ended in reverse.
    std::unique_ptr<AST> m_tree;
    std::unique_ptr<ProgramState> m_state;
    std::unique_ptr<Library> m_library;
    std::unique_ptr<Interpreter> m_interpreter;
    std::unique_ptr<Dispatcher> m_dispatcher;
};
