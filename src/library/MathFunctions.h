#pragma once
#include "library/LibraryFunction.h"

#include <random>

/// abs_value(number)
class AbsValueFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// max_value(a, b), min_value(a, b)
class MaxValueFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

class MinValueFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// random_number(n): from 0 to below n. The sequence is the same in every run of the process.
class RandomNumberFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;

private:
    std::minstd_rand m_generator; // 31 bits; seeded always the same, so that a run can be repeated
};

/// A standard function of one number; out of its domain it gives NaN or an infinity.
class StandardMathFunc : public QuietFunction
{
public:
    using Operation = double (*)(double);
    StandardMathFunc(const QString &name, Operation operation, const CountTexts &countTexts = {},
                     const char *wrongArgument = kWrongArgument)
        : QuietFunction(name)
        , m_operation(operation)
        , m_countTexts(countTexts)
        , m_wrongArgument(wrongArgument)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Operation m_operation;
    CountTexts m_countTexts;
    const char *m_wrongArgument;
};

class SinValueFunc : public StandardMathFunc // radians
{
public:
    explicit SinValueFunc(const QString &name);
};

class CosValueFunc : public StandardMathFunc // radians
{
public:
    explicit CosValueFunc(const QString &name);
};

/// power_value(base, exponent)
class PowerValueFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};
