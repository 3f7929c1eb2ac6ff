#include "model/ProgramContext.h"

#include "base/Messages.h"

namespace {
ProgramContext *currentProgram = nullptr;
}

ProgramContext *ProgramContext::current()
{
    return currentProgram;
}

ProgramContext::ProgramContext()
{
    currentProgram = this;
}

ProgramContext::~ProgramContext()
{
    if (currentProgram == this) {
        currentProgram = nullptr;
    }
}

void reportProgramError(const char *sourceText)
{
    if (ProgramContext *program = ProgramContext::current()) {
        program->reportError(translated(sourceText));
    }
}

void reportProgramError(const char *sourceText, const QString &argument)
{
    if (ProgramContext *program = ProgramContext::current()) {
        program->reportError(translated(sourceText).arg(argument));
    }
}
