#include "compiler/parsing/Outline.h"

#include "compiler/lexing/Braces.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"

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
    using Reader = bool (Outliner::*)();
    struct Row
    {
        const char *word;
        Reader read;
        TokenKind follower = tokenOfWord(word); // some words are names elsewhere: they count only before this
    };

    bool readDeclaration()
    {
        static constexpr Row kRows[] = {
            { "program", &Outliner::readProgram },
            { "struct", &Outliner::readStructure },
            { "exclusive", &Outliner::readExclusive },
            { "combine", &Outliner::readCombination },
            { "level", &Outliner::readLevel },
            { "function", &Outliner::readFunction },
            { "routine", &Outliner::readRoutine },
            { "start", &Outliner::readStart },
            { "mainline", &Outliner::readMainline },
            { "button_event", &Outliner::readHandler },
            { "data_event", &Outliner::readHandler },
            { "level_event", &Outliner::readHandler },
            { "timeline_event", &Outliner::readHandler },
        };
        static_assert(nameWords(
            kRows, [](const Word &word) { return (word.uses & Word::Declares) != 0 && word.token != TokenKind::End; }));
        for (const Row &row : kRows) {
            if (m_cursor.atName(row.word) && m_cursor.peek(1).is(row.follower)) {
                return (this->*row.read)();
            }
        }
        for (const Row &row : kRows) { // a slip of the finger: read on as it was meant
            const bool isVariable = isVariableStart() && m_cursor.peek(2).kind != TokenKind::Name &&
                                    m_cursor.peek(2).kind != TokenKind::LeftParen;
            if (m_cursor.at(TokenKind::Name) && m_cursor.peek(1).is(row.follower) && !isVariable &&
                codeOfWord(m_cursor.peek().text, Word::Type) < 0 &&
                codeOfWord(m_cursor.peek().text, Word::Storage) < 0 &&
                closestName(m_cursor.peek().text, { QString::fromLatin1(row.word) }) == QLatin1String(row.word)) {
                reportUnknown();
                return (this->*row.read)();
            }
        }
        if (isVariableStart() && !isUnfinished()) {
            return readVariables();
        }
        reportUnknown();
        if (m_cursor.at(TokenKind::Name) && codeOfWord(m_cursor.peek(1).text, Word::Type) >= 0) { // cosnt integer n
            return readVariables();
        }
        return false;
    }

    /// A declaration that lacks its bracket: combine dvOne, dvTwo)   exclusive dvPanel, 1..3]. The words may be the
    /// names of structures, too.
    bool isUnfinished() const
    {
        const Token &word = m_cursor.peek();
        if (!m_cursor.atName("combine") && !m_cursor.atName("exclusive")) {
            return codeOfWord(m_cursor.peek(1).text, Word::Type) >= 0 && codeOfWord(word.text, Word::Type) < 0 &&
                   codeOfWord(word.text, Word::Storage) < 0 && !word.isName("const");
        }
        for (size_t i = m_cursor.range().first; i + 1 < m_cursor.range().last; ++i) {
            if (m_cursor.token(i).isName("struct") &&
                m_cursor.token(i + 1).text.compare(word.text, Qt::CaseInsensitive) == 0) {
                return false;
            }
        }
        return true;
    }

    void readBroken(TokenRange range)
    {
        m_isBroken = true;
        const bool isDeclaration =
            beginsPart(m_cursor.peek(), m_cursor.peek(1)) || isVariableStart() || m_cursor.atName("struct");
        const bool isRead = isDeclaration && readDeclaration();
        m_isBroken = false;
        if (!isRead || m_cursor.index() < range.last) {
            m_cursor.moveTo(range.last);
        }
    }

    bool isVariableStart() const
    {
        const Token &first = m_cursor.peek();
        if (!first.is(TokenKind::Name)) {
            return false;
        }
        if (m_cursor.atName("const") || codeOfWord(first.text, Word::Storage) >= 0 ||
            codeOfWord(first.text, Word::Type) >= 0) {
            return true;
        }
        const Token &second = m_cursor.peek(1);
        return second.is(TokenKind::Name) && !second.startsLine && !isReservedWord(first.text);
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
        while (!m_cursor.atEnd() && !isAtPart() && !(m_cursor.peek().startsLine && isAtDeclaration())) {
            skipOne();
        }
    }

    bool isAtDeclaration() const
    {
        const Token &token = m_cursor.peek();
        return (m_nextBroken < m_broken.size() && m_broken[m_nextBroken].first == m_cursor.index()) ||
               (token.is(TokenKind::Name) && m_sources.indentOf(token.position) == 0 &&
                (isVariableStart() || isWord(token.text, Word::Declares)));
    }

    void skipOne()
    {
        if (!m_cursor.at(TokenKind::LeftBrace) || readBraces().isEmpty()) {
            m_cursor.next();
        }
    }

    /// Whether the cursor stands on what can only begin a part of the program.
    bool isAtPart() const { return beginsPart(m_cursor.peek(), m_cursor.peek(1)); }

    /// From an opening brace to behind the one that closes it.
    TokenRange readBraces()
    {
        TokenRange range{ m_cursor.index(), m_cursor.index() };
        int depth = 0;
        do {
            depth += m_cursor.at(TokenKind::LeftBrace) ? 1 : m_cursor.at(TokenKind::RightBrace) ? -1 : 0;
            m_cursor.next();
        } while (depth > 0 && !m_cursor.atEnd());
        range.last = m_cursor.index();
        return range;
    }

    bool readBody(TokenRange &body)
    {
        if (m_isBroken) {
            return true;
        }
        if (!m_cursor.at(TokenKind::LeftBrace)) {
            m_cursor.expected("'{'");
            return false;
        }
        body = readBraces();
        return true;
    }

    /// From an opening bracket to behind the one that closes it.
    bool readBalanced(TokenRange &range)
    {
        const SourcePosition opening = m_cursor.position();
        const QString text = describe(m_cursor.peek(), m_cursor.sources());
        range.first = m_cursor.index();
        if (!m_cursor.skipBalanced()) {
            m_cursor.sources().report(Fault::UnclosedBracket, opening,
                                      QStringLiteral("this %1 is not closed").arg(text));
            m_cursor.moveTo(range.first + 1); // what follows is read as if it were not there
            return false;
        }
        range.last = m_cursor.index();
        return true;
    }

    bool readProgram()
    {
        m_cursor.next();
        if (m_outline.programName != 0) {
            m_cursor.report(Fault::DuplicateName,
                            QStringLiteral("the program has a name already (%1)")
                                .arg(m_cursor.sources().lineReference(m_cursor.token(m_outline.programName).position,
                                                                      m_cursor.position())));
        } else {
            m_outline.programName = m_cursor.index();
        }
        m_cursor.next();
        return endOfDeclaration();
    }

    bool readStructure()
    {
        m_cursor.next();
        Outline::Structure structure;
        structure.name = m_cursor.index();
        m_cursor.next();
        if (m_isBroken) {
            structure.isBroken = true;
            m_outline.structures.push_back(structure);
            return true;
        }
        TokenRange braces;
        if (!readBody(braces)) {
            return false;
        }
        structure.members = between(braces);
        m_outline.structures.push_back(structure);
        return true;
    }

    TokenRange between(TokenRange brackets) const
    {
        const TokenKind last = m_cursor.token(brackets.last - 1).kind;
        const bool isClosed =
            last == TokenKind::RightBrace || last == TokenKind::RightParen || last == TokenKind::RightBracket;
        return { brackets.first + 1, isClosed ? brackets.last - 1 : brackets.last };
    }

    bool readExclusive()
    {
        m_cursor.next();
        TokenRange range;
        if (!readBalanced(range)) {
            return false;
        }
        m_outline.exclusives.push_back(range);
        return endOfDeclaration();
    }

    bool readCombination()
    {
        m_cursor.next();
        TokenRange range;
        if (!readBalanced(range)) {
            return false;
        }
        m_outline.combinations.push_back(range);
        return endOfDeclaration();
    }

    bool readLevel()
    {
        m_cursor.next();
        Outline::Binding binding;
        if (!readBalanced(binding.level)) {
            return false;
        }
        if (!m_cursor.at(TokenKind::Name) || m_cursor.peek().startsLine) {
            m_cursor.expected("the name of a variable");
            return false;
        }
        binding.variable = m_cursor.index();
        m_cursor.next();
        m_outline.levels.push_back(binding);
        return endOfDeclaration();
    }

    bool readFunction()
    {
        m_cursor.next();
        Outline::Callable function;
        if (!m_cursor.peek(1).is(TokenKind::LeftParen)) {
            function.type = m_cursor.index();
            m_cursor.next();
            while (m_cursor.at(TokenKind::LeftBracket)) {
                if (!readSize(function.sizes)) {
                    return false;
                }
            }
        }
        return readCallable(function, m_outline.functions);
    }

    bool readRoutine()
    {
        m_cursor.next();
        return readCallable({}, m_outline.routines);
    }

    bool readCallable(Outline::Callable callable, std::vector<Outline::Callable> &list)
    {
        if (!m_cursor.at(TokenKind::Name)) {
            m_cursor.expected("a name");
            return false;
        }
        callable.name = m_cursor.index();
        m_cursor.next();
        TokenRange parentheses;
        callable.isFaulty = !m_cursor.at(TokenKind::LeftParen) || !readBalanced(parentheses);
        if (callable.isFaulty) {
            if (parentheses.first == 0) {
                m_cursor.expected("'('");
            }
            list.push_back(callable);
            return false;
        }
        callable.parameters = between(parentheses);
        if (!readBody(callable.body)) {
            return false;
        }
        list.push_back(callable);
        return true;
    }

    bool readStart() { return readBlock(m_outline.startBlocks); }
    bool readMainline() { return readBlock(m_outline.mainlineBlocks); }

    bool readBlock(std::vector<Outline::Block> &list)
    {
        Outline::Block block;
        block.word = m_cursor.index();
        m_cursor.next();
        readBody(block.body);
        list.push_back(block);
        return true;
    }

    bool readHandler()
    {
        Outline::Handler handler;
        handler.word = m_cursor.index();
        m_cursor.next();
        handler.triggers.first = m_cursor.index();
        do {
            TokenRange trigger;
            if (!m_cursor.at(TokenKind::LeftBracket)) {
                m_cursor.expected("'['");
                return false;
            }
            if (!readBalanced(trigger)) {
                return false;
            }
        } while (m_cursor.take(TokenKind::Comma));
        handler.triggers.last = m_cursor.index();
        if (!readBody(handler.body)) {
            return false;
        }
        m_outline.handlers.push_back(handler);
        return true;
    }

    bool readVariables()
    {
        Outline::Variables variables;
        for (; m_cursor.at(TokenKind::Name); m_cursor.next()) {
            if (m_cursor.atName("const")) {
                variables.isConst = true;
            } else if (codeOfWord(m_cursor.peek().text, Word::Storage) >= 0) {
                variables.storageWords.push_back(m_cursor.index());
            } else if (isUnfinished()) { // reported
                variables.isConst = closestName(m_cursor.peek().text, { QStringLiteral("const") }).size() > 0;
            } else {
                break;
            }
        }
        if (!m_cursor.at(TokenKind::Name)) {
            m_cursor.expected("the name of a type");
            return false;
        }
        variables.type = m_cursor.index();
        m_cursor.next();
        do {
            Outline::Declarator declarator;
            const bool isRead = readDeclarator(declarator);
            declarator.isFaulty = !isRead || m_isBroken;
            if (isRead || declarator.name != 0) {
                variables.declarators.push_back(declarator);
            }
            if (!isRead) {
                m_outline.variables.push_back(variables);
                return false;
            }
        } while (m_cursor.take(TokenKind::Comma));
        const bool isEnded = m_isBroken || endOfDeclaration();
        variables.declarators.back().isFaulty = variables.declarators.back().isFaulty || !isEnded;
        m_outline.variables.push_back(variables);
        return isEnded;
    }

    bool readDeclarator(Outline::Declarator &declarator)
    {
        if (!m_cursor.at(TokenKind::Name)) {
            m_cursor.expected("the name of a variable");
            return false;
        }
        declarator.name = m_cursor.index();
        m_cursor.next();
        while (m_cursor.at(TokenKind::LeftBracket)) {
            if (!readSize(declarator.sizes)) {
                return false;
            }
        }
        if (!m_cursor.take(TokenKind::Assign)) {
            return true;
        }
        if (m_isBroken) {
            return true;
        }
        declarator.hasInitialValue = true;
        declarator.initialValue.first = m_cursor.index();
        bool inQuotes = false;
        while (!m_cursor.atEnd()) {
            const Token &token = m_cursor.peek();
            const bool isFirst = m_cursor.index() == declarator.initialValue.first;
            const bool ends = token.is(TokenKind::Comma) || token.is(TokenKind::Semicolon) ||
                              token.is(TokenKind::RightBrace) || (token.startsLine && !isFirst);
            if ((ends && !inQuotes) || isAtPart()) {
                break;
            }
            inQuotes = inQuotes != token.is(TokenKind::Quote);
            const bool opens =
                token.is(TokenKind::LeftParen) || token.is(TokenKind::LeftBracket) || token.is(TokenKind::LeftBrace);
            if (!opens) {
                m_cursor.next();
                continue;
            }
            TokenRange inner;
            if (!readBalanced(inner)) {
                return false;
            }
        }
        declarator.initialValue.last = m_cursor.index();
        return true;
    }

    bool readSize(std::vector<TokenRange> &sizes)
    {
        TokenRange brackets;
        if (!readBalanced(brackets)) {
            return false;
        }
        sizes.push_back(between(brackets));
        return true;
    }

    bool endOfDeclaration()
    {
        if (m_cursor.atEnd() || m_cursor.peek().startsLine || isAtPart() || m_cursor.take(TokenKind::Semicolon)) {
            return true;
        }
        m_cursor.expected("the end of the declaration");
        return false;
    }

    TokenCursor m_cursor;
    const std::vector<TokenRange> &m_broken;
    Sources &m_sources = m_cursor.sources();
    Outline m_outline;
    size_t m_nextBroken = 0;
    bool m_isBroken = false; // what is being read
};
} // namespace

Outline outlineOf(const TokenCursor &cursor, const std::vector<TokenRange> &broken)
{
    return Outliner(cursor, broken).run();
}
