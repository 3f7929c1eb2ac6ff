#include "web/HttpText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
constexpr std::array kDays{ "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
constexpr std::array kMonths{ "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };

char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

int hexDigit(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char letter = lower(digit);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

QByteArray bytes(std::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

QByteArray formDecoded(std::string_view text)
{
    QByteArray blanks = bytes(text);
    blanks.replace('+', ' ');
    return HttpText::percentDecoded({ blanks.constData(), static_cast<size_t>(blanks.size()) });
}

/// Calls use(piece) for every piece between separators.
template <class Use>
void split(std::string_view text, char separator, Use use)
{
    while (true) {
        const size_t end = text.find(separator);
        use(text.substr(0, end));
        if (end == std::string_view::npos) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

std::pair<std::string_view, std::string_view> nameAndValue(std::string_view piece)
{
    const size_t equals = piece.find('=');
    return equals == std::string_view::npos ? std::pair(piece, std::string_view())
                                            : std::pair(piece.substr(0, equals), piece.substr(equals + 1));
}

/// The text in quotes at the front of a value, its backslashes undone.
QByteArray unquoted(std::string_view value)
{
    QByteArray text;
    for (size_t at = 1; at < value.size() && value[at] != '"'; ++at) {
        if (value[at] == '\\' && at + 1 < value.size() && (value[at + 1] == '"' || value[at + 1] == '\\')) {
            ++at;
        }
        text += value[at];
    }
    return text;
}

/// Where a parameter's value that starts here ends: at a semicolon outside quotes.
size_t endOfValue(std::string_view text)
{
    bool isQuoted = false;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && isQuoted) {
            ++at;
        } else if (text[at] == '"') {
            isQuoted = !isQuoted;
        } else if (text[at] == ';' && !isQuoted) {
            return at;
        }
    }
    return text.size();
}
} // namespace

std::string_view HttpText::trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool HttpText::isSame(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

bool HttpText::startsWith(std::string_view text, std::string_view lowerCase)
{
    return isSame(text.substr(0, lowerCase.size()), lowerCase);
}

bool HttpText::isToken(std::string_view text)
{
    const auto isTokenByte = [](char letter) {
        const char small = lower(letter);
        return (small >= 'a' && small <= 'z') || (letter >= '0' && letter <= '9') ||
               (letter != 0 && std::strchr("!#$%&'*+-.^_`|~", letter) != nullptr);
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenByte);
}

bool HttpText::hasControls(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return (byte < 0x20 && byte != '\t') || byte == 0x7F;
    });
}

bool HttpText::listHas(std::string_view list, std::string_view lowerCaseWord)
{
    bool has = false;
    split(list, ',', [&](std::string_view word) { has = has || isSame(trimmed(word), lowerCaseWord); });
    return has;
}

std::optional<QByteArray> HttpText::parameter(std::string_view value, std::string_view lowerCaseName)
{
    value.remove_prefix(endOfValue(value)); // what it is; the parameters follow
    while (!value.empty()) {
        value.remove_prefix(1);
        const size_t end = endOfValue(value);
        const auto [name, text] = nameAndValue(value.substr(0, end));
        if (isSame(trimmed(name), lowerCaseName)) {
            const std::string_view plain = trimmed(text);
            return plain.substr(0, 1) == "\"" ? unquoted(plain) : bytes(plain);
        }
        value.remove_prefix(end);
    }
    return std::nullopt;
}

QByteArray HttpText::percentDecoded(std::string_view text)
{
    QByteArray decoded;
    decoded.reserve(static_cast<int>(text.size()));
    for (size_t at = 0; at < text.size(); ++at) {
        const int high = text[at] == '%' && at + 2 < text.size() ? hexDigit(text[at + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[at + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

HttpText::Fields HttpText::formFields(std::string_view text)
{
    Fields fields;
    split(text, '&', [&](std::string_view piece) {
        if (!piece.empty()) {
            const auto [name, value] = nameAndValue(piece);
            fields.insert(formDecoded(name), formDecoded(value));
        }
    });
    return fields;
}

HttpText::Fields HttpText::cookieFields(std::string_view text)
{
    Fields fields;
    split(text, ';', [&](std::string_view piece) {
        const auto [name, value] = nameAndValue(piece);
        if (const std::string_view plain = trimmed(name); !plain.empty()) {
            fields.insert(bytes(plain), bytes(trimmed(value)));
        }
    });
    return fields;
}

QByteArray HttpText::date(std::time_t seconds)
{
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[64];
    const int size = std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT",
                                   kDays[static_cast<size_t>(parts.tm_wday)], parts.tm_mday,
                                   kMonths[static_cast<size_t>(parts.tm_mon)], parts.tm_year + 1900, parts.tm_hour,
                                   parts.tm_min, parts.tm_sec);
    return QByteArray(text, size);
}

std::optional<std::time_t> HttpText::parseDate(std::string_view text)
{
    // Only the form that date() writes; a client sends back what it was given.
    std::tm parts{};
    char month[4] = {};
    char zone[4] = {};
    const QByteArray plain = bytes(trimmed(text));
    const int found = std::sscanf(plain.constData(), "%*3[A-Za-z], %2d %3s %4d %2d:%2d:%2d %3s", &parts.tm_mday, month,
                                  &parts.tm_year, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, zone);
    const auto known =
        std::find_if(kMonths.begin(), kMonths.end(), [&](const char *name) { return std::strcmp(name, month) == 0; });
    if (found != 7 || known == kMonths.end() || std::strcmp(zone, "GMT") != 0) {
        return std::nullopt;
    }
    parts.tm_mon = static_cast<int>(known - kMonths.begin());
    parts.tm_year -= 1900;
    return ::timegm(&parts);
}
