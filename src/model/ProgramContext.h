#pragma once
#include "base/Names.h"

#include <QString>

class CustomTypeInfo;

/// What values need of the program that they belong to. The program object implements it.
/// Thread: the main thread. One at a time; values made without one report nothing.
class ProgramContext
{
public:
    static ProgramContext *current();

    virtual void reportError(const QString &text) = 0;
    virtual void reportWarning(const QString &text) = 0;
    virtual const CustomTypeInfo *findType(int code) const = 0; // nullptr: no structure type has that code
    /// The number of a named variable has changed: bound levels follow. value: the integer part of the new number.
    virtual void variableChanged(Name name, qint64 value) = 0;

    /// What the tree tells while it is read: some statement changes a variable, or binds a level to it.
    virtual void noteChanged(Name) {}
    virtual void noteBound(Name) {}

protected:
    ProgramContext();
    virtual ~ProgramContext();
    ProgramContext(const ProgramContext &) = delete;
    ProgramContext &operator=(const ProgramContext &) = delete;
};

/// Reports through the current program, when there is one. sourceText is translated; %1 is replaced by argument.
void reportProgramError(const char *sourceText);
void reportProgramError(const char *sourceText, const QString &argument);
