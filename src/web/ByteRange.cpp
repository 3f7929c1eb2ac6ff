#include "web/ByteRange.h"
#include "web/HttpText.h"

#include <algorithm>
#include <limits>

namespace {
constexpr std::string_view kUnit = "bytes=";

/// Decimal digits; any other text counts as 0, and a number that is too big as the biggest.
qint64 numberIn(std::string_view text)
{
    constexpr qint64 kMost = std::numeric_limits<qint64>::max();
    qint64 number = 0;
    for (const char digit : HttpText::trimmed(text)) {
        if (digit < '0' || digit > '9') {
            return 0;
        }
        const int value = digit - '0';
        number = number > (kMost - value) / 10 ? kMost : number * 10 + value;
    }
    return number;
}
} // namespace

bool ByteRange::isMeant(std::string_view header)
{
    return HttpText::trimmed(header).substr(0, kUnit.size()) == kUnit;
}

std::optional<ByteRange> ByteRange::parse(std::string_view header, qint64 fileSize)
{
    const std::string_view text = HttpText::trimmed(header).substr(kUnit.size());
    ByteRange range;
    const auto dashes = std::count(text.begin(), text.end(), '-');
    if (dashes <= 1) {
        const size_t dash = std::min(text.find('-'), text.size());
        range.first = numberIn(text.substr(0, dash));
        range.last = dashes == 1 ? numberIn(text.substr(dash + 1)) : 0;
    }
    if (range.last == 0 || range.last >= fileSize) {
        range.last = fileSize - 1;
    }
    return range.first <= range.last ? std::optional(range) : std::nullopt;
}
