#include "library/FormatPattern.h"

#include "library/NumberBits.h"
#include "model/TypeCodes.h"

#include <algorithm>

namespace {
constexpr std::string_view kFlags = "-+ #0";
constexpr std::string_view kLengths = "hlqjztL";
constexpr std::string_view kIntegerConversions = "diuoxXc";
constexpr std::string_view kRealConversions = "eEfFgGaA";

bool isOneOf(std::string_view set, char byte)
{
    return set.find(byte) != std::string_view::npos;
}

/// Takes the bytes of a set from the front of rest.
std::string_view takeWhile(std::string_view &rest, std::string_view set)
{
    const size_t count = std::min(rest.find_first_not_of(set), rest.size());
    const std::string_view taken = rest.substr(0, count);
    rest.remove_prefix(count);
    return taken;
}

/// Takes digits; false when their number is too large.
bool takeNumber(std::string_view &rest, QByteArray &taken)
{
    const std::string_view digits = takeWhile(rest, "0123456789");
    const QByteArray text(digits.data(), static_cast<int>(digits.size()));
    taken += text;
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return digits.empty() || (isNumber && number <= FormatPattern::kMostDigits);
}

QString latin1(std::string_view bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

/// Plain text up to the next conversion, whose percent sign is taken; nothing when there is none.
std::optional<QString> takeText(std::string_view &rest, QString &plain)
{
    while (true) {
        const size_t sign = rest.find('%');
        plain += latin1(rest.substr(0, sign));
        if (sign == std::string_view::npos) {
            rest = {};
            return std::nullopt;
        }
        rest.remove_prefix(sign + 1);
        if (rest.empty() || rest.front() != '%') {
            return plain;
        }
        plain += QLatin1Char('%');
        rest.remove_prefix(1);
    }
}
} // namespace

std::optional<FormatPattern> FormatPattern::parse(std::string_view rest)
{
    FormatPattern pattern;
    if (!takeText(rest, pattern.m_before)) {
        return std::nullopt;
    }
    const std::string_view flags = takeWhile(rest, kFlags);
    pattern.m_flags = '%' + QByteArray(flags.data(), static_cast<int>(std::min<size_t>(flags.size(), 8)));
    if (!takeNumber(rest, pattern.m_flags)) {
        return std::nullopt;
    }
    if (!rest.empty() && rest.front() == '.') {
        rest.remove_prefix(1);
        pattern.m_flags += '.';
        if (!takeNumber(rest, pattern.m_flags)) {
            return std::nullopt;
        }
    }
    const std::string_view length = takeWhile(rest, kLengths);
    if (length.size() > 2 || rest.empty()) {
        return std::nullopt;
    }
    pattern.m_narrowBits = length == "h" ? 16 : length == "hh" ? 8 : 64;
    pattern.m_conversion = rest.front();
    rest.remove_prefix(1);
    if (!isOneOf(kIntegerConversions, pattern.m_conversion) && !isOneOf(kRealConversions, pattern.m_conversion)) {
        return std::nullopt;
    }
    if (takeText(rest, pattern.m_after)) {
        return std::nullopt; // a second conversion
    }
    return pattern;
}

std::optional<QString> FormatPattern::text(double number, int typeCode) const
{
    const bool isReal = typeCode == DoubleType || typeCode == FloatType;
    if (isReal != isOneOf(kRealConversions, m_conversion)) {
        return std::nullopt;
    }
    if (isReal) {
        return m_before + QString::asprintf((m_flags + m_conversion).constData(), normalised(typeCode, number)) +
               m_after;
    }
    const int width = std::max(numberWidth(typeCode) * 8, 32); // smaller types are promoted
    return m_before + integerText(integerBits(typeCode, number), std::min(m_narrowBits, width)) + m_after;
}

QString FormatPattern::integerText(quint64 bits, int width) const
{
    if (m_conversion == 'c') { // one character, by its code
        return QString::asprintf((m_flags + 'c').constData(), static_cast<int>(bits & 0xFFFF));
    }
    const QByteArray format = m_flags + "ll" + m_conversion;
    const int dropped = 64 - width;
    if (m_conversion == 'd' || m_conversion == 'i') {
        return QString::asprintf(format.constData(), static_cast<long long>(bits << dropped) >> dropped);
    }
    return QString::asprintf(format.constData(), static_cast<unsigned long long>(bits << dropped >> dropped));
}
