#pragma once
#include "interp/Builtin.h"
#include "interp/Preparer.h"

#include <QString>

class CallBase;
class ProgramFunction;
class ProgramRoutine;

/// A call made ready: who is called, and with what.
struct PreparedCall
{
    QString name; // as written
    std::vector<std::unique_ptr<Code>> arguments;
    bool hasArguments = false;
    bool takesNumbers = false; // of a function of the program: FunctionCode::callWithNumbers serves
};

PreparedCall prepareCall(const CallBase &node, Preparer &preparer, const FunctionCode *called = nullptr);

/// Calls a function of the program and leaves its result, brought to the declared type, in run.result.
void callFunction(Run &run, const ProgramFunction &function, const PreparedCall &call);

/// The statement forms: the result is not looked at.
std::unique_ptr<Step> makeFunctionStep(const CallBase &node, Preparer &preparer);
std::unique_ptr<Step> makeRoutineStep(const CallBase &node, Preparer &preparer);
