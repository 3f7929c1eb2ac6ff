#include "compiler/format/FormatTokens.h"

#include <QStringList>
#include <algorithm>

namespace {
constexpr int kTab = 4;

/// The columns of offsets that are asked for in the order of the text, so that a long line is counted once.
class Columns
{
public:
    explicit Columns(const QString &text)
        : m_text(text)
    {}

    int of(int offset)
    {
        for (; m_at < offset; ++m_at) {
            const QChar character = m_text.at(m_at);
            if (character == QLatin1Char('\n')) {
                m_column = 0;
            } else if (character == QLatin1Char('\t')) {
                m_column += kTab - m_column % kTab;
            } else if (!character.isLowSurrogate()) {
                ++m_column;
            }
        }
        return m_column;
    }

private:
    const QString &m_text;
    int m_at = 0;
    int m_column = 0; // of m_at
};

/// Reads what stands between two tokens: blanks, line ends and comments, nothing else.
class GapReader
{
public:
    GapReader(const QString &text, Columns &columns, int start, int end)
        : m_text(text)
        , m_columns(columns)
        , m_at(start)
        , m_end(end)
    {}

    void readInto(FormatToken &token)
    {
        while (m_at < m_end) {
            if (m_text.at(m_at) == QLatin1Char('/') || m_text.at(m_at) == QLatin1Char('(')) {
                token.comments.push_back(readComment());
                m_lineEnds = 0;
                m_blanks = 0;
            } else {
                readBlank();
            }
        }
        token.lineEnds = std::min(m_lineEnds, 2);
        token.isSpaced = m_lineEnds == 0 && m_blanks > 1;
    }

private:
    void readBlank()
    {
        const QChar blank = m_text.at(m_at++);
        if (blank == QLatin1Char('\n')) {
            ++m_lineEnds;
            m_blanks = 0;
        } else {
            m_blanks += blank == QLatin1Char('\t') ? 2 : 1;
        }
    }

    SourceComment readComment()
    {
        SourceComment comment;
        comment.lineEnds = std::min(m_lineEnds, 2);
        comment.column = m_columns.of(m_at);
        const int start = m_at;
        const bool isLine = m_text.at(m_at + 1) == QLatin1Char('/');
        const QString close = isLine                                ? QStringLiteral("\n")
                              : m_text.at(m_at) == QLatin1Char('/') ? QStringLiteral("*/")
                                                                    : QStringLiteral("*)");
        const int found = m_text.indexOf(close, m_at + 2);
        m_at = isLine ? (found < 0 || found > m_end ? m_end : found) : found + close.size();
        comment.text = withoutEndBlanks(m_text.mid(start, m_at - start));
        comment.isMultiLine = comment.text.contains(QLatin1Char('\n'));
        comment.endsLine = isLine || comment.isMultiLine;
        return comment;
    }

    static QString withoutEndBlanks(const QString &text)
    {
        QStringList lines = text.split(QLatin1Char('\n'));
        for (QString &line : lines) {
            while (!line.isEmpty() && line.back().isSpace()) {
                line.chop(1);
            }
        }
        return lines.join(QLatin1Char('\n'));
    }

    const QString &m_text;
    Columns &m_columns;
    int m_at;
    const int m_end;
    int m_lineEnds = 0;
    int m_blanks = 0;
};
} // namespace

bool FormatToken::hasLineEndBefore() const
{
    return lineEnds > 0 || std::any_of(comments.begin(), comments.end(), [](const SourceComment &comment) {
               return comment.lineEnds > 0 || comment.endsLine;
           });
}

std::vector<FormatToken> formatTokensOf(Sources &sources, int file)
{
    const std::vector<Token> tokens = tokensOf(sources, file);
    std::vector<FormatToken> result;
    if (sources.hasErrors()) { // the gaps may hold what is no token
        return result;
    }
    result.reserve(tokens.size());
    const QString &text = sources.file(file).text;
    Columns columns(text);
    int end = 0;
    for (const Token &token : tokens) {
        FormatToken item;
        item.kind = token.kind;
        item.text = text.mid(token.position.offset, token.length);
        item.position = token.position;
        item.startsLine = token.startsLine;
        GapReader(text, columns, end, token.position.offset).readInto(item);
        end = token.position.offset + token.length;
        result.push_back(std::move(item));
    }
    return result;
}
