#pragma once
#include "events/HandlerTable.h"

#include <QStringList>

class ControlProgram;
class ProgramNames;
struct TraceRecord;

/// Why no handler took an event: what in the program comes nearest to it, a sentence each in the operator's language.
/// Owns: a copy of what the handlers listen to. Thread: the main thread.
class NearMisses
{
public:
    NearMisses(ControlProgram &program, const ProgramNames &names);

    /// \param event  a record of the kind Event
    QStringList of(const TraceRecord &event) const;

private:
    ControlProgram &m_program;
    const ProgramNames &m_names;
    const std::vector<HandlerTable::Listener> m_listeners;
};
