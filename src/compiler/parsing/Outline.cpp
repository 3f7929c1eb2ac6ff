#include "compiler/parsing/Outline.h"

#include "compiler/lexing/Braces.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/DeclarationReader.h"

namespace {
class Outliner
{
public:
    Outliner(const TokenCursor &cursor, const std::vector<TokenRange> &broken)
        : m_cursor(cursor)
        , m_broken(broken)
    {}

    Outline run()
    {
        while (!m_cursor.atEnd()) {
            if (m_cursor.take(TokenKind::Semicolon)) {
                continue;
            }
            const size_t start = m_cursor.index();
            const bool isBroken = m_nextBroken < m_broken.size() && m_broken[m_nextBroken].first == start;
            if (isBroken) {
                readBroken(m_broken[m_nextBroken++]);
            } else if (!readDeclaration()) {
                recover(start);
            }
        }
        return std::move(m_outline);
    }

private:
    using Reader = bool (DeclarationReader::*)();
    struct Row
    {
        const char *word;
        Reader read;
        TokenKind follower = tokenOfWord(word); // some words are names elsewhere: they count only before this
    };

    bool readDeclaration()
    {
        static constexpr Row kRows[] = {
            { "program", &DeclarationReader::readProgram },
            { "struct", &DeclarationReader::readStructure },
            { "exclusive", &DeclarationReader::readExclusive },
            { "combine", &DeclarationReader::readCombination },
            { "level", &DeclarationReader::readLevel },
            { "function", &DeclarationReader::readFunction },
            { "routine", &DeclarationReader::readRoutine },
            { "start", &DeclarationReader::readStart },
            { "mainline", &DeclarationReader::readMainline },
            { "button_event", &DeclarationReader::readHandler },
            { "data_event", &DeclarationReader::readHandler },
            { "level_event", &DeclarationReader::readHandler },
            { "timeline_event", &DeclarationReader::readHandler },
        };
        static_assert(nameWords(
            kRows, [](const Word &word) { return (word.uses & Word::Declares) != 0 && word.token != TokenKind::End; }));
        for (const Row &row : kRows) {
            if (m_cursor.atName(row.word) && m_cursor.peek(1).is(row.follower)) {
                return (m_reader.*row.read)();
            }
        }
        for (const Row &row : kRows) { // a slip of the finger: read on as it was meant
            const bool isVariable = m_reader.isVariableStart() && m_cursor.peek(2).kind != TokenKind::Name &&
                                    m_cursor.peek(2).kind != TokenKind::LeftParen;
            if (m_cursor.at(TokenKind::Name) && m_cursor.peek(1).is(row.follower) && !isVariable &&
                codeOfWord(m_cursor.peek().text, Word::Type) < 0 &&
                codeOfWord(m_cursor.peek().text, Word::Storage) < 0 &&
                closestName(m_cursor.peek().text, { QString::fromLatin1(row.word) }) == QLatin1String(row.word)) {
                reportUnknown();
                return (m_reader.*row.read)();
            }
        }
        if (m_reader.isVariableStart() && !m_reader.isUnfinished()) {
            return m_reader.readVariables();
        }
        reportUnknown();
        if (m_cursor.at(TokenKind::Name) && codeOfWord(m_cursor.peek(1).text, Word::Type) >= 0) { // cosnt integer n
            return m_reader.readVariables();
        }
        return false;
    }

    void readBroken(TokenRange range)
    {
        m_reader.setBroken(true);
        const bool isDeclaration =
            beginsPart(m_cursor.peek(), m_cursor.peek(1)) || m_reader.isVariableStart() || m_cursor.atName("struct");
        const bool isRead = isDeclaration && readDeclaration();
        m_reader.setBroken(false);
        if (!isRead || m_cursor.index() < range.last) {
            m_cursor.moveTo(range.last);
        }
    }

    void reportUnknown()
    {
        const Token &found = m_cursor.peek();
        if (found.is(TokenKind::Name) && reportOtherLanguage(m_sources, found)) {
            return;
        }
        QString message = QStringLiteral("a declaration expected, found %1").arg(describe(found, m_cursor.sources()));
        if (found.is(TokenKind::Name)) {
            if (isWord(found.text, Word::Begins)) {
                message = QStringLiteral("the statement '%1' can stand only in a block").arg(found.text);
            } else if (isWord(found.text, Word::Declares)) {
                m_cursor.next();
                m_cursor.expected(found.isName("start") || found.isName("mainline") ? "'{'"
                                  : found.isName("combine")                         ? "'('"
                                  : found.isName("program")                         ? "a text"
                                  : found.isName("struct") || found.isName("function") || found.isName("routine")
                                      ? "a name"
                                      : "'['");
                return;
            } else if (const QString close = closestName(found.text, wordsWith(Word::Declares)); !close.isEmpty()) {
                message += QStringLiteral("; did you mean '%1'?").arg(close);
            }
        }
        m_cursor.report(Fault::UnknownWord, message);
    }

    /// On to the next line outside all braces that begins a declaration; always past start.
    void recover(size_t start)
    {
        if (m_cursor.index() == start && !m_cursor.atEnd()) {
            skipOne();
        }
        while (!m_cursor.atEnd() && !m_reader.isAtPart() && !(m_cursor.peek().startsLine && isAtDeclaration())) {
            skipOne();
        }
    }

    bool isAtDeclaration() const
    {
        const Token &token = m_cursor.peek();
        return (m_nextBroken < m_broken.size() && m_broken[m_nextBroken].first == m_cursor.index()) ||
               (token.is(TokenKind::Name) && m_sources.indentOf(token.position) == 0 &&
                (m_reader.isVariableStart() || isWord(token.text, Word::Declares)));
    }

    void skipOne()
    {
        if (!m_cursor.at(TokenKind::LeftBrace) || m_reader.readBraces().isEmpty()) {
            m_cursor.next();
        }
    }

    TokenCursor m_cursor;
    const std::vector<TokenRange> &m_broken;
    Sources &m_sources = m_cursor.sources();
    Outline m_outline;
    size_t m_nextBroken = 0;
    DeclarationReader m_reader{ m_cursor, m_outline };
};
} // namespace

Outline outlineOf(const TokenCursor &cursor, const std::vector<TokenRange> &broken)
{
    return Outliner(cursor, broken).run();
}
