#include "compiler/format/FormatLines.h"

#include <QStringList>
#include <algorithm>
#include <limits>
#include <optional>

namespace {
constexpr int kIndent = 4;

int widthOf(const QString &text)
{
    return static_cast<int>(std::count_if(text.begin(), text.end(), [](QChar c) { return !c.isLowSurrogate(); }));
}

/// Cuts one line of the layout.
class LineCutter
{
public:
    LineCutter(const LayoutLine &line, const std::vector<FormatToken> &tokens)
        : m_line(line)
        , m_tokens(tokens)
    {}

    std::vector<FormattedLine> run(bool &isTooLong)
    {
        size_t first = 0;
        while (first < m_line.items.size()) {
            const int column = first == 0 ? m_line.level * kIndent : continuedColumn(first);
            const size_t end = endOf(first, column);
            m_lines.push_back(build(first, end, column));
            isTooLong = isTooLong || m_lines.back().column + widthOf(m_lines.back().code) > kLongestLine;
            m_brackets = walk(first, end, column);
            first = end;
        }
        m_lines.front().isStatement = m_lines.size() == 1;
        m_lines.front().hasEmptyLine = m_line.hasEmptyLine;
        return std::move(m_lines);
    }

private:
    struct Bracket
    {
        int column;     // where what goes on stands
        int lineColumn; // where the line of the bracket begins
    };
    using Brackets = std::vector<Bracket>;

    const LayoutItem &item(size_t index) const { return m_line.items[index]; }
    const FormatToken *tokenOf(const LayoutItem &piece) const
    {
        return piece.token < 0 ? nullptr : &m_tokens[static_cast<size_t>(piece.token)];
    }
    bool opens(const LayoutItem &piece) const { return partnerOf(piece) > piece.token; }
    bool closes(const LayoutItem &piece) const
    {
        const int partner = partnerOf(piece);
        return partner >= 0 && partner < piece.token;
    }
    int partnerOf(const LayoutItem &piece) const
    {
        const FormatToken *token = tokenOf(piece);
        return !token || token->isBlock ? -1 : token->partner;
    }

    int continuedColumn(size_t first) const
    {
        if (m_brackets.empty()) {
            return (m_line.level + 1) * kIndent;
        }
        return closes(item(first)) ? m_brackets.back().lineColumn : m_brackets.back().column;
    }

    bool endsLineBefore(size_t index) const
    {
        return index < m_line.items.size() && (item(index).breaksBefore || item(index - 1).endsLine);
    }

    /// Whether a bracket is the last code of its line, so that what goes on is indented instead of aligned.
    bool isLastOfLine(size_t index) const
    {
        for (++index; index < m_line.items.size(); ++index) {
            if (endsLineBefore(index)) {
                return true;
            }
            if (item(index).token >= 0) {
                return false;
            }
        }
        return true;
    }

    /// A bracket opens or closes with an item, which ends at a column of a line that begins at another.
    void track(Brackets &brackets, size_t index, int end, int lineColumn) const
    {
        if (opens(item(index))) {
            brackets.push_back({ isLastOfLine(index) ? lineColumn + kIndent : end, lineColumn });
        } else if (closes(item(index)) && !brackets.empty()) {
            brackets.pop_back();
        }
    }

    int widthWithBlanks(size_t index, size_t first) const
    {
        return (index == first ? 0 : item(index).blanks) + widthOf(item(index).text);
    }

    /// The brackets that are open behind the items of a line.
    Brackets walk(size_t first, size_t end, int column) const
    {
        Brackets brackets = m_brackets;
        int at = column;
        for (size_t i = first; i < end; ++i) {
            at += widthWithBlanks(i, first);
            track(brackets, i, at, column);
        }
        return brackets;
    }

    struct Candidate
    {
        size_t index;
        int depth;
    };

    /// Where the line that begins with an item ends: at a line end, or at the best place before it is too long.
    size_t endOf(size_t first, int column) const
    {
        int at = column;
        Brackets brackets = m_brackets;
        std::optional<Candidate> best;
        for (size_t i = first; i < m_line.items.size(); ++i) {
            if (i > first && endsLineBefore(i)) {
                return i;
            }
            const int depth = static_cast<int>(brackets.size());
            const int continued = brackets.empty() ? (m_line.level + 1) * kIndent : brackets.back().column;
            const bool helps = i > first && isCandidate(i) && continued < at;
            if (helps && (!best || rank(depth) <= rank(best->depth))) {
                best = { i, depth };
            }
            at += widthWithBlanks(i, first);
            if (at > kLongestLine && best && item(i).token >= 0) {
                return best->index;
            }
            track(brackets, i, at, column);
        }
        return m_line.items.size();
    }

    /// Outer brackets are broken before inner ones; outside of all only when nothing else helps.
    static int rank(int depth) { return depth == 0 ? std::numeric_limits<int>::max() : depth; }

    bool isCandidate(size_t index) const
    {
        const FormatToken *before = tokenOf(item(index - 1));
        return before && tokenOf(item(index)) &&
               (before->is(TokenKind::Comma) || before->is(TokenKind::And) || before->is(TokenKind::Or));
    }

    FormattedLine build(size_t first, size_t end, int column)
    {
        FormattedLine line;
        line.column = column;
        line.hasEmptyLine = item(first).hasEmptyLine;
        size_t codeEnd = end;
        while (codeEnd > first && item(codeEnd - 1).token < 0) {
            --codeEnd;
        }
        int depth = 0;
        for (size_t i = first; i < codeEnd; ++i) {
            line.code += QString(i == first ? 0 : item(i).blanks, QLatin1Char(' '));
            if (first == 0 && i > 0 && line.anchor == FormattedLine::Anchor::None) {
                setAnchor(line, item(i), depth);
            }
            line.code += item(i).text;
            depth += opens(item(i)) ? 1 : closes(item(i)) ? -1 : 0;
        }
        int width = 0; // of the comments so far
        for (size_t i = codeEnd; i < end; ++i) {
            if (i > codeEnd) {
                line.comment += QLatin1Char(' ');
                ++width;
            }
            line.commentColumn = item(i).sourceColumn - width;
            line.comment += item(i).text;
            width += widthOf(item(i).text);
        }
        return line;
    }

    void setAnchor(FormattedLine &line, const LayoutItem &piece, int depth) const
    {
        const FormatToken *token = tokenOf(piece);
        if (!token || depth > 0) {
            return;
        }
        if (token->isBlock && token->is(TokenKind::LeftBrace) && token->isFlat) {
            line.anchor = FormattedLine::Anchor::Block;
        } else if (token->is(TokenKind::Assign)) {
            line.anchor = FormattedLine::Anchor::Assignment;
        } else {
            return;
        }
        line.anchorAt = line.code.size();
        line.isSpaced = token->isSpaced;
    }

    const LayoutLine &m_line;
    const std::vector<FormatToken> &m_tokens;
    std::vector<FormattedLine> m_lines;
    Brackets m_brackets; // open before the line being built
};

bool isNeighbour(const FormattedLine &line, const FormattedLine &above)
{
    return !line.hasEmptyLine && line.column == above.column && !line.code.isEmpty() && !above.code.isEmpty();
}

/// Of the lines first to end - 1.
void alignAnchors(std::vector<FormattedLine> &lines, size_t first, size_t end)
{
    int anchorColumn = 0;
    bool isWanted = false;
    for (size_t i = first; i < end; ++i) {
        anchorColumn = std::max(anchorColumn, widthOf(lines[i].code.left(lines[i].anchorAt)));
        isWanted = isWanted || lines[i].isSpaced;
    }
    for (size_t i = first; i < end; ++i) {
        const int behind = widthOf(lines[i].code.mid(lines[i].anchorAt));
        isWanted = isWanted && lines[i].column + anchorColumn + behind <= kLongestLine;
    }
    for (size_t i = first; isWanted && i < end; ++i) {
        const int missing = anchorColumn - widthOf(lines[i].code.left(lines[i].anchorAt));
        lines[i].code.insert(lines[i].anchorAt, QString(missing, QLatin1Char(' ')));
    }
}

/// Lines without a comment between others do not matter; one that is long keeps its comment for itself.
void alignComments(std::vector<FormattedLine> &lines, size_t first, size_t end)
{
    constexpr int kWidest = 80;
    constexpr int kGap = 2;
    int widest = 0;
    const auto takesPart = [&lines](size_t i) {
        return !lines[i].comment.isEmpty() && lines[i].column + widthOf(lines[i].code) <= kWidest;
    };
    for (size_t i = first; i < end; ++i) {
        widest = takesPart(i) ? std::max(widest, widthOf(lines[i].code)) : widest;
    }
    for (size_t i = first; i < end; ++i) {
        const int width = widthOf(lines[i].code);
        if (!lines[i].comment.isEmpty()) {
            lines[i].code += QString((takesPart(i) ? widest - width : 0) + kGap, QLatin1Char(' '));
        }
    }
}

/// The further lines of a comment move with its first.
QString moved(const QString &comment, int by)
{
    QStringList lines = comment.split(QLatin1Char('\n'));
    for (int i = 1; i < lines.size(); ++i) {
        int column = 0;
        int blanks = 0;
        for (; blanks < lines[i].size() && lines[i].at(blanks).isSpace(); ++blanks) {
            column += lines[i].at(blanks) == QLatin1Char('\t') ? kIndent - column % kIndent : 1;
        }
        if (!lines[i].isEmpty()) {
            lines[i] = QString(std::max(0, column + by), QLatin1Char(' ')) + lines[i].mid(blanks);
        }
    }
    return lines.join(QLatin1Char('\n'));
}
} // namespace

std::vector<FormattedLine> linesOf(const LayoutLine &line, const std::vector<FormatToken> &tokens, bool &isTooLong)
{
    return LineCutter(line, tokens).run(isTooLong);
}

void align(std::vector<FormattedLine> &lines)
{
    for (size_t first = 0, end = 0; first < lines.size(); first = end) {
        const auto hasAnchor = [&lines](size_t i) {
            return lines[i].isStatement && lines[i].anchor != FormattedLine::Anchor::None;
        };
        for (end = first + 1; hasAnchor(first) && end < lines.size() && hasAnchor(end) &&
                              lines[end].anchor == lines[first].anchor && isNeighbour(lines[end], lines[end - 1]);
             ++end) {
        }
        if (hasAnchor(first)) {
            alignAnchors(lines, first, end);
        }
    }
    for (size_t first = 0, end = 0; first < lines.size(); first = end) {
        for (end = first + 1; end < lines.size() && isNeighbour(lines[end], lines[end - 1]); ++end) {
        }
        if (!lines[first].code.isEmpty()) {
            alignComments(lines, first, end);
        }
    }
}

QString textOf(const std::vector<FormattedLine> &lines)
{
    QString text;
    for (const FormattedLine &line : lines) {
        if (line.hasEmptyLine && !text.isEmpty()) {
            text += QLatin1Char('\n');
        }
        const int column = line.column + widthOf(line.code);
        text += QString(line.column, QLatin1Char(' ')) + line.code + moved(line.comment, column - line.commentColumn) +
                QLatin1Char('\n');
    }
    return text;
}
