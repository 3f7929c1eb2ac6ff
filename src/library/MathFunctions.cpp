#include "library/MathFunctions.h"

#include "base/Numbers.h"

#include <cmath>

void AbsValueFunc::call(const ArgumentList &arguments)
{
    if (const std::optional<double> number = numberOrZero(arguments, 0)) {
        setResult(*number >= 0 ? *number : -*number);
    }
}

void MaxValueFunc::call(const ArgumentList &arguments)
{
    const std::optional<double> a = numberOrZero(arguments, 0);
    const std::optional<double> b = numberOrZero(arguments, 1);
    if (a && b) {
        setResult(*a <= *b ? *b : *a);
    }
}

void MinValueFunc::call(const ArgumentList &arguments)
{
    const std::optional<double> a = numberOrZero(arguments, 0);
    const std::optional<double> b = numberOrZero(arguments, 1);
    if (a && b) {
        setResult(*a <= *b ? *a : *b);
    }
}

void RandomNumberFunc::call(const ArgumentList &arguments)
{
    const std::optional<double> number = numberOrZero(arguments, 0);
    if (!number) {
        return;
    }
    const auto drawn = static_cast<qint64>(m_generator());
    const qint64 n = integerPart32(*number);
    setResult(n == 0 ? 0 : static_cast<double>(drawn % n));
}

SinValueFunc::SinValueFunc(const QString &name)
    : StandardMathFunc(name, ::sin,
                       { QT_TRANSLATE_NOOP("messages", "Too less sin function arguments"),
                         QT_TRANSLATE_NOOP("messages", "Too many sin function arguments") },
                       QT_TRANSLATE_NOOP("messages", "Wrong sin function argument"))
{}

CosValueFunc::CosValueFunc(const QString &name)
    : StandardMathFunc(name, ::cos,
                       { QT_TRANSLATE_NOOP("messages", "Too less cos function arguments"),
                         QT_TRANSLATE_NOOP("messages", "Too many cos function arguments") },
                       QT_TRANSLATE_NOOP("messages", "Wrong cos function argument"))
{}

void StandardMathFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1, m_countTexts)) {
        return;
    }
    const Number number = arguments.tryNumber(0);
    if (number.ok) {
        setResult(m_operation(number.value));
    } else {
        report(m_wrongArgument);
    }
}

void PowerValueFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2,
                  { .tooMany = QT_TRANSLATE_NOOP("messages", "Two many power_value function arguments") })) {
        return;
    }
    const Number base = arguments.tryNumber(0);
    const Number exponent = arguments.tryNumber(1);
    if (base.ok && exponent.ok) {
        setResult(std::pow(base.value, exponent.value));
    } else {
        report(kWrongArgument);
    }
}
