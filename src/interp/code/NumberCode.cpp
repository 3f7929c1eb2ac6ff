#include "base/Messages.h"
#include "interp/Preparer.h"
#include "interp/code/Operands.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

// Arithmetic on numbers.

namespace {
const char *const kWrongExpression = QT_TRANSLATE_NOOP("messages", "Wrong expression");

class ConstantCode : public NumberCode
{
public:
    explicit ConstantCode(double value)
        : m_value(value)
    {}
    double compute(Run &) const override { return m_value; }
    Leaf leaf() const override { return { Leaf::Kind::Constant, m_value, 0, DoubleType, nullptr }; }
    bool isQuiet() const override { return true; }

private:
    double m_value;
};

/// Yields 0 with a message at every evaluation: an expression that misses an operand.
class FaultyCode : public NumberCode
{
public:
    explicit FaultyCode(const char *message)
        : m_message(message)
    {}
    double compute(Run &run) const override
    {
        run.error(m_message);
        return 0;
    }

private:
    const char *m_message;
};

qint64 shiftedRight(qint64 value, qint64 count)
{
    const auto places = static_cast<unsigned>(count & 0xFF);
    return places < 64 ? value >> places : (value < 0 ? -1 : 0);
}

qint64 shiftedLeft(qint64 value, qint64 count)
{
    const auto places = static_cast<unsigned>(count & 0xFF);
    return places < 64 ? static_cast<qint64>(static_cast<quint64>(value) << places) : 0;
}

double divided(Run &run, double left, double right)
{
    if (isZeroNumber(right)) {
        run.error(QT_TRANSLATE_NOOP("messages", "Divided by 0"));
        return 0;
    }
    return left / right;
}

double remainderOf(Run &run, double left, double right)
{
    const qint64 dividend = integerPart(left);
    const qint64 divisor = integerPart(right);
    if (divisor == 0) {
        run.error(QT_TRANSLATE_NOOP("messages", "Divided by 0"));
        return 0;
    }
    if (((dividend | divisor) >> 31) == 0) {
        return static_cast<double>(static_cast<quint32>(dividend) % static_cast<quint32>(divisor));
    }
    return divisor == -1 ? 0 : static_cast<double>(dividend % divisor);
}

struct Add
{
    static double apply(Run &, double left, double right) { return left + right; }
};
struct Subtract
{
    static double apply(Run &, double left, double right) { return left - right; }
};
struct Multiply
{
    static double apply(Run &, double left, double right) { return left * right; }
};
struct Divide
{
    static double apply(Run &run, double left, double right) { return divided(run, left, right); }
};
struct Remainder
{
    static double apply(Run &run, double left, double right) { return remainderOf(run, left, right); }
};
struct BitAnd
{
    static double apply(Run &, double left, double right)
    {
        return static_cast<double>(integerPart(left) & integerPart(right));
    }
};
struct BitOr
{
    static double apply(Run &, double left, double right)
    {
        return static_cast<double>(integerPart(left) | integerPart(right));
    }
};
struct BitXor
{
    static double apply(Run &, double left, double right)
    {
        return static_cast<double>(integerPart(left) ^ integerPart(right));
    }
};
struct ShiftRight
{
    static double apply(Run &, double left, double right)
    {
        return static_cast<double>(shiftedRight(integerPart(left), integerPart(right)));
    }
};
struct ShiftLeft
{
    static double apply(Run &, double left, double right)
    {
        return static_cast<double>(shiftedLeft(integerPart(left), integerPart(right)));
    }
};
struct Nothing
{
    static double apply(Run &, double, double) { return 0; }
};

/// left operator right; the right operand is evaluated only when the left one is a number.
template <class Operator>
struct Calc
{
    template <class Left, class Right>
    class Node : public NumberCode
    {
    public:
        Node(Left left, Right right)
            : m_left(std::move(left))
            , m_right(std::move(right))
        {}

        double compute(Run &run) const override
        {
            const Number left = m_left.get(run);
            if (!left.ok) {
                run.error(kWrongExpression);
                return 0;
            }
            const Number right = m_right.get(run);
            if (!right.ok) {
                run.error(kWrongExpression);
                return 0;
            }
            return Operator::apply(run, left.value, right.value);
        }
        bool isQuiet() const override { return isQuietOperand(m_left) && isQuietOperand(m_right); }

    private:
        Left m_left;
        Right m_right;
    };
};

template <class Operator>
std::unique_ptr<Code> makeCalc(std::unique_ptr<Code> left, std::unique_ptr<Code> right)
{
    return makeBinary<Calc<Operator>::template Node>(std::move(left), std::move(right));
}

using MakeCalc = std::unique_ptr<Code> (*)(std::unique_ptr<Code>, std::unique_ptr<Code>);

struct OperatorRow
{
    int code;
    MakeCalc make;
};

constexpr OperatorRow kOperators[] = {
    { '%', makeCalc<Remainder> },  { '&', makeCalc<BitAnd> },   { '*', makeCalc<Multiply> },
    { '+', makeCalc<Add> },        { '-', makeCalc<Subtract> }, { '/', makeCalc<Divide> },
    { '>', makeCalc<ShiftRight> }, { '^', makeCalc<BitXor> },   { '|', makeCalc<BitOr> },
};

enum class Unary { Minus, BitNot };

template <Unary Operator>
class UnaryCode : public NumberCode
{
public:
    explicit UnaryCode(std::unique_ptr<Code> operand)
        : m_operand(std::move(operand))
    {}

    double compute(Run &run) const override
    {
        const Number seen = m_operand ? m_operand->number(run) : Number{};
        if (!seen.ok) {
            run.error(Operator == Unary::Minus ? QT_TRANSLATE_NOOP("messages", "Wrong unary minus expression")
                                               : QT_TRANSLATE_NOOP("messages", "Wrong bnot expression"));
            return 0;
        }
        return Operator == Unary::Minus ? -seen.value : static_cast<double>(~integerPart(seen.value));
    }
    bool isQuiet() const override { return m_operand && m_operand->isQuiet(); }

private:
    std::unique_ptr<Code> m_operand;
};

/// ++ and -- of a plain variable inside an expression.
class StepVariableCode : public NumberCode
{
public:
    StepVariableCode(std::unique_ptr<Code> variable, const QString &name, double by, bool isPrefix)
        : m_variable(std::move(variable))
        , m_name(name)
        , m_by(by)
        , m_isPrefix(isPrefix)
    {}

    double compute(Run &run) const override
    {
        const Place place = m_variable->place(run);
        const ValueView before = ValueView::of(place);
        if (!before.isNumber()) {
            run.error(QT_TRANSLATE_NOOP("messages", "Failed to find variable %1"), m_name);
            return 0;
        }
        if (place.object && place.object->isConst()) {
            run.error(QT_TRANSLATE_NOOP("messages", "Reassign value to const data. Assignment will be ignored."));
            return before.number;
        }
        assignValue(place, ValueView::ofNumber(before.number + m_by, DoubleType));
        storeChanged(run, *m_variable);
        return m_isPrefix ? ValueView::of(place).number : before.number;
    }

private:
    std::unique_ptr<Code> m_variable;
    QString m_name;
    double m_by;
    bool m_isPrefix;
};

std::unique_ptr<Code> prepareStep(const StepExpression &node, Preparer &preparer, double by, const char *missing)
{
    const Name name(node.operand ? node.operand->name : QString());
    if (name.isEmpty()) {
        preparer.program().reportError(translated(missing));
        return std::make_unique<FaultyCode>(missing);
    }
    if (!preparer.findLocal(name) && !asDouble(preparer.program().findGlobal(name))) {
        preparer.program().reportError(
            translated(QT_TRANSLATE_NOOP("messages", "Variable %1 is not defined")).arg(node.operand->name));
    }
    return std::make_unique<StepVariableCode>(node.operand->prepare(preparer, Context::Plain), node.operand->name, by,
                                              node.isPrefix);
}
} // namespace

std::unique_ptr<Code> ConstExpression::prepare(Preparer &, Context) const
{
    return std::make_unique<ConstantCode>(value);
}

std::unique_ptr<Code> CalcExpression::prepare(Preparer &preparer, Context) const
{
    if (!left || !right) {
        return std::make_unique<FaultyCode>(kWrongExpression);
    }
    MakeCalc make = makeCalc<Nothing>;
    for (const OperatorRow &row : kOperators) {
        if (row.code == operatorCode) {
            make = row.make;
        }
    }
    return make(preparer.expression(left), preparer.expression(right));
}

std::unique_ptr<Code> ShiftExpression::prepare(Preparer &preparer, Context) const
{
    if (!value || !count) {
        return std::make_unique<FaultyCode>(kWrongExpression);
    }
    const MakeCalc make = direction == Right  ? makeCalc<ShiftRight>
                          : direction == Left ? makeCalc<ShiftLeft>
                                              : makeCalc<Nothing>;
    return make(preparer.expression(value), preparer.expression(count));
}

std::unique_ptr<Code> UMinusExpression::prepare(Preparer &preparer, Context) const
{
    std::unique_ptr<Code> code = preparer.expression(operand);
    if (code && code->leaf().kind == Leaf::Kind::Constant) {
        return std::make_unique<ConstantCode>(-code->leaf().constant);
    }
    return std::make_unique<UnaryCode<Unary::Minus>>(std::move(code));
}

std::unique_ptr<Code> BNotExpression::prepare(Preparer &preparer, Context) const
{
    return std::make_unique<UnaryCode<Unary::BitNot>>(preparer.expression(operand));
}

std::unique_ptr<Code> IncExpression::prepare(Preparer &preparer, Context) const
{
    return prepareStep(*this, preparer, 1, QT_TRANSLATE_NOOP("messages", "Wrong ++ expression"));
}

std::unique_ptr<Code> DecExpression::prepare(Preparer &preparer, Context) const
{
    return prepareStep(*this, preparer, -1, QT_TRANSLATE_NOOP("messages", "Wrong -- expression"));
}
