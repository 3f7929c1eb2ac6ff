#include "tools/arkc/LineDiff.h"

#include <QStringList>
#include <algorithm>
#include <cstdint>
#include <vector>

namespace arkc {
namespace {
struct Edit
{
    QChar mark; // ' ' in both, '-' before, '+' after
    QString line;
};

QStringList linesOf(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.last().isEmpty()) {
        lines.removeLast();
    } else {
        lines.last() += QStringLiteral("\n\\ No newline at end of file");
    }
    return lines;
}

/// How many lines two texts have in common from each pair of places on.
class CommonLengths
{
public:
    CommonLengths(const QStringList &before, const QStringList &after)
        : m_width(static_cast<size_t>(after.size()) + 1)
        , m_lengths((static_cast<size_t>(before.size()) + 1) * m_width)
    {
        for (int i = before.size() - 1; i >= 0; --i) {
            for (int k = after.size() - 1; k >= 0; --k) {
                m_lengths[index(i, k)] = before[i] == after[k] ? static_cast<uint16_t>(at(i + 1, k + 1) + 1)
                                                               : std::max(at(i + 1, k), at(i, k + 1));
            }
        }
    }
    uint16_t at(int i, int k) const { return m_lengths[index(i, k)]; }

private:
    size_t index(int i, int k) const { return static_cast<size_t>(i) * m_width + static_cast<size_t>(k); }
    size_t m_width;
    std::vector<uint16_t> m_lengths;
};

void addMiddle(std::vector<Edit> &edits, const QStringList &before, const QStringList &after)
{
    constexpr qint64 kMost = 16'000'000; // beyond, all of it counts as changed
    int i = 0;
    int k = 0;
    if (qint64(before.size()) * after.size() <= kMost && std::max(before.size(), after.size()) < UINT16_MAX) {
        const CommonLengths common(before, after);
        while (i < before.size() && k < after.size()) {
            if (before[i] == after[k]) {
                edits.push_back({ QLatin1Char(' '), before[i++] });
                ++k;
            } else if (common.at(i + 1, k) >= common.at(i, k + 1)) {
                edits.push_back({ QLatin1Char('-'), before[i++] });
            } else {
                edits.push_back({ QLatin1Char('+'), after[k++] });
            }
        }
    }
    for (; i < before.size(); ++i) {
        edits.push_back({ QLatin1Char('-'), before[i] });
    }
    for (; k < after.size(); ++k) {
        edits.push_back({ QLatin1Char('+'), after[k] });
    }
}

std::vector<Edit> editsOf(const QStringList &before, const QStringList &after)
{
    int same = 0;
    const int shorter = std::min(before.size(), after.size());
    while (same < shorter && before[same] == after[same]) {
        ++same;
    }
    int tail = 0;
    while (tail < shorter - same && before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
        ++tail;
    }
    std::vector<Edit> edits;
    edits.reserve(static_cast<size_t>(before.size()) + static_cast<size_t>(after.size()));
    for (int i = 0; i < same; ++i) {
        edits.push_back({ QLatin1Char(' '), before[i] });
    }
    addMiddle(edits, before.mid(same, before.size() - same - tail), after.mid(same, after.size() - same - tail));
    for (int i = before.size() - tail; i < before.size(); ++i) {
        edits.push_back({ QLatin1Char(' '), before[i] });
    }
    return edits;
}

/// "12,3" of a hunk's head; an empty piece is named by the line before it.
QString range(int first, int count)
{
    return count == 1 ? QString::number(first + 1)
                      : QStringLiteral("%1,%2").arg(count == 0 ? first : first + 1).arg(count);
}
} // namespace

QString lineDiff(const QString &before, const QString &after, const QString &name)
{
    if (before == after) {
        return {};
    }
    constexpr size_t kAround = 3;
    const std::vector<Edit> edits = editsOf(linesOf(before), linesOf(after));
    QString text = QStringLiteral("--- %1\n+++ %1\n").arg(name);
    int beforeLine = 0;
    int afterLine = 0;
    const auto isChange = [&edits](size_t i) { return edits[i].mark != QLatin1Char(' '); };
    for (size_t i = 0; i < edits.size();) {
        size_t next = i;
        while (next < edits.size() && !isChange(next)) {
            ++next;
        }
        if (next == edits.size()) {
            break;
        }
        const size_t first = next - i > kAround ? next - kAround : i;
        beforeLine += static_cast<int>(first - i);
        afterLine += static_cast<int>(first - i);
        size_t end = next; // behind the hunk's last change
        for (size_t k = next; k < edits.size() && k < end + 2 * kAround + 1; ++k) {
            end = isChange(k) ? k + 1 : end;
        }
        end = std::min(edits.size(), end + kAround);
        QString lines;
        int removed = 0;
        int added = 0;
        for (size_t k = first; k < end; ++k) {
            lines += edits[k].mark + edits[k].line + QLatin1Char('\n');
            removed += edits[k].mark == QLatin1Char('+') ? 0 : 1;
            added += edits[k].mark == QLatin1Char('-') ? 0 : 1;
        }
        text += QStringLiteral("@@ -%1 +%2 @@\n%3").arg(range(beforeLine, removed), range(afterLine, added), lines);
        beforeLine += removed;
        afterLine += added;
        i = end;
    }
    return text;
}
} // namespace arkc
