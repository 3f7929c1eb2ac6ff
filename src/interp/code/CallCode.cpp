#include "interp/code/CallCode.h"

#include "interp/ProgramFunction.h"
#include "interp/code/FunctionCode.h"
#include "interp/code/VariableCode.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

#include <algorithm>

namespace {
const char *const kTooDeep = QT_TRANSLATE_NOOP("messages", "Call depth exceeded in function %1");
const char *const kNoResult = QT_TRANSLATE_NOOP("messages", "Function %1 has no return value");

bool isPlainNumberType(const std::optional<ReturnType> &type)
{
    return type && isNumericType(type->typeCode) && type->sizes.empty();
}

/// A call of a function of the program.
class FunctionCallCode : public Code
{
public:
    FunctionCallCode(const ProgramFunction &function, PreparedCall call)
        : m_function(function)
        , m_call(std::move(call))
    {}

    Number number(Run &run) const override
    {
        callAndCheck(run);
        const ReturnValue &result = run.result;
        return result.seen.isNumber() ? Number{ result.seen.number, true } : numberIn(result.seen);
    }
    ValueView view(Run &run, ValueRef &hold) const override
    {
        callAndCheck(run);
        if (run.result.seen.object) {
            hold = std::move(run.result.object);
        }
        return run.result.seen;
    }

private:
    void callAndCheck(Run &run) const
    {
        callFunction(run, m_function, m_call);
        if (run.result.seen.isNone()) {
            run.warning(kNoResult, m_call.name);
            run.result.seen = ValueView::ofNumber(0, DoubleType);
        }
    }

    const ProgramFunction &m_function;
    PreparedCall m_call;
};

/// A call that passes plain numbers to a function with a numeric result.
class NumberCallCode : public Code
{
public:
    NumberCallCode(const ProgramFunction &function, PreparedCall call)
        : m_function(function)
        , m_code(*function.code)
        , m_call(std::move(call))
        , m_typeCode(function.returnType()->typeCode)
    {}

    Number number(Run &run) const override
    {
        const bool fits = m_code.callWithNumbers(run, m_call.arguments);
        if (fits && run.result.seen.isNumber()) {
            return { normalised(m_typeCode, run.result.seen.number), true };
        }
        ValueRef hold;
        return numberIn(otherResult(run, hold, fits));
    }
    ValueView view(Run &run, ValueRef &hold) const override
    {
        const bool fits = m_code.callWithNumbers(run, m_call.arguments);
        if (fits && run.result.seen.isNumber()) {
            return ValueView::ofNumber(normalised(m_typeCode, run.result.seen.number), m_typeCode);
        }
        return otherResult(run, hold, fits);
    }

private:
    /// After a call that was too deep, or gave something other than a number.
    ValueView otherResult(Run &run, ValueRef &hold, bool fits) const
    {
        if (!fits) {
            run.error(kTooDeep, m_function.name());
            run.result = {};
        }
        run.result = converted(std::move(run.result), m_function.returnType(), &run.program());
        if (run.result.seen.isNone()) {
            run.warning(kNoResult, m_call.name);
            return ValueView::ofNumber(0, DoubleType);
        }
        hold = std::move(run.result.object);
        return run.result.seen;
    }

    const ProgramFunction &m_function;
    const FunctionCode &m_code;
    PreparedCall m_call;
    int m_typeCode;
};

/// Whether the quick way of passing numbers fits a call.
PreparedCall withQuickNumbers(PreparedCall call, const ProgramFunction &function)
{
    const bool noArrays = std::all_of(call.arguments.begin(), call.arguments.end(),
                                      [](const auto &argument) { return argument && argument->isNeverArray(); });
    call.takesNumbers = noArrays && function.code && function.code->takesNumbers(call.arguments.size());
    return call;
}

/// A call of a built-in.
class BuiltinCallCode : public Code
{
public:
    BuiltinCallCode(BuiltinFunction &function, PreparedCall call)
        : m_function(function)
        , m_call(std::move(call))
        , m_isQuiet(function.isQuiet() &&
                    std::all_of(m_call.arguments.begin(), m_call.arguments.end(),
                                [](const auto &argument) { return !argument || argument->isQuiet(); }))
    {}

    bool isQuiet() const override { return m_isQuiet; }
    Number number(Run &run) const override { return numberIn(call(run)); }
    ValueView view(Run &run, ValueRef &hold) const override
    {
        const ValueView seen = call(run);
        if (seen.object) {
            hold = m_function.resultObject(); // built-ins never change a value that they gave out
        }
        return seen;
    }
    /// Built-ins with a numeric result never give an array.
    bool isNeverArray() const override { return isPlainNumberType(m_function.returnType()); }
    void appendTo(QByteArray &bytes, Run &run) const override
    {
        QByteArray own;
        const std::string_view seen = bytesOf(call(run), own);
        bytes.append(seen.data(), static_cast<int>(seen.size()));
    }

private:
    /// The result, which belongs to the built-in until its next call.
    ValueView call(Run &run) const
    {
        const ValueView seen = m_function.run(ArgumentList(run, m_call.arguments, m_call.hasArguments));
        if (seen.isNone()) {
            run.warning(kNoResult, m_call.name);
            return ValueView::ofNumber(0, DoubleType);
        }
        return seen;
    }

    BuiltinFunction &m_function;
    PreparedCall m_call;
    bool m_isQuiet;
};

class UnknownFunctionCode : public Code
{
public:
    Number number(Run &) const override { return {}; }
    ValueView view(Run &, ValueRef &) const override { return {}; }
};

class RoutineNameCode : public NumberCode
{
public:
    double compute(Run &) const override { return 0; }
};

class FunctionStep : public Step
{
public:
    FunctionStep(const ProgramFunction &function, PreparedCall call)
        : m_function(function)
        , m_call(std::move(call))
    {}
    Flow execute(Run &run) const override
    {
        callFunction(run, m_function, m_call);
        return Flow::Next;
    }

private:
    const ProgramFunction &m_function;
    PreparedCall m_call;
};

class BuiltinStep : public Step
{
public:
    BuiltinStep(BuiltinFunction &function, PreparedCall call)
        : m_function(function)
        , m_call(std::move(call))
    {}
    Flow execute(Run &run) const override
    {
        m_function.run(ArgumentList(run, m_call.arguments, m_call.hasArguments));
        return Flow::Next;
    }

private:
    BuiltinFunction &m_function;
    PreparedCall m_call;
};

class RoutineStep : public Step
{
public:
    RoutineStep(const ProgramRoutine &routine, PreparedCall call)
        : m_routine(routine)
        , m_call(std::move(call))
    {}
    Flow execute(Run &run) const override
    {
        if (m_routine.code && !m_routine.code->call(run, m_call.arguments)) {
            run.error(kTooDeep, m_routine.name());
        }
        return Flow::Next;
    }

private:
    const ProgramRoutine &m_routine;
    PreparedCall m_call;
};
} // namespace

PreparedCall prepareCall(const CallBase &node, Preparer &preparer, const FunctionCode *called)
{
    PreparedCall call;
    call.name = node.functionName;
    call.hasArguments = node.arguments != nullptr;
    if (node.arguments) {
        for (const auto &argument : node.arguments->items) {
            call.arguments.push_back(preparer.expression(argument));
        }
    }
    if (called) {
        preparer.noteCall(called);
    }
    return call;
}

void callFunction(Run &run, const ProgramFunction &function, const PreparedCall &call)
{
    if (!function.code) {
        run.result = {};
        return;
    }
    const bool fits = call.takesNumbers ? function.code->callWithNumbers(run, call.arguments)
                                        : function.code->call(run, call.arguments);
    if (!fits) {
        run.error(kTooDeep, function.name());
        run.result = {};
        return;
    }
    ValueView &seen = run.result.seen;
    const std::optional<ReturnType> &type = function.returnType();
    if (seen.isNumber() && isPlainNumberType(type)) {
        seen = ValueView::ofNumber(normalised(type->typeCode, seen.number), type->typeCode);
    } else if (type) {
        run.result = converted(std::move(run.result), type, &run.program());
    }
}

std::unique_ptr<Step> makeFunctionStep(const CallBase &node, Preparer &preparer)
{
    Function *function = preparer.program().findFunction(Name(node.functionName));
    if (!function) {
        return nullptr;
    }
    if (function->isBuiltin()) {
        return std::make_unique<BuiltinStep>(static_cast<BuiltinFunction &>(*function), prepareCall(node, preparer));
    }
    const auto &own = static_cast<const ProgramFunction &>(*function);
    return std::make_unique<FunctionStep>(own, withQuickNumbers(prepareCall(node, preparer, own.code.get()), own));
}

std::unique_ptr<Step> makeRoutineStep(const CallBase &node, Preparer &preparer)
{
    const CallRoutine *routine = preparer.program().findCallRoutine(Name(node.functionName));
    if (!routine) {
        return nullptr;
    }
    const auto &own = static_cast<const ProgramRoutine &>(*routine);
    return std::make_unique<RoutineStep>(own, prepareCall(node, preparer, own.code.get()));
}

std::unique_ptr<Code> FuncCallExpression::prepare(Preparer &preparer, Context) const
{
    Function *function = preparer.program().findFunction(Name(functionName));
    if (!function) {
        return std::make_unique<UnknownFunctionCode>();
    }
    if (function->isBuiltin()) {
        return std::make_unique<BuiltinCallCode>(static_cast<BuiltinFunction &>(*function),
                                                 prepareCall(*this, preparer));
    }
    const auto &own = static_cast<const ProgramFunction &>(*function);
    PreparedCall call = withQuickNumbers(prepareCall(*this, preparer, own.code.get()), own);
    if (call.takesNumbers && isPlainNumberType(own.returnType())) {
        return std::make_unique<NumberCallCode>(own, std::move(call));
    }
    return std::make_unique<FunctionCallCode>(own, std::move(call));
}

std::unique_ptr<Code> CallExpression::prepare(Preparer &, Context) const
{
    return std::make_unique<RoutineNameCode>();
}
