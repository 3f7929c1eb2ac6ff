#include "app/ProgramStop.h"

#include "interp/ProgramState.h"

#include <atomic>

namespace {
std::atomic<ProgramState *> watched{ nullptr };
std::atomic<bool> endRequested{ false };
static_assert(std::atomic<ProgramState *>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);
} // namespace

void ProgramStop::watch(ProgramState *program)
{
    watched = program;
    if (program && endRequested) {
        program->requestStop();
    }
}

void ProgramStop::stop()
{
    if (ProgramState *program = watched) {
        program->requestStop();
    }
}

void ProgramStop::requestEnd()
{
    endRequested = true; // first, so that a program made meanwhile sees it, or is seen below
    stop();
}

bool ProgramStop::isEndRequested()
{
    return endRequested;
}
