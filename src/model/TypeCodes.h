#pragma once
#include "base/Numbers.h"

#include <QString>

/// Codes of the built-in types; any other code names a structure type of the program.
enum TypeCode : int {
    IntegerType = 10,
    SIntegerType = 11,
    LongType = 12,
    SLongType = 13,
    CharType = 14,
    WideCharType = 15,
    DoubleType = 16,
    FloatType = 17,
    DeviceType = 18,
};

enum StorageClass : int { Volatile = 100, NonVolatile = 101, Persistent = 102 };
enum Placement : int { StackVar = 103, LocalVar = 104 };

inline bool isNumericType(int code)
{
    return code >= IntegerType && code <= FloatType;
}
inline bool isBuiltInType(int code)
{
    return code >= IntegerType && code <= DeviceType;
}

QString builtInTypeName(int code); // empty for WIDECHAR and for codes that are not built in

/// A number as its type holds it: INTEGER modulo 2^32, CHAR modulo 2^8, FLOAT in single precision and so on.
/// DOUBLE and codes that are not numeric leave it unchanged. Idempotent.
inline double normalised(int typeCode, double number)
{
    switch (typeCode) {
    case IntegerType: {
        const qint64 whole = quickInteger(number);
        if (static_cast<double>(whole) == number && static_cast<quint64>(whole) <= 0xFFFFFFFFu) {
            return static_cast<double>(whole); // the common case; also turns -0 into 0
        }
        return static_cast<double>(static_cast<quint32>(integerPart(number)));
    }
    case SIntegerType:
        return static_cast<double>(static_cast<qint32>(static_cast<quint32>(integerPart(number))));
    case LongType:
        if (number >= 9223372036854775808.0) { // the upper half of the unsigned range, where integers are not exact
            return std::min(number, 18446744073709551615.0);
        }
        return static_cast<double>(static_cast<quint64>(integerPart(number)));
    case SLongType:
        return static_cast<double>(integerPart(number));
    case CharType:
        return static_cast<double>(static_cast<quint8>(integerPart(number)));
    case WideCharType:
        return static_cast<double>(static_cast<quint16>(integerPart(number)));
    case FloatType:
        return static_cast<double>(static_cast<float>(number));
    default:
        return number;
    }
}
