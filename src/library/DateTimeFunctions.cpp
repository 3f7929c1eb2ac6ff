#include "library/DateTimeFunctions.h"

#include <QDate>
#include <QTime>

#include <array>

namespace {
/// Numbers of two digits each with the separator between them; nothing when the text is anything else.
template <size_t count>
std::optional<std::array<int, count>> twoDigitNumbers(std::string_view text, char separator)
{
    if (text.size() != 3 * count - 1) {
        return std::nullopt;
    }
    std::array<int, count> numbers{};
    for (size_t i = 0; i < text.size(); ++i) {
        const char byte = text[i];
        if (i % 3 == 2 ? byte != separator : byte < '0' || byte > '9') {
            return std::nullopt;
        }
        if (i % 3 != 2) {
            numbers[i / 3] = numbers[i / 3] * 10 + (byte - '0');
        }
    }
    return numbers;
}

QDate dateOf(std::string_view text)
{
    const auto parts = twoDigitNumbers<3>(text, '/');
    return parts ? QDate(2000 + (*parts)[2], (*parts)[0], (*parts)[1]) : QDate();
}

QTime timeOf(std::string_view text)
{
    if (const auto parts = twoDigitNumbers<3>(text, ':')) {
        return QTime((*parts)[0], (*parts)[1], (*parts)[2]);
    }
    const auto parts = twoDigitNumbers<2>(text, ':');
    return parts ? QTime((*parts)[0], (*parts)[1]) : QTime();
}
} // namespace

void DateFieldFunc::call(const ArgumentList &arguments)
{
    setResult(m_field(dateOf(arguments.value(0).bytes()))); // every field of an invalid date is 0
}

void TimeFieldFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    Argument argument = arguments.value(0);
    if (!argument.array()) {
        report(kArgumentIsError);
        return;
    }
    const QTime time = timeOf(argument.bytes());
    if (time.isValid()) {
        setResult((time.*m_field)());
    }
}
