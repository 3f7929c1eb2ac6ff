#pragma once
#include "compiler/lexing/Lexer.h"

/// Tokens first to last - 1 of the program.
struct TokenRange
{
    size_t first = 0;
    size_t last = 0;
    bool isEmpty() const { return first >= last; }
};

/// For an unknown name that is a word of another language: says so, and what to write. False: it is none.
bool reportOtherLanguage(Sources &sources, const Token &name);

/// Walks over the tokens of a program; sees no further than the range it is set to, where it meets an End.
class TokenCursor
{
public:
    TokenCursor(Sources &sources, const std::vector<Token> &tokens);

    const Token &peek(size_t ahead = 0) const;
    bool at(TokenKind kind) const { return peek().is(kind); }
    bool atName(const char *lowerCase) const { return peek().isName(lowerCase); }
    bool atEnd() const { return at(TokenKind::End); }
    size_t index() const { return m_index; }
    const Token &token(size_t index) const { return m_tokens[index]; }
    const Token &previous() const { return m_tokens[m_index == 0 ? 0 : m_index - 1]; }
    SourcePosition position() const { return peek().position; }

    /// Inside parentheses, brackets and lists a line end means nothing.
    bool startsLine() const { return m_nesting == 0 && peek().startsLine; }

    const Token &next(); // the token that was ahead
    bool take(TokenKind kind);
    bool takeName(const char *lowerCase);
    /// Takes the token or reports "<what> expected, found …".
    bool expect(TokenKind kind, const char *what);
    void expected(const char *what);

    void moveTo(size_t index) { m_index = index; }
    void setRange(TokenRange range);
    TokenRange range() const { return m_range; }

    /// Past a bracket of any kind and all up to the one that closes it. False: it has no end in the range.
    bool skipBalanced();

    Sources &sources() { return m_sources; }
    const Sources &sources() const { return m_sources; }
    void report(Fault code, const QString &message) { m_sources.report(code, position(), message); }

    /// Stands around the reading of something inside brackets.
    class Nested
    {
    public:
        explicit Nested(TokenCursor &cursor)
            : m_cursor(cursor)
        {
            ++m_cursor.m_nesting;
        }
        ~Nested() { --m_cursor.m_nesting; }
        Nested(const Nested &) = delete;
        Nested &operator=(const Nested &) = delete;

    private:
        TokenCursor &m_cursor;
    };

    /// Reads another part of the program for a while, then comes back.
    class Visit
    {
    public:
        Visit(TokenCursor &cursor, TokenRange range);
        ~Visit();
        Visit(const Visit &) = delete;
        Visit &operator=(const Visit &) = delete;

    private:
        TokenCursor &m_cursor;
        const TokenRange m_range;
        const size_t m_index;
        const int m_nesting;
    };

private:
    Sources &m_sources;
    const std::vector<Token> &m_tokens;
    TokenRange m_range;
    size_t m_index = 0;
    int m_nesting = 0;
    mutable Token m_end; // stands for the end of the range
};
