#pragma once
#include <QStringList>

class ControlProgram;
class ProgramNames;
struct TraceRecord;

/// Why no handler took an event: what in the program comes nearest to it, a sentence each in the operator's language.
/// \param event  a record of the kind Event
QStringList nearMisses(ControlProgram &program, const ProgramNames &names, const TraceRecord &event);
