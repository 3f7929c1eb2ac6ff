#include "compiler/lexing/Braces.h"

#include "compiler/lexing/Words.h"

namespace {
class BraceChecker
{
public:
    BraceChecker(const std::vector<Token> &tokens, Sources &sources)
        : m_tokens(tokens)
        , m_sources(sources)
    {}

    std::vector<TokenRange> run()
    {
        int depth = 0;
        size_t first = 0; // of the declaration
        for (size_t i = 0; i < m_tokens.size(); ++i) {
            const bool beginsNext = isEnd(i) || (m_tokens[i].startsLine && beginsPart(m_tokens[i], m_tokens[i + 1]));
            if (beginsNext && depth != 0) {
                i = refuse({ first, i });
                depth = 0;
            }
            if (beginsNext || (depth == 0 && beginsVariables(i))) {
                first = i;
            }
            depth += isEnd(i) ? 0 : change(i);
            if (depth < 0) {
                i = refuse({ first, nextPart(i) }) - 1;
                first = i + 1;
                depth = 0;
            }
        }
        return std::move(m_broken);
    }

private:
    struct Open
    {
        size_t token;
        int indent;       // of the line that its statement begins on
        int content = -1; // the indentation of the first line in it
        bool isList = false;
    };

    bool isEnd(size_t i) const { return i + 1 >= m_tokens.size(); }
    int change(size_t i) const
    {
        return m_tokens[i].is(TokenKind::LeftBrace) ? 1 : m_tokens[i].is(TokenKind::RightBrace) ? -1 : 0;
    }
    int indentOf(size_t i) const { return m_sources.indentOf(m_tokens[i].position); }
    int lineOf(size_t i) const { return m_sources.lineOf(m_tokens[i].position); }
    bool isFirstOfLine(size_t i) const
    {
        return m_sources.firstOfLine(m_tokens[i].position).offset == m_tokens[i].position.offset;
    }

    bool endsLine(size_t i) const { return isEnd(i) || lineOf(i + 1) != lineOf(i); }

    /// Whether the block's brace stands on the line of a token.
    bool isOnLineOf(const Open &block, size_t i) const { return lineOf(block.token) == lineOf(i); }

    bool beginsVariables(size_t i) const
    {
        const Token &token = m_tokens[i];
        const bool isOfStructure = !isEnd(i) && m_tokens[i + 1].is(TokenKind::Name) && !m_tokens[i + 1].startsLine &&
                                   !isReservedWord(token.text);
        return token.startsLine && token.is(TokenKind::Name) &&
               (codeOfWord(token.text, Word::Type) >= 0 || codeOfWord(token.text, Word::Storage) >= 0 ||
                token.isName("const") || token.isName("struct") || isOfStructure);
    }

    size_t nextPart(size_t i) const
    {
        while (!isEnd(i) && !(m_tokens[i].startsLine && beginsPart(m_tokens[i], m_tokens[i + 1]))) {
            ++i;
        }
        return i;
    }

    /// Where the declaration may end before the next part: a declaration at its own column, when it is indented inside.
    size_t endOf(TokenRange range) const
    {
        const int column = indentOf(range.first);
        bool isIndented = beginsVariables(range.first);
        for (size_t i = range.first + 1; i < range.last; ++i) {
            if (!m_tokens[i].startsLine) {
                continue;
            }
            isIndented = isIndented || indentOf(i) > column;
            if (isIndented && indentOf(i) == column && beginsVariables(i)) {
                return i;
            }
        }
        return range.last;
    }

    /// Reports the fault and keeps the range. Where to go on.
    size_t refuse(TokenRange range)
    {
        range.last = endOf(range);
        const Token &last = m_tokens[std::min(range.last, m_tokens.size() - 1)];
        if (!m_sources.hasBadLine(m_tokens[range.first].position, last.position)) { // else that took the brace
            locate(range);
        }
        m_broken.push_back(range);
        return range.last;
    }

    void locate(TokenRange range)
    {
        std::vector<Open> open;
        size_t statement = range.first; // the first token of the line that the current statement begins on
        int parentheses = 0;
        for (size_t i = range.first; i < range.last; ++i) {
            const Token &token = m_tokens[i];
            const bool isFirst = isFirstOfLine(i);
            if (isFirst && token.startsLine && parentheses == 0) {
                statement = i;
            }
            const bool opens = token.is(TokenKind::LeftParen) || token.is(TokenKind::LeftBracket);
            const bool closes = token.is(TokenKind::RightParen) || token.is(TokenKind::RightBracket);
            parentheses += opens ? 1 : closes && parentheses > 0 ? -1 : 0;
            if (token.is(TokenKind::RightBrace)) {
                if (open.empty() || (isFirst && !open.back().isList && indentOf(i) != open.back().indent)) {
                    return open.empty() || indentOf(i) > open.back().indent ? tellSuperfluous(range.first, i)
                                                                            : tellUnclosed(open.back(), i);
                }
                if (!isFirst && open.back().content >= 0 && !open.back().isList && !isOnLineOf(open.back(), i)) {
                    return tellSuperfluous(range.first, i);
                }
                open.pop_back();
                continue;
            }
            if (!open.empty() && token.startsLine && isFirst && !open.back().isList) {
                Open &block = open.back();
                const int indent = indentOf(i);
                if (block.content < 0) {
                    block.content = endsLine(block.token) ? indent : block.indent + 1;
                }
                if (indent < block.content) {
                    return tellUnclosed(block, i);
                }
            }
            if (token.is(TokenKind::LeftBrace)) {
                const bool isList =
                    i > range.first && (m_tokens[i - 1].is(TokenKind::Assign) || m_tokens[i - 1].is(TokenKind::Comma) ||
                                        (!open.empty() && open.back().isList));
                open.push_back({ i, indentOf(statement), -1, isList });
                parentheses = 0;
            }
        }
        const size_t end = std::min(range.last, m_tokens.size() - 1);
        if (!open.empty() && open.back().content > open.back().indent) {
            tellUnclosed(open.back(), end);
        } else if (!open.empty()) {
            m_sources.report(
                Fault::UnclosedBracket, m_tokens[open.front().token].position,
                QStringLiteral("this '{' is not closed before %1").arg(describe(m_tokens[end], m_sources)));
        } else {
            m_sources.report(Fault::UnclosedBracket, m_tokens[end].position, QStringLiteral("'{' or '}' is missing"));
        }
    }

    void tellUnclosed(const Open &block, size_t found)
    {
        m_sources.report(
            Fault::UnclosedBracket, m_tokens[found].position,
            QStringLiteral("'}' expected before this: the '{' of line %1 is not closed").arg(lineOf(block.token)));
    }

    /// A '}' without its '{': what it would close begins behind the nearest line of the same indentation.
    void tellSuperfluous(size_t first, size_t brace)
    {
        const int indent = indentOf(brace);
        size_t content = brace;
        for (size_t i = brace; isFirstOfLine(brace) && i-- > first;) {
            if (!isFirstOfLine(i)) {
                continue;
            }
            if (indentOf(i) <= indent) {
                break;
            }
            content = i;
        }
        if (content == brace) {
            m_sources.report(Fault::UnclosedBracket, m_tokens[brace].position,
                             QStringLiteral("this '}' closes nothing"));
        } else {
            m_sources.report(
                Fault::UnclosedBracket, m_tokens[content].position,
                QStringLiteral("'{' expected before this: the '}' of line %1 closes nothing").arg(lineOf(brace)));
        }
    }

    const std::vector<Token> &m_tokens;
    Sources &m_sources;
    std::vector<TokenRange> m_broken;
};
} // namespace

bool beginsPart(const Token &token, const Token &next)
{
    return token.is(TokenKind::Name) &&
           (isWord(token.text, Word::ProgramOnly) || (token.isName("start") && next.is(TokenKind::LeftBrace)));
}

std::vector<TokenRange> unbalancedDeclarations(const std::vector<Token> &tokens, Sources &sources)
{
    return BraceChecker(tokens, sources).run();
}
