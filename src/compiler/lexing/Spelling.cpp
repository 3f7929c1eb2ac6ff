#include "compiler/lexing/Spelling.h"

#include <algorithm>
#include <array>

namespace {
struct OtherWord
{
    const char *word;
    const char *advice;
};

// What those who know another language write first.
constexpr OtherWord kOtherWords[] = {
    { "elif", "else if (…) { … }" },
    { "elsif", "else if (…) { … }" },
    { "elseif", "else if (…) { … }" },
    { "endif", "braces: if (…) { … }" },
    { "then", "braces: if (…) { … }" },
    { "foreach", "for (i = 1; i <= length_array(list); i++) { … }" },
    { "do", "while (…) { … }" },
    { "print", "send_string device, text; arkctl monitor shows it" },
    { "printf", "send_string device, text; arkctl monitor shows it" },
    { "println", "send_string device, text; arkctl monitor shows it" },
    { "echo", "send_string device, text; arkctl monitor shows it" },
    { "sleep", "wait 10 { … }: the block runs 1 s later" },
    { "delay", "wait 10 { … }: the block runs 1 s later" },
    { "string", "char name[100]" },
    { "str", "char name[100]" },
    { "int", "integer (unsigned) or sinteger" },
    { "bool", "integer, with true and false" },
    { "boolean", "integer, with true and false" },
    { "byte", "char" },
    { "var", "the type: integer, double or char name[100]" },
    { "let", "the type: integer, double or char name[100]" },
    { "auto", "the type: integer, double or char name[100]" },
    { "def", "function or routine" },
    { "func", "function or routine" },
    { "void", "routine name(…) { … }" },
    { "null", "null_str for an empty text, 0 for a number" },
    { "strlen", "length_string(text)" },
    { "len", "length_string(text) or length_array(list)" },
    { "substr", "mid_string(text, start, count)" },
    { "substring", "mid_string(text, start, count)" },
    { "indexof", "find_string(text, wanted)" },
    { "strcat", "\"text, 'more'\"" },
    { "sprintf", "format('%d', n) or \"'text', itoa(n)\"" },
};

/// Insertions, deletions, replacements and swaps of neighbours that make one text of the other; bound when it takes as
/// many or more.
int editDistance(const QString &from, const QString &to, int bound)
{
    constexpr int kLongest = 96;
    std::array<std::array<int, kLongest + 1>, 3> rows{};
    if (to.size() > kLongest) {
        return bound;
    }
    for (int k = 0; k <= to.size(); ++k) {
        rows[0][static_cast<size_t>(k)] = k;
    }
    for (int i = 1; i <= from.size(); ++i) {
        const auto &beforeLast = rows[static_cast<size_t>(i + 1) % 3];
        const auto &last = rows[static_cast<size_t>(i - 1) % 3];
        auto &row = rows[static_cast<size_t>(i) % 3];
        row[0] = i;
        int least = i;
        for (int k = 1; k <= to.size(); ++k) {
            const auto column = static_cast<size_t>(k);
            const int change = from.at(i - 1) == to.at(k - 1) ? 0 : 1;
            row[column] = std::min({ last[column] + 1, row[column - 1] + 1, last[column - 1] + change });
            if (i > 1 && k > 1 && from.at(i - 1) == to.at(k - 2) && from.at(i - 2) == to.at(k - 1)) {
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
            }
            least = std::min(least, row[column]);
        }
        if (least >= bound) {
            return bound;
        }
    }
    return rows[static_cast<size_t>(from.size()) % 3][static_cast<size_t>(to.size())];
}
} // namespace

QString otherLanguageAdvice(const QString &word)
{
    const auto *const found =
        std::find_if(std::begin(kOtherWords), std::end(kOtherWords), [&word](const OtherWord &other) {
            return word.compare(QLatin1String(other.word), Qt::CaseInsensitive) == 0;
        });
    return found != std::end(kOtherWords) ? QString::fromUtf8(found->advice) : QString();
}

QString closestName(const QString &written, const QStringList &candidates)
{
    constexpr int kLongest = 64; // longer names are no slips of the finger
    if (written.size() > kLongest || written.size() < 3) {
        return {};
    }
    const QString wanted = written.toUpper();
    QString best;
    int bestDistance = std::max(1, written.size() / 3) + 1;
    for (const QString &candidate : candidates) {
        if (std::abs(candidate.size() - written.size()) >= bestDistance) {
            continue;
        }
        const int distance = editDistance(wanted, candidate.toUpper(), bestDistance);
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}
