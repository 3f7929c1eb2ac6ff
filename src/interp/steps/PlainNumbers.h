#pragma once
#include "interp/code/VariableCode.h"
#include "program/AST.h"

#include <QCoreApplication>

/// Steps that change nothing but a number: what they are templates over.

inline constexpr const char *kConstantStays =
    QT_TRANSLATE_NOOP("messages", "Reassign value to const data. Assignment will be ignored.");

struct LocalTarget
{
    int slot;
    double &get(Run &run) const { return run.frame[slot].number; }
};

struct StaticTarget
{
    double *storage;
    double &get(Run &) const { return *storage; }
};

/// Brings a number into the range of the target's type; the frequent types are known when this is compiled.
template <int Type>
struct FixedFit
{
    double operator()(double number) const { return normalised(Type, number); }
};

struct AnyFit
{
    int typeCode;
    double operator()(double number) const { return normalised(typeCode, number); }
};

/// Calls make(fit) with what brings a number into the range of a type.
template <class Make>
std::unique_ptr<Step> withFit(int typeCode, Make make)
{
    switch (typeCode) {
    case IntegerType:
        return make(FixedFit<IntegerType>{});
    case CharType:
        return make(FixedFit<CharType>{});
    case DoubleType:
        return make(FixedFit<DoubleType>{});
    default:
        return make(AnyFit{ typeCode });
    }
}

/// Whether a variable is nothing but its number: no level, no store and no message hangs on a change.
inline bool isPlainNumber(const VariableAccess &variable, const Preparer &preparer)
{
    if (variable.kind == VariableAccess::Kind::LocalNumber) {
        return true;
    }
    const BasicType *object = variable.object;
    return variable.kind == VariableAccess::Kind::StaticNumber && object->storageClass() == Volatile &&
           !object->isConst() && !preparer.mayMoveLevels(object->name());
}

/// Calls make(target) with the target that reaches a plain number.
template <class Make>
std::unique_ptr<Step> withTarget(const VariableAccess &variable, Make make)
{
    if (variable.kind == VariableAccess::Kind::LocalNumber) {
        return make(LocalTarget{ variable.slot });
    }
    return make(StaticTarget{ static_cast<Double *>(variable.object)->storage() });
}
