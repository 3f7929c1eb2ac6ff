#pragma once
#include <QByteArray>

#include <string_view>

/// Bytes that a number of a type takes on the wire: CHAR 1 … DOUBLE 8; 0 for a type that is not numeric.
int numberWidth(int typeCode);

/// An integer type's number as its two's complement, zero-extended from the type's width but for the signed types.
quint64 integerBits(int typeCode, double number);

/// A number in the width of its type, most significant byte first: two's complement, or IEEE 754 for FLOAT and DOUBLE.
/// Empty for a type that is not numeric.
QByteArray bigEndianBytes(int typeCode, double number);

/// The IEEE 754 number of 4 or 8 bytes, most significant first; further bytes are not looked at.
double singleOf(std::string_view bytes);
double doubleOf(std::string_view bytes);
