#pragma once
#include "model/BasicType.h"

#include <vector>

class FunctionCode;
class ProgramState;
class Trace;

/// Which globals a body names and which functions it calls, as its preparation finds out.
struct Reach
{
    std::vector<BasicType *> globals;
    std::vector<const FunctionCode *> calls;
};

/// The globals that a body may change, also by what it calls. What they hold is noted before it runs and compared
/// afterwards, so that an assignment costs nothing; of values with many parts only the first are looked at.
/// Owns: nothing. Thread: the main thread. Ends: with the body.
class TracedGlobals
{
public:
    TracedGlobals(const Reach &reach, ProgramState &state);

    /// Puts what they hold behind what is there.
    void note(std::vector<quint64> &words) const;
    /// Writes into the trace what is not as it was noted, from the given index on, as done by a body.
    void compare(Trace &trace, int place, const std::vector<quint64> &words, size_t from) const;

private:
    std::vector<const BasicType *> m_globals;
};
