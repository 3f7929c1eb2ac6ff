#pragma once
#include "interp/Run.h"
#include "model/StructType.h"
#include "program/Function.h"

#include <QByteArray>

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

/// One evaluated argument: borrowed from a variable or fresh. Lives as long as the built-in needs it.
class Argument
{
public:
    ValueView view{};
    const Array *array() const { return view.array(); }
    const Device *device() const { return asDevice(view.object); }
    bool isStored() const { return view.object && !m_hold; } // seen where the program keeps it
    /// As bytes: an array's elements, one byte of a number, nothing of anything else.
    std::string_view bytes();

private:
    friend class ArgumentList;
    ValueRef m_hold{};
    QByteArray m_bytes{};
};

/// The arguments of one call of a built-in, not yet evaluated. Evaluating twice evaluates twice.
class ArgumentList
{
public:
    /// \param isPresent  false: the call carries no argument list at all
    ArgumentList(Run &run, const std::vector<std::unique_ptr<Code>> &codes, bool isPresent)
        : m_run(run)
        , m_codes(codes)
        , m_isPresent(isPresent)
    {}

    Run &run() const { return m_run; }
    bool isPresent() const { return m_isPresent; }
    int count() const { return static_cast<int>(m_codes.size()); }
    bool has(int index) const { return code(index) != nullptr; } // index from 0; an argument may be left empty

    double number(int index) const { return tryNumber(index).value; } // 0 when missing or no number
    Number tryNumber(int index) const;
    int integer(int index) const;      // by the integer rule, 32 bits
    qint64 integer64(int index) const; // by the integer rule
    Argument value(int index) const;   // none when missing
    Argument borrow(int index) const;  // the same, as long as nothing else is evaluated
    /// The stored variable, element or member that the argument names; empty otherwise.
    Place place(int index) const;
    void storeChanged(int index) const; // the variable that the argument names, once a built-in has changed it
    Array *arrayVariable(int index) const { return asArray(place(index).object); } // nullptr: names no array

private:
    const Code *code(int index) const
    {
        return index >= 0 && index < count() ? m_codes[static_cast<size_t>(index)].get() : nullptr;
    }

    bool mayRunProgramAfter(int index) const; // evaluating the arguments behind this one

    Run &m_run;
    const std::vector<std::unique_ptr<Code>> &m_codes;
    bool m_isPresent;
};

/// A built-in of the library.
class BuiltinFunction : public Function
{
public:
    explicit BuiltinFunction(const QString &name)
        : Function(name)
    {}

    bool isBuiltin() const final { return true; }
    /// Calls it. None when it has set no result: it gives none, or has met bad arguments.
    ValueView run(const ArgumentList &arguments)
    {
        call(arguments);
        return std::exchange(m_result.seen, {}); // so that no later call, nor the one around this, passes it on
    }
    /// True when a call runs no code of the program and changes nothing but the result.
    virtual bool isQuiet() const { return false; }

    void setProgram(ProgramContext *program) { m_program = program; } // that calls it

    const ValueRef &resultObject() const { return m_result.object; } // what run() saw, if that was an object

protected:
    /// Evaluates what it needs of the arguments and sets the result.
    virtual void call(const ArgumentList &arguments) = 0;
    /// The result of the last call; brought to the declared type when one is declared and it differs.
    void setResult(double number, int typeCode = DoubleType);
    void setResult(std::unique_ptr<BasicType> value);
    void setTextResult(std::string_view bytes); // a CHAR array

    ProgramContext *program() const { return m_program; }

private:
    ProgramContext *m_program = nullptr;
    ReturnValue m_result;
};

/// Brings a value to a declared type: none and values of that type pass unchanged, others are assigned to a new value.
ReturnValue converted(ReturnValue value, const std::optional<ReturnType> &type, ProgramContext *program);
