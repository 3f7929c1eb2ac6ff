#pragma once
#include "library/LibraryFunction.h"

/// atoi(text), atol(text): the first signed integer in the text; 0 when there is none or it has more than 32 bits.
class AToIFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

using AToLFunc = AToIFunc;

/// atof(text): the first decimal number in the text; it begins with a digit or its sign.
class AToFFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// hextoi(text): the whole text as an unsigned hexadecimal number of 64 bits; 0 when it is none.
class HexToIFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// itoa(number), ftoa(number), itohex(number): the number as text.
class NumberTextFunc : public QuietFunction
{
public:
    using Writer = QByteArray (*)(double number);
    NumberTextFunc(const QString &name, Writer write, const char *noNumber)
        : QuietFunction(name)
        , m_write(write)
        , m_noNumber(noNumber)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Writer m_write;
    const char *m_noNumber; // the text for an argument that is no number; nullptr: silence
};

class IToAFunc : public NumberTextFunc
{
public:
    explicit IToAFunc(const QString &name);
};

class FToAFunc : public NumberTextFunc
{
public:
    explicit FToAFunc(const QString &name);
};

class IToHexFunc : public NumberTextFunc
{
public:
    explicit IToHexFunc(const QString &name);
};

/// type_cast(value): the value assigned to a DOUBLE.
class TypeCastFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// ch_to_wc(string), wc_to_ch(array): the same numbers in elements of the other character type.
class RetypeFunc : public QuietFunction
{
public:
    RetypeFunc(const QString &name, int typeCode)
        : QuietFunction(name)
        , m_typeCode(typeCode)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int m_typeCode;
};

enum class ByteOrder { BigEndian, LittleEndian };

/// raw_be(value), raw_le(value): the bytes of a number, or of an array's first element, in the width of its type.
class RawFunc : public QuietFunction
{
public:
    RawFunc(const QString &name, ByteOrder order)
        : QuietFunction(name)
        , m_order(order)
    {}
    void call(const ArgumentList &arguments) override;

private:
    ByteOrder m_order;
};

/// array_to_float(array), array_to_double(array): the IEEE 754 number in the first 4 or 8 elements.
class ArrayToRealFunc : public QuietFunction
{
public:
    ArrayToRealFunc(const QString &name, int typeCode)
        : QuietFunction(name)
        , m_typeCode(typeCode)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int m_typeCode;
};

/// float_to_array(number), double_to_array(number): its IEEE 754 bytes, most significant first.
class RealToArrayFunc : public QuietFunction
{
public:
    RealToArrayFunc(const QString &name, int typeCode)
        : QuietFunction(name)
        , m_typeCode(typeCode)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int m_typeCode;
};
