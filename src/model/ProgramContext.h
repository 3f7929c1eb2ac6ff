#pragma once
#include "base/Names.h"

#include <QString>

class CustomTypeInfo;

/// What values need of the program that they belong to. The program object implements it, and outlives them.
class ProgramContext
{
public:
    virtual void reportError(const QString &text) = 0;
    virtual void reportWarning(const QString &text) = 0;
    virtual const CustomTypeInfo *findType(int code) const = 0; // nullptr: no structure type has that code
    /// The number of a named variable has changed: bound levels follow. value: the integer part of the new number.
    virtual void variableChanged(Name name, qint64 value) = 0;

    /// What the tree tells while it is read: some statement changes a variable, or binds a level to it.
    virtual void noteChanged(Name) {}
    virtual void noteBound(Name) {}

protected:
    ProgramContext() = default;
    virtual ~ProgramContext() = default;
    ProgramContext(const ProgramContext &) = delete;
    ProgramContext &operator=(const ProgramContext &) = delete;
};

/// Reports the translated text to a program, where there is one.
void reportError(ProgramContext *program, const char *sourceText);
