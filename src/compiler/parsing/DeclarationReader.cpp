#include "compiler/parsing/DeclarationReader.h"

#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"

bool DeclarationReader::isVariableStart() const
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

bool DeclarationReader::isUnfinished() const
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

bool DeclarationReader::readProgram()
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

bool DeclarationReader::readStructure()
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

bool DeclarationReader::readExclusive()
{
    m_cursor.next();
    TokenRange range;
    if (!readBalanced(range)) {
        return false;
    }
    m_outline.exclusives.push_back(range);
    return endOfDeclaration();
}

bool DeclarationReader::readCombination()
{
    m_cursor.next();
    TokenRange range;
    if (!readBalanced(range)) {
        return false;
    }
    m_outline.combinations.push_back(range);
    return endOfDeclaration();
}

bool DeclarationReader::readLevel()
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

bool DeclarationReader::readFunction()
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

bool DeclarationReader::readRoutine()
{
    m_cursor.next();
    return readCallable({}, m_outline.routines);
}

bool DeclarationReader::readHandler()
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

bool DeclarationReader::readVariables()
{
    Outline::Variables variables;
    variables.first = m_cursor.index();
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

TokenRange DeclarationReader::readBraces()
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

bool DeclarationReader::readBody(TokenRange &body)
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

bool DeclarationReader::readBalanced(TokenRange &range)
{
    const SourcePosition opening = m_cursor.position();
    const QString text = describe(m_cursor.peek(), m_cursor.sources());
    range.first = m_cursor.index();
    if (!m_cursor.skipBalanced()) {
        m_cursor.sources().report(Fault::UnclosedBracket, opening, QStringLiteral("this %1 is not closed").arg(text));
        m_cursor.moveTo(range.first + 1); // what follows is read as if it were not there
        return false;
    }
    range.last = m_cursor.index();
    return true;
}

TokenRange DeclarationReader::between(TokenRange brackets) const
{
    const TokenKind last = m_cursor.token(brackets.last - 1).kind;
    const bool isClosed =
        last == TokenKind::RightBrace || last == TokenKind::RightParen || last == TokenKind::RightBracket;
    return { brackets.first + 1, isClosed ? brackets.last - 1 : brackets.last };
}

bool DeclarationReader::readCallable(Outline::Callable callable, std::vector<Outline::Callable> &list)
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

bool DeclarationReader::readBlock(std::vector<Outline::Block> &list)
{
    Outline::Block block;
    block.word = m_cursor.index();
    m_cursor.next();
    readBody(block.body);
    list.push_back(block);
    return true;
}

bool DeclarationReader::readDeclarator(Outline::Declarator &declarator)
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

bool DeclarationReader::readSize(std::vector<TokenRange> &sizes)
{
    TokenRange brackets;
    if (!readBalanced(brackets)) {
        return false;
    }
    sizes.push_back(between(brackets));
    return true;
}

bool DeclarationReader::endOfDeclaration()
{
    if (m_cursor.atEnd() || m_cursor.peek().startsLine || isAtPart() || m_cursor.take(TokenKind::Semicolon)) {
        return true;
    }
    m_cursor.expected("the end of the declaration");
    return false;
}
