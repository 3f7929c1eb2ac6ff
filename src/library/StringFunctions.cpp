#include "library/StringFunctions.h"

#include "base/Numbers.h"
#include "library/FormatPattern.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {
constexpr int kLongestSet = 1 << 24; // elements; a mistaken length must not make every later loop endless

/// Where sought first stands in text at or after from (from 0); -1: nowhere.
qint64 positionOf(std::string_view sought, std::string_view text, qint64 from)
{
    if (from > static_cast<qint64>(text.size())) {
        return -1;
    }
    if (sought.empty()) {
        return from;
    }
    const std::string_view rest = text.substr(static_cast<size_t>(from));
    if (rest.size() < sought.size()) {
        return -1; // nothing may have no address at all, which memmem must not see
    }
    const void *found = ::memmem(rest.data(), rest.size(), sought.data(), sought.size());
    return found ? static_cast<const char *>(found) - text.data() : -1;
}

/// A start position: absent and below 1 mean 1. Nothing when it is no number.
std::optional<int> startArgument(const ArgumentList &arguments, int index)
{
    if (!arguments.has(index)) {
        return 1;
    }
    const Number start = arguments.tryNumber(index);
    return start.ok ? std::optional(std::max(integerPart32(start.value), 1)) : std::nullopt;
}

bool isLatin1Letter(char byte, char first, char last, char noLetter)
{
    const auto code = static_cast<quint8>(byte);
    return code >= static_cast<quint8>(first) && code <= static_cast<quint8>(last) && byte != noLetter;
}

char lowerLatin1(char byte)
{
    const bool isUpper = (byte >= 'A' && byte <= 'Z') || isLatin1Letter(byte, '\xC0', '\xDE', '\xD7');
    return isUpper ? static_cast<char>(byte + 0x20) : byte;
}

char upperLatin1(char byte)
{
    const bool isLower = (byte >= 'a' && byte <= 'z') || isLatin1Letter(byte, '\xE0', '\xFE', '\xF7');
    return isLower ? static_cast<char>(byte - 0x20) : byte;
}
} // namespace

void ArraySizeFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    const Argument argument = arguments.value(0);
    if (const Array *array = argument.array()) {
        setResult((array->*m_size)(), SIntegerType);
    } else if (m_noArray) {
        report(m_noArray);
    }
}

/// A length beyond the maximum is cut to it: what is further out could never be stored.
void SetLengthArrayFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() != 2) {
        return;
    }
    const Number length = arguments.tryNumber(1);
    Array *array = arguments.arrayVariable(0);
    if (array && length.ok) {
        const int most = array->maxLength() > 0 ? array->maxLength() : kLongestSet;
        array->setLength(std::min({ truncated(length.value), most, kLongestSet }));
        arguments.storeChanged(0);
    }
}

void StringEndFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2)) {
        return;
    }
    Argument text = arguments.value(0);
    const Number count = arguments.tryNumber(1);
    if (!text.array() || !count.ok) {
        report(m_wrongArgument);
        return;
    }
    const std::string_view bytes = text.bytes();
    const auto taken = std::min(static_cast<size_t>(std::max(integerPart32(count.value), 0)), bytes.size());
    setTextResult(bytes.substr(m_end == End::Left ? 0 : bytes.size() - taken, taken));
}

void MidStringFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2, 3)) {
        return;
    }
    Argument text = arguments.value(0);
    const Number startNumber = arguments.tryNumber(1);
    const Number countNumber = arguments.tryNumber(2);
    if (!text.array() || !startNumber.ok || (arguments.has(2) && !countNumber.ok)) {
        report(kWrongArgumentOf);
        return;
    }
    const std::string_view bytes = text.bytes();
    const auto length = static_cast<qint64>(bytes.size());
    const qint64 start = integerPart32(startNumber.value);
    const qint64 count = arguments.has(2) ? integerPart32(countNumber.value) : length + 1 - start;
    const qint64 offset = std::max<qint64>(start, 1) - 1;
    if (offset > length) {
        setTextResult({});
        return;
    }
    setTextResult(bytes.substr(static_cast<size_t>(offset), count < 0 ? bytes.npos : static_cast<size_t>(count)));
}

void FindStringFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2, 3)) {
        return;
    }
    Argument text = arguments.value(0);
    Argument sought = arguments.value(1);
    const std::optional<int> start = startArgument(arguments, 2);
    if (!text.array() || !sought.array() || !start) {
        report(kWrongArgumentOf);
        return;
    }
    setResult(static_cast<double>(1 + positionOf(sought.bytes(), text.bytes(), *start - 1)));
}

void RemoveStringFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2, 3)) {
        return;
    }
    Argument soughtValue = arguments.value(1);
    const bool hasSought = soughtValue.array() != nullptr;
    const std::string sought(soughtValue.bytes()); // of its own: what names the variable may run the program
    const std::optional<int> start = startArgument(arguments, 2);
    const ArrayArgument text(arguments, 0);
    if (!text.array || !hasSought || !start) {
        report(kWrongArgumentOf);
        return;
    }
    QByteArray hold;
    const std::string_view bytes = text.array->bytes(hold);
    const qint64 from = *start - 1;
    const qint64 found = positionOf(sought, bytes, from);
    if (found < 0) {
        setTextResult({});
        return;
    }
    const auto end = static_cast<size_t>(found) + sought.size();
    setTextResult(bytes.substr(static_cast<size_t>(from), end - static_cast<size_t>(from)));
    if (!text.variable || end == static_cast<size_t>(from)) {
        return;
    }
    if (from == 0 && static_cast<int>(bytes.size()) == text.variable->length()) {
        text.variable->dropFront(static_cast<int>(end));
    } else {
        std::string kept(bytes.substr(0, static_cast<size_t>(from)));
        kept += bytes.substr(end);
        text.variable->assignBytes(kept);
    }
    arguments.storeChanged(0);
}

void CompareStringFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() != 2) {
        return;
    }
    Argument left = arguments.value(0);
    Argument right = arguments.value(1);
    const auto matches = [](char a, char b) { return a == b || a == '?' || b == '?'; };
    const std::string_view a = left.bytes();
    const std::string_view b = right.bytes();
    setResult(left.array() && right.array() && std::equal(a.begin(), a.end(), b.begin(), b.end(), matches) ? 1 : 0);
}

LowerStringFunc::LowerStringFunc(const QString &name)
    : StringCaseFunc(name, lowerLatin1)
{}

UpperStringFunc::UpperStringFunc(const QString &name)
    : StringCaseFunc(name, upperLatin1)
{}

void StringCaseFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    Argument text = arguments.value(0);
    if (!text.array()) {
        report(kWrongArgumentOf);
        return;
    }
    std::string bytes(text.bytes());
    std::transform(bytes.begin(), bytes.end(), bytes.begin(), m_convert);
    setTextResult(bytes);
}

void GetBufferCharFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    const ArrayArgument buffer(arguments, 0);
    if (!buffer.array) {
        report(kArgumentIsError);
        return;
    }
    const ValueView first = buffer.array->length() > 0 ? buffer.array->view(1) : ValueView{};
    if (!first.isNumber()) {
        return;
    }
    const auto byte = static_cast<char>(integerPart(first.number));
    setTextResult({ &byte, 1 });
    if (buffer.variable) {
        buffer.variable->dropFront(1);
        arguments.storeChanged(0);
    }
}

void GetBufferStringFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2)) {
        return;
    }
    const Number number = arguments.tryNumber(1);
    const ArrayArgument buffer(arguments, 0);
    if (!buffer.array || !number.ok) {
        report(kArgumentIsError);
        return;
    }
    const int count = std::max(truncated(number.value), 0);
    QByteArray hold;
    setTextResult(buffer.array->bytes(hold).substr(0, static_cast<size_t>(count)));
    if (buffer.variable && count > 0) {
        buffer.variable->dropFront(count);
        arguments.storeChanged(0);
    }
}

void FormatFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 2,
                  { QT_TRANSLATE_NOOP("messages", "Too less arguments for format function"),
                    QT_TRANSLATE_NOOP("messages", "Too many arguments for format function") })) {
        return;
    }
    constexpr const char *kIllegal = QT_TRANSLATE_NOOP("messages", "Illegal format string");
    Argument patternValue = arguments.value(0);
    if (!patternValue.array()) {
        report(kIllegal);
        return;
    }
    const std::optional<FormatPattern> pattern = FormatPattern::parse(patternValue.bytes());
    const Number number = arguments.tryNumber(1);
    if (!number.ok) {
        report(QT_TRANSLATE_NOOP("messages", "Wrong data to format"));
        return;
    }
    const int typeCode = arguments.value(1).view.typeCode;
    if (!isNumericType(typeCode)) {
        setTextResult({});
        return;
    }
    const std::optional<QString> text = pattern ? pattern->text(number.value, typeCode) : std::nullopt;
    if (!text) {
        report(kIllegal);
        return;
    }
    setTextResult(viewOf(text->toUtf8()));
}
