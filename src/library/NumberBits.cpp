#include "library/NumberBits.h"

#include "model/TypeCodes.h"

#include <QtEndian>

#include <bit>

int numberWidth(int typeCode)
{
    switch (typeCode) {
    case CharType:
        return 1;
    case WideCharType:
        return 2;
    case IntegerType:
    case SIntegerType:
    case FloatType:
        return 4;
    case LongType:
    case SLongType:
    case DoubleType:
        return 8;
    default:
        return 0;
    }
}

quint64 integerBits(int typeCode, double number)
{
    constexpr double kBeyondSigned = 9223372036854775808.0; // LONG goes on to twice that
    if (typeCode == LongType && number >= kBeyondSigned) {
        return number >= 2 * kBeyondSigned ? ~quint64(0) : static_cast<quint64>(number);
    }
    const auto bits = static_cast<quint64>(integerPart(number));
    switch (typeCode) {
    case CharType:
        return static_cast<quint8>(bits);
    case WideCharType:
        return static_cast<quint16>(bits);
    case IntegerType:
        return static_cast<quint32>(bits);
    default:
        return bits;
    }
}

QByteArray bigEndianBytes(int typeCode, double number)
{
    const int width = numberWidth(typeCode);
    quint64 bits = 0;
    if (typeCode == DoubleType) {
        bits = std::bit_cast<quint64>(number);
    } else if (typeCode == FloatType) {
        bits = std::bit_cast<quint32>(static_cast<float>(number));
    } else {
        bits = integerBits(typeCode, number);
    }
    QByteArray bytes(8, 0);
    qToBigEndian(bits, bytes.data());
    return bytes.right(width);
}

double singleOf(std::string_view bytes)
{
    return std::bit_cast<float>(qFromBigEndian<quint32>(bytes.data()));
}

double doubleOf(std::string_view bytes)
{
    return std::bit_cast<double>(qFromBigEndian<quint64>(bytes.data()));
}
