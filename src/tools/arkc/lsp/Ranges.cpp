#include "tools/arkc/lsp/Ranges.h"

#include <algorithm>

namespace arkc {
namespace {
Json positionOf(const Sources::File &file, int offset)
{
    const auto next = std::upper_bound(file.lineStarts.begin(), file.lineStarts.end(), offset);
    Json position;
    position["line"] = static_cast<int>(next - file.lineStarts.begin()) - 1;
    position["character"] = offset - *std::prev(next);
    return position;
}

/// So many characters further, but not past the line's end.
int advanced(const QString &text, int offset, int characters)
{
    for (; characters > 0 && offset < text.size() && text.at(offset) != QLatin1Char('\n'); --characters) {
        offset += text.at(offset).isHighSurrogate() ? 2 : 1;
    }
    return std::min(offset, text.size());
}
} // namespace

int offsetOf(const QString &text, const Json &position)
{
    int start = 0;
    for (int line = numberOf(member(position, "line")); line > 0; --line) {
        start = text.indexOf(QLatin1Char('\n'), start) + 1;
        if (start == 0) {
            return text.size();
        }
    }
    const int end = text.indexOf(QLatin1Char('\n'), start);
    const int length = (end < 0 ? text.size() : end) - start;
    return start + std::clamp(numberOf(member(position, "character")), 0, length);
}

/// Made piece by piece: an outline has thousands, and a list of initial values is copied.
Json rangeOf(const Sources::File &file, int first, int last)
{
    Json range;
    range["start"] = positionOf(file, first);
    range["end"] = positionOf(file, last);
    return range;
}

Json problemOf(const Sources::File &file, const Diagnostic &diagnostic)
{
    const int lines = static_cast<int>(file.lineStarts.size());
    const int line = std::clamp(diagnostic.line, 1, lines);
    const int first = advanced(file.text, file.lineStarts[static_cast<size_t>(line) - 1], diagnostic.column - 1);
    return { { "range", rangeOf(file, first, advanced(file.text, first, diagnostic.length)) },
             { "severity", diagnostic.isError() ? 1 : 2 },
             { "code", diagnostic.code },
             { "source", "arkc" },
             { "message", diagnostic.message } };
}
} // namespace arkc
