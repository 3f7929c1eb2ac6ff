#include "library/ConversionFunctions.h"

#include "base/Numbers.h"
#include "library/NumberBits.h"
#include "model/Values.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {
constexpr std::string_view kDigits = "0123456789";

/// The text from its first number on, with the sign right before it; empty when there is no digit.
std::string_view fromFirstNumber(std::string_view text)
{
    const size_t digit = text.find_first_of(kDigits);
    if (digit == text.npos) {
        return {};
    }
    const bool isSigned = digit > 0 && (text[digit - 1] == '-' || text[digit - 1] == '+');
    return text.substr(isSigned ? digit - 1 : digit);
}

/// How much of it a decimal number takes: a sign, digits, and a point with the digits behind it.
size_t decimalLength(std::string_view text)
{
    size_t end = std::min(text.find_first_not_of(kDigits, 1), text.size());
    if (end < text.size() && text[end] == '.') {
        end = std::min(text.find_first_not_of(kDigits, end + 1), text.size());
    }
    return end;
}

int firstInteger(std::string_view text)
{
    text = fromFirstNumber(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    int number = 0; // stays when 32 bits are too few
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

template <int base>
QByteArray integerText(auto number)
{
    std::array<char, 24> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), number, base);
    return QByteArray(text.data(), static_cast<int>(written.ptr - text.data()));
}

QByteArray decimalText(double number)
{
    return integerText<10>(integerPart(number));
}

QByteArray hexText(double number)
{
    return integerText<16>(static_cast<quint64>(integerPart(number))).toUpper();
}

QByteArray realText(double number)
{
    const double size = std::fabs(number);
    return QByteArray::number(number, size >= 0.0001 && size < 1000000 ? 'f' : 'E', 6);
}
} // namespace

void AToIFunc::call(const ArgumentList &arguments)
{
    setResult(firstInteger(arguments.value(0).bytes()));
}

void AToFFunc::call(const ArgumentList &arguments)
{
    Argument argument = arguments.value(0);
    const std::string_view text = fromFirstNumber(argument.bytes());
    const auto length = text.empty() ? 0 : static_cast<int>(decimalLength(text));
    setResult(QByteArray(text.data(), length).toDouble()); // independent of the locale
}

void HexToIFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    Argument argument = arguments.value(0);
    if (!argument.array()) {
        report(kWrongArgument);
        return;
    }
    const std::string_view text = argument.bytes();
    quint64 number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    setResult(isWhole ? static_cast<double>(number) : 0);
}

IToAFunc::IToAFunc(const QString &name)
    : NumberTextFunc(name, decimalText, nullptr)
{}

FToAFunc::FToAFunc(const QString &name)
    : NumberTextFunc(name, realText, kWrongArgument)
{}

IToHexFunc::IToHexFunc(const QString &name)
    : NumberTextFunc(name, hexText, kWrongArgument)
{}

void NumberTextFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    const Number number = arguments.tryNumber(0);
    if (number.ok) {
        setTextResult(viewOf(m_write(number.value)));
    } else if (m_noNumber) {
        report(m_noNumber);
    }
}

void TypeCastFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1,
                  { QT_TRANSLATE_NOOP("messages", "Tool less type_cast function arguments"),
                    QT_TRANSLATE_NOOP("messages", "Too may type_cast function arguments") })) {
        return;
    }
    const Argument argument = arguments.value(0);
    if (argument.view.isNone()) {
        return;
    }
    Double cast;
    assignValue(cast, argument.view); // a value that has no number leaves 0
    setResult(cast.value());
}

void RetypeFunc::call(const ArgumentList &arguments)
{
    const Argument argument = arguments.value(0);
    const Array *source = argument.array();
    if (!source) {
        return;
    }
    auto retyped = std::make_unique<Array>(m_typeCode);
    retyped->setLength(source->length());
    retyped->setMaxLength(source->length());
    for (int index = 1; index <= source->length(); ++index) {
        if (source->hasElement(index)) {
            assignValue(retyped->place(index), source->view(index));
        }
    }
    setResult(std::move(retyped));
}

void RawFunc::call(const ArgumentList &arguments)
{
    const Argument argument = arguments.value(0);
    const Array *array = argument.array();
    const ValueView value = array ? array->view(1) : argument.view;
    QByteArray bytes = value.isNumber() ? bigEndianBytes(value.typeCode, value.number) : QByteArray();
    if (m_order == ByteOrder::LittleEndian) {
        std::reverse(bytes.begin(), bytes.end());
    }
    setTextResult(viewOf(bytes));
}

void ArrayToRealFunc::call(const ArgumentList &arguments)
{
    const Argument argument = arguments.value(0);
    const Array *array = argument.array();
    const int width = numberWidth(m_typeCode);
    if (!array || array->length() < width) {
        return;
    }
    std::array<char, 8> bytes{};
    for (int i = 0; i < width; ++i) {
        bytes[static_cast<size_t>(i)] = static_cast<char>(integerPart(array->view(i + 1).number));
    }
    const std::string_view seen(bytes.data(), bytes.size());
    setResult(m_typeCode == FloatType ? singleOf(seen) : doubleOf(seen));
}

void RealToArrayFunc::call(const ArgumentList &arguments)
{
    if (const std::optional<double> number = numberOrZero(arguments, 0)) {
        setTextResult(viewOf(bigEndianBytes(m_typeCode, *number)));
    }
}
