#pragma once
#include "interp/Builtin.h"

#include <QCoreApplication>
#include <QVector>

#include <optional>
#include <string_view>

/// What a built-in says to a wrong number of arguments. %1 stands for its name.
struct CountTexts
{
    const char *tooFew = QT_TRANSLATE_NOOP("messages", "Too less %1 function arguments");
    const char *tooMany = QT_TRANSLATE_NOOP("messages", "Too many %1 function arguments");
};

// What most built-ins say to a wrong argument.
inline constexpr const char *kWrongArgument = QT_TRANSLATE_NOOP("messages", "Wrong %1 function argument");
inline constexpr const char *kWrongArgumentOf = QT_TRANSLATE_NOOP("messages", "Wrong argument of %1 function");
inline constexpr const char *kArgumentIsError = QT_TRANSLATE_NOOP("messages", "argument of %1 function is error");

/// The base of the library's built-ins: how they check and read their arguments.
class LibraryFunction : public BuiltinFunction
{
public:
    using BuiltinFunction::BuiltinFunction;

protected:
    /// Whether the call has that many arguments. Reports when not; a call without an argument list is passed over in
    /// silence.
    bool hasCount(const ArgumentList &arguments, int count, const CountTexts &texts = {}) const
    {
        return hasCount(arguments, count, count, texts);
    }
    bool hasCount(const ArgumentList &arguments, int least, int most, const CountTexts &texts = {}) const;

    void setStatus(const ArgumentList &arguments, double status);        // a SLONG result; one below 0 is a failure
    void noteFailed(const ArgumentList &arguments, double status) const; // in the trace
    void report(const char *sourceText) const; // translated, %1 replaced by this built-in's name
};

/// A built-in that computes its result from its arguments and does nothing else.
class QuietFunction : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    bool isQuiet() const final { return true; }
};

/// A number as an integer by truncation, without the small step of the integer rule; kept within 32 bits, NaN gives 0.
int truncated(double number);

/// An argument that may be left out: 0 then; nothing when it is there and is no number.
std::optional<double> numberOrZero(const ArgumentList &arguments, int index);

inline std::string_view viewOf(const QByteArray &bytes)
{
    return { bytes.constData(), static_cast<size_t>(bytes.size()) };
}

/// An argument as bytes of its own: those of an array, one byte of a number, none of anything else.
QByteArray bytesArgument(const ArgumentList &arguments, int index);

/// The same as text, up to the first zero byte: file names, keys.
QString textArgument(const ArgumentList &arguments, int index);

/// Channels: one number, or an array of numbers. Nothing for anything else and for an empty or endless array.
std::optional<QVector<qint64>> channelsArgument(const ArgumentList &arguments, int index);

/// The devices of an argument: one device, or an array of them; other elements are passed over.
std::vector<DeviceAddress> devicesArgument(const ArgumentList &arguments, int index);

/// The stored array that an argument names, or else the array that it evaluates to.
/// Only the first may be changed; text is what either holds. Use both before anything else is evaluated.
struct ArrayArgument
{
    ArrayArgument(const ArgumentList &arguments, int index);

    Argument value;     // keeps a value that is no variable
    const Array *array; // nullptr: no array at all
    Array *variable;    // the same where it may be changed; nullptr: the argument names no variable
};
