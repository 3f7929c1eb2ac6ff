#include "model/ProgramContext.h"

#include "base/Messages.h"

void reportError(ProgramContext *program, const char *sourceText)
{
    if (program) {
        program->reportError(translated(sourceText));
    }
}
