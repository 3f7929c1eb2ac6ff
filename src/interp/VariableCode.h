#pragma once
#include "interp/Places.h"
#include "interp/Preparer.h"

#include <QString>

class VarExpression;

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

VariableAccess findVariable(const Preparer &preparer, const QString &name);

/// An array as the base of an element access: the object and whether all its elements are known to be numbers.
struct ArrayBase
{
    VariableAccess variable;    // of a plain variable
    std::unique_ptr<Code> code; // of anything else
    bool hasNumberElements = false;
};

ArrayBase prepareArrayBase(Preparer &preparer, const std::unique_ptr<Expression> &node);
