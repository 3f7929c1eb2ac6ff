#include "compiler/lexing/TokenCursor.h"

#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"

#include <algorithm>

bool reportOtherLanguage(Sources &sources, const Token &name)
{
    const QString advice = otherLanguageAdvice(name.text);
    if (advice.isEmpty()) {
        return false;
    }
    sources.reportName(Fault::OtherLanguage, name.position, name.text,
                       QString::fromUtf8(messageOf(Fault::OtherLanguage).text).arg(name.text, advice));
    return true;
}

TokenCursor::TokenCursor(Sources &sources, const std::vector<Token> &tokens)
    : m_sources(sources)
    , m_tokens(tokens)
{
    setRange({ 0, tokens.size() - 1 });
}

const Token &TokenCursor::peek(size_t ahead) const
{
    const size_t index = m_index + ahead;
    if (index < m_range.last) {
        return m_tokens[index];
    }
    m_end.position = m_tokens[std::min(m_range.last, m_tokens.size() - 1)].position;
    m_end.length = m_tokens[std::min(m_range.last, m_tokens.size() - 1)].length;
    return m_end;
}

const Token &TokenCursor::next()
{
    const Token &token = peek();
    if (m_index < m_range.last) {
        ++m_index;
    }
    return token;
}

bool TokenCursor::take(TokenKind kind)
{
    if (!at(kind) || atEnd()) {
        return false;
    }
    next();
    return true;
}

bool TokenCursor::takeName(const char *lowerCase)
{
    if (!atName(lowerCase)) {
        return false;
    }
    next();
    return true;
}

bool TokenCursor::expect(TokenKind kind, const char *what)
{
    if (take(kind)) {
        return true;
    }
    expected(what);
    return false;
}

void TokenCursor::expected(const char *what)
{
    const Token &found = m_index < m_range.last ? peek() : m_tokens[std::min(m_range.last, m_tokens.size() - 1)];
    report(Fault::Syntax,
           QStringLiteral("%1 expected, found %2").arg(QString::fromLatin1(what), describe(found, m_sources)));
}

void TokenCursor::setRange(TokenRange range)
{
    m_range = range;
    m_index = range.first;
}

bool TokenCursor::skipBalanced()
{
    std::vector<TokenKind> open;
    do {
        switch (peek().kind) {
        case TokenKind::LeftParen:
            open.push_back(TokenKind::RightParen);
            break;
        case TokenKind::LeftBracket:
            open.push_back(TokenKind::RightBracket);
            break;
        case TokenKind::LeftBrace:
            open.push_back(TokenKind::RightBrace);
            break;
        case TokenKind::RightParen:
        case TokenKind::RightBracket:
            if (!open.empty() && open.back() == peek().kind) {
                open.pop_back();
            }
            break;
        case TokenKind::RightBrace: // closes forgotten parentheses, too
            while (!open.empty() && open.back() != TokenKind::RightBrace) {
                open.pop_back();
            }
            if (open.empty()) {
                return false;
            }
            open.pop_back();
            break;
        case TokenKind::End:
            return false;
        default:
            break;
        }
        next();
    } while (!open.empty());
    return true;
}

TokenCursor::Visit::Visit(TokenCursor &cursor, TokenRange range)
    : m_cursor(cursor)
    , m_range(cursor.m_range)
    , m_index(cursor.m_index)
    , m_nesting(cursor.m_nesting)
{
    cursor.setRange(range);
    cursor.m_nesting = 0;
}

TokenCursor::Visit::~Visit()
{
    m_cursor.m_range = m_range;
    m_cursor.m_index = m_index;
    m_cursor.m_nesting = m_nesting;
}
