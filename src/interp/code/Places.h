#pragma once
#include "interp/Run.h"
#include "model/StructType.h"

/// The ways in which code reaches a stored object, chosen once when the tree is prepared.

/// A global, or a local kept by its definition.
struct StaticObject
{
    BasicType *object;
    BasicType *get(Run &) const { return object; }
};

/// An object in the frame; nullptr when its definition failed.
struct LocalObject
{
    int slot;
    BasicType *get(Run &run) const { return run.frame[slot].object; }
};

/// An element's index as a 32-bit number; 0, which is outside every array, for what does not fit.
inline int elementIndex(double number)
{
    const qint64 index = integerPart(number);
    return index >= 1 && index <= std::numeric_limits<int>::max() ? static_cast<int>(index) : 0;
}
