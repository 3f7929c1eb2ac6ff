#pragma once
#include "library/LibraryFunction.h"

// Strings are CHAR arrays, read and built as bytes. The built-ins that take bytes from a variable are the ones that
// consume a receive buffer: their cost is what they take, not what is left.

/// length_string, length_array, max_length_string, max_length_array: one size of an array. Without a declared size an
/// array can hold what it holds.
class ArraySizeFunc : public QuietFunction
{
public:
    using Size = int (Array::*)() const;
    ArraySizeFunc(const QString &name, Size size, const char *noArray = nullptr)
        : QuietFunction(name)
        , m_size(size)
        , m_noArray(noArray)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Size m_size;
    const char *m_noArray; // the text for anything but an array; nullptr: silence
};

/// set_length_string(variable, length) and set_length_array: nothing is reported and nothing given.
class SetLengthArrayFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

using SetLengthStringFunc = SetLengthArrayFunc;

/// left_string(string, count), right_string(string, count): a string and a number give a part of the string.
class StringEndFunc : public QuietFunction
{
public:
    enum class End { Left, Right };
    StringEndFunc(const QString &name, End end, const char *wrongArgument)
        : QuietFunction(name)
        , m_end(end)
        , m_wrongArgument(wrongArgument)
    {}
    void call(const ArgumentList &arguments) override;

private:
    End m_end;
    const char *m_wrongArgument;
};

class LeftStringFunc : public StringEndFunc
{
public:
    explicit LeftStringFunc(const QString &name)
        : StringEndFunc(name, End::Left, kWrongArgumentOf)
    {}
};

class RightStringFunc : public StringEndFunc
{
public:
    explicit RightStringFunc(const QString &name)
        : StringEndFunc(name, End::Right,
                        QT_TRANSLATE_NOOP("messages", "the argument of right_string function is error"))
    {}
};

/// mid_string(string, start [, count])
class MidStringFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// find_string(string, sought [, start]): the position from 1, or 0.
class FindStringFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// remove_string(variable, sought [, start]): gives the bytes from start to the end of what is sought and takes them
/// out of the variable.
class RemoveStringFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// compare_string(a, b): 1 when they are equal, '?' on either side standing for any byte.
class CompareStringFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// lower_string(string), upper_string(string): by the case rules of Latin-1, each byte by itself.
class StringCaseFunc : public QuietFunction
{
public:
    StringCaseFunc(const QString &name, char (*convert)(char))
        : QuietFunction(name)
        , m_convert(convert)
    {}
    void call(const ArgumentList &arguments) override;

private:
    char (*m_convert)(char);
};

class LowerStringFunc : public StringCaseFunc
{
public:
    explicit LowerStringFunc(const QString &name);
};

class UpperStringFunc : public StringCaseFunc
{
public:
    explicit UpperStringFunc(const QString &name);
};

/// get_buffer_char(variable): gives the first character and takes it out.
class GetBufferCharFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// get_buffer_string(variable, count): gives the first count bytes and takes them out.
class GetBufferStringFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// format(pattern, number): the text of one printf-style conversion that fits the number's type.
class FormatFunc : public LibraryFunction // the number is evaluated twice, so this is not quiet
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};
