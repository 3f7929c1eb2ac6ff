#pragma once
#include "model/Array.h"

class NumberCode;
class Run;

/// What a number-valued evaluation gives; value is 0 when it failed.
struct Number
{
    double value = 0;
    bool ok = false;
};

enum class Truth : quint8 { No, Yes, Failed };

/// How control leaves a statement.
enum class Flow : quint8 { Next, Break, Continue, Return };

/// What a simple operand is, so that the code around it can reach it without a call.
struct Leaf
{
    enum class Kind : quint8 { None, Constant, Local, Static };
    Kind kind = Kind::None;
    double constant = 0;
    int slot = 0; // Local: in the frame
    int typeCode = DoubleType;
    const double *storage = nullptr; // Static: of a global or a kept local
};

/// An expression made ready to run: names are resolved, operators chosen. Immutable; Run carries all state.
class Code
{
public:
    virtual ~Code() = default;
    Code(const Code &) = delete;
    Code &operator=(const Code &) = delete;

    /// The expression as a number. Failing reports only what the kind of expression itself reports.
    virtual Number number(Run &run) const = 0;
    /// The expression's value, seen where it is stored or, if it is fresh, in hold. None when there is none.
    virtual ValueView view(Run &run, ValueRef &hold) const = 0;
    /// As a condition: whether the integer part of the number is not 0.
    virtual Truth test(Run &run) const;
    /// The stored value that a variable, element or member names; empty for anything else.
    virtual Place place(Run &) const { return {}; }
    /// The same where only an object will do; nullptr for a plain number and where there is nothing.
    virtual BasicType *object(Run &run) const { return place(run).object; }

    /// The variable to be stored when that place has changed, if its storage class asks for it; nullptr: none.
    virtual BasicType *variable(Run &) const { return nullptr; }

    /// Adds the value's bytes to what is there: one of a number, those of an array, none of anything else.
    virtual void appendTo(QByteArray &bytes, Run &run) const;

    virtual Leaf leaf() const { return {}; }
    virtual const NumberCode *asNumberCode() const { return nullptr; } // this, when it is one
    /// True when the value is a number or nothing, never an array, and number() tells the same as view().
    virtual bool isNeverArray() const { return false; }
    /// True when evaluating it runs no code of the program and changes nothing.
    virtual bool isQuiet() const { return false; }

protected:
    Code() = default;
};

/// Code that always is a number.
class NumberCode : public Code
{
public:
    virtual double compute(Run &run) const = 0;

    Number number(Run &run) const final { return { compute(run), true }; }
    Truth test(Run &run) const override { return integerPart(compute(run)) != 0 ? Truth::Yes : Truth::No; }
    ValueView view(Run &run, ValueRef &hold) const final;
    bool isNeverArray() const final { return true; }
    const NumberCode *asNumberCode() const final { return this; }
};

/// A statement made ready to run.
class Step
{
public:
    virtual ~Step() = default;
    Step(const Step &) = delete;
    Step &operator=(const Step &) = delete;

    /// Runs it, and notes that it is what runs (interp/Run.h).
    Flow perform(Run &run) const;

    int place() const { return m_place; }
    void setPlace(int place) { m_place = m_place ? m_place : place; } // the innermost counts

protected:
    Step() = default;
    virtual Flow execute(Run &run) const = 0;

private:
    int m_place = 0; // see Statement::place
};

/// After a change of what the code names: stores the variable, if its storage class asks for it.
void storeChanged(Run &run, const Code &changed);

/// A copy of what an evaluation saw, that outlives changes of the variable.
ValueRef freshValue(const ValueView &seen, const ValueRef &hold);
