#pragma once
#include "interp/Preparer.h"
#include "interp/code/Places.h"
#include "model/Values.h"

#include <QString>

#include <optional>

/// How a variable is reached where its name stands.
struct VariableAccess
{
    enum class Kind { Unknown, LocalNumber, StaticNumber, LocalObject, StaticObject };
    Kind kind = Kind::Unknown;
    int slot = 0;
    int typeCode = 0;
    BasicType *object = nullptr; // Static*: the Double, or the object
    bool isMatrix = false;       // an array of arrays
};

VariableAccess findVariable(Preparer &preparer, const QString &name);

/// The array that a plain variable names, when all its elements are known to be numbers.
std::optional<VariableAccess> findNumberArray(Preparer &preparer, const Expression *node);

/// Code for a variable; name stands in the message of one that is unknown.
std::unique_ptr<Code> makeVariableCode(const VariableAccess &variable, const QString &name);

inline Number numberIn(const ValueView &value)
{
    Number number;
    number.ok = numberOf(value, number.value);
    return number;
}
