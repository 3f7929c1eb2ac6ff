#pragma once
#include "model/Array.h"
#include "model/CustomTypeInfo.h"
#include "model/StructType.h"

/// The one copy rule: assignments, initialisers, arguments and event data all go through it.
/// Nothing is reported; a source that does not fit leaves the destination as it was.
void assignValue(const Place &destination, const ValueView &source);
void assignValue(BasicType &destination, const ValueView &source);
inline void assignValue(BasicType &destination, const BasicType &source)
{
    assignValue(destination, ValueView::of(&source));
}

/// A value's number: that of a Double, or of the first element of an array. False: it has none.
bool numberOf(const ValueView &value, double &number);

/// A value as bytes: those of an array, one byte of a number, none of anything else.
/// Borrowed from the value where possible, else built in hold.
std::string_view bytesOf(const ValueView &value, QByteArray &hold);

/// A new value of a type: a Double, a Device or a structure; nullptr for an unknown type.
/// \param depth  of the structure that it becomes a member of
std::unique_ptr<BasicType> makeValue(int typeCode, ProgramContext *program, int depth = 0);

/// The polymorphic value record used by containers and by the object file.
void writeValue(RecordWriter &writer, const BasicType *value);
std::unique_ptr<BasicType> readValue(RecordReader &reader); // nullptr: absent, or of an unknown kind

/// A value's own record, as the variable stores keep it (stream version 16).
QByteArray recordOf(const BasicType &value);
bool readRecord(BasicType &value, const QByteArray &record); // false: of another kind, the value stays
