#include "app/ProgramStop.h"

#include "program/AST.h"

#include <atomic>

namespace {
std::atomic<AST *> watched{ nullptr };
std::atomic<bool> endRequested{ false };
static_assert(std::atomic<AST *>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);
} // namespace

void ProgramStop::watch(AST *program)
{
    watched = program;
    if (program && endRequested) {
        program->requestStop();
    }
}

void ProgramStop::stop()
{
    if (AST *program = watched) {
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
