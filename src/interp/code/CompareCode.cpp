#include "interp/Preparer.h"
#include "interp/code/Operands.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"

#include <QCoreApplication>

#include <cstring>

// Comparisons and the logic of truth values.

namespace {
bool isTrue(std::string_view text)
{
    return !text.empty() && text.front() != 0;
}

/// Text order: by bytes as unsigned numbers up to the first zero byte, a prefix being smaller.
int textOrder(std::string_view left, std::string_view right)
{
    left = left.substr(0, left.find('\0'));
    right = right.substr(0, right.find('\0'));
    return left.compare(right);
}

// One struct an operator: on numbers, and on texts.
struct LessEqual
{
    static bool numbers(double left, double right) { return left < right || numbersEqual(left, right); }
    static bool texts(std::string_view left, std::string_view right) { return textOrder(left, right) <= 0; }
};
struct GreaterEqual
{
    static bool numbers(double left, double right) { return left > right || numbersEqual(left, right); }
    static bool texts(std::string_view left, std::string_view right) { return textOrder(left, right) >= 0; }
};
struct Less
{
    static bool numbers(double left, double right) { return left < right; }
    static bool texts(std::string_view left, std::string_view right) { return textOrder(left, right) < 0; }
};
struct Greater
{
    static bool numbers(double left, double right) { return left > right; }
    static bool texts(std::string_view left, std::string_view right) { return textOrder(left, right) > 0; }
};
struct NotEqual
{
    static bool numbers(double left, double right) { return !numbersEqual(left, right); }
    static bool texts(std::string_view left, std::string_view right) { return left != right; }
};
struct Equal
{
    static bool numbers(double left, double right) { return numbersEqual(left, right); }
    static bool texts(std::string_view left, std::string_view right) { return left == right; }
};
struct RightIsTrue // the single-equals operator outside a condition
{
    static bool numbers(double, double right) { return right != 0; }
    static bool texts(std::string_view, std::string_view right) { return isTrue(right); }
};
struct And
{
    static bool numbers(double left, double right) { return !isZeroNumber(left) && !isZeroNumber(right); }
    static bool texts(std::string_view left, std::string_view right) { return isTrue(left) && isTrue(right); }
};
struct Or
{
    static bool numbers(double left, double right) { return !isZeroNumber(left) || !isZeroNumber(right); }
    static bool texts(std::string_view left, std::string_view right) { return isTrue(left) || isTrue(right); }
};
struct Xor
{
    static bool numbers(double left, double right) { return isZeroNumber(left) != isZeroNumber(right); }
    static bool texts(std::string_view left, std::string_view right) { return isTrue(left) != isTrue(right); }
};
struct Never
{
    static bool numbers(double, double) { return false; }
    static bool texts(std::string_view, std::string_view) { return false; }
};

/// Yields 0 or 1; a condition asks for the truth without the detour through a number.
/// Derived has a function bool holds(Run &) const.
template <class Derived>
class BoolCode : public NumberCode
{
public:
    double compute(Run &run) const final { return static_cast<const Derived *>(this)->holds(run) ? 1.0 : 0.0; }
    Truth test(Run &run) const final { return static_cast<const Derived *>(this)->holds(run) ? Truth::Yes : Truth::No; }
};

class MissingOperandCode : public BoolCode<MissingOperandCode>
{
public:
    bool holds(Run &run) const
    {
        run.error(QT_TRANSLATE_NOOP("messages", "Wrong bool expression"));
        return false;
    }
};

/// Operands of which at least one can never be an array: numbers decide, and what is none counts as 0.
template <class Operator>
struct CompareNumbers
{
    template <class Left, class Right>
    class Node : public BoolCode<Node<Left, Right>>
    {
    public:
        Node(Left left, Right right)
            : m_left(std::move(left))
            , m_right(std::move(right))
        {}
        bool holds(Run &run) const
        {
            const double left = m_left.get(run).value; // 0 when it is none
            return Operator::numbers(left, m_right.get(run).value);
        }

    private:
        Left m_left;
        Right m_right;
    };
};

double numberOrZero(const ValueView &value)
{
    double number = 0;
    return numberOf(value, number) ? number : 0;
}

/// Any operands: two character arrays compare as texts, anything else as numbers.
template <class Operator>
class CompareValues : public BoolCode<CompareValues<Operator>>
{
public:
    CompareValues(std::unique_ptr<Code> left, std::unique_ptr<Code> right)
        : m_left(std::move(left))
        , m_right(std::move(right))
    {}
    bool holds(Run &run) const
    {
        ValueRef leftHold;
        ValueView left = m_left->view(run, leftHold);
        if (left.array() && !leftHold && !m_right->isQuiet()) { // what runs on the right may change the variable
            leftHold = left.toValue();
            left = ValueView::of(leftHold.get());
        }
        ValueRef rightHold;
        const ValueView right = m_right->view(run, rightHold);
        const Array *leftArray = left.array();
        const Array *rightArray = right.array();
        if (leftArray && rightArray && (leftArray->typeCode() == CharType || leftArray->typeCode() == WideCharType)) {
            QByteArray leftBytes;
            QByteArray rightBytes;
            return Operator::texts(leftArray->bytes(leftBytes), rightArray->bytes(rightBytes));
        }
        return Operator::numbers(numberOrZero(left), numberOrZero(right));
    }

private:
    std::unique_ptr<Code> m_left;
    std::unique_ptr<Code> m_right;
};

class TruthOfOne : public BoolCode<TruthOfOne>
{
public:
    explicit TruthOfOne(std::unique_ptr<Code> operand)
        : m_operand(std::move(operand))
    {}
    bool holds(Run &run) const
    {
        ValueRef hold;
        return !isZeroNumber(numberOrZero(m_operand->view(run, hold)));
    }

private:
    std::unique_ptr<Code> m_operand;
};

class NotCode : public BoolCode<NotCode>
{
public:
    explicit NotCode(std::unique_ptr<Code> operand)
        : m_operand(std::move(operand))
    {}
    bool holds(Run &run) const { return m_operand && integerPart(m_operand->number(run).value) == 0; }

private:
    std::unique_ptr<Code> m_operand;
};

using MakeCompare = std::unique_ptr<Code> (*)(std::unique_ptr<Code>, std::unique_ptr<Code>);

template <class Operator>
std::unique_ptr<Code> makeCompare(std::unique_ptr<Code> left, std::unique_ptr<Code> right)
{
    if (left->isNeverArray() && right->isNeverArray()) {
        return makeBinary<CompareNumbers<Operator>::template Node>(std::move(left), std::move(right));
    }
    return std::make_unique<CompareValues<Operator>>(std::move(left), std::move(right));
}

MakeCompare makerOf(int operatorCode, Context context)
{
    switch (operatorCode) {
    case NumberBoolExpression::LessEqual:
        return makeCompare<LessEqual>;
    case NumberBoolExpression::Equality:
        return context == Context::Condition ? makeCompare<Equal> : makeCompare<RightIsTrue>;
    case NumberBoolExpression::GreaterEqual:
        return makeCompare<GreaterEqual>;
    case NumberBoolExpression::Less:
        return makeCompare<Less>;
    case NumberBoolExpression::Greater:
        return makeCompare<Greater>;
    case NumberBoolExpression::NotEqual:
        return makeCompare<NotEqual>;
    case NumberBoolExpression::Equal:
        return makeCompare<Equal>;
    case NumberBoolExpression::And:
        return makeCompare<And>;
    case NumberBoolExpression::Or:
        return makeCompare<Or>;
    case NumberBoolExpression::Xor:
        return makeCompare<Xor>;
    default:
        return makeCompare<Never>;
    }
}
} // namespace

std::unique_ptr<Code> NumberBoolExpression::prepare(Preparer &preparer, Context context) const
{
    if (!left || (!right && operatorCode != Truth)) {
        return std::make_unique<MissingOperandCode>();
    }
    if (operatorCode == Truth) {
        return std::make_unique<TruthOfOne>(preparer.expression(left, context));
    }
    std::unique_ptr<Code> leftCode = preparer.expression(left, context);
    return makerOf(operatorCode, context)(std::move(leftCode), preparer.expression(right, context));
}

std::unique_ptr<Code> NotExpression::prepare(Preparer &preparer, Context) const
{
    return std::make_unique<NotCode>(preparer.expression(operand));
}
