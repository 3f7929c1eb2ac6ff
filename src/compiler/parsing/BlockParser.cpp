#include "compiler/lexing/Words.h"
#include "compiler/parsing/StatementParser.h"

#include <algorithm>

// Blocks: their statements, what ends them, and the variables that they define.

std::unique_ptr<CompoundStatement>
StatementParser::parseBody(TokenRange body, const std::vector<LocalScope::Local> &locals, Surroundings &surroundings)
{
    const TokenCursor::Visit visit(cursor(), body);
    const Path path(m_work, 4); // the deepest place of a body: handler, part, block, list
    m_in = surroundings;
    m_work.locals.openBlock();
    for (const LocalScope::Local &local : locals) {
        m_work.locals.add(local);
    }
    std::unique_ptr<CompoundStatement> block = parseBlock();
    closeScope();
    surroundings = m_in;
    return block;
}

std::unique_ptr<StatementList> StatementParser::parsePlainBody(TokenRange body)
{
    Surroundings none;
    std::unique_ptr<CompoundStatement> block = parseBody(body, {}, none);
    if (!block) {
        return std::make_unique<StatementList>();
    }
    const auto &statements = block->body->statements;
    if (statements.empty() || !as<BlockItemDefStatement>(statements.front().get())) {
        return std::move(block->body);
    }
    auto list = std::make_unique<StatementList>(); // a list by itself has no variables: the block keeps them
    list->statements.push_back(std::move(block));
    return list;
}

std::unique_ptr<CompoundStatement> StatementParser::parseBlock()
{
    const Level level(m_work);
    const Path path(m_work, 2);
    if (level.isTooDeep() || !cursor().expect(TokenKind::LeftBrace, "'{'")) {
        return nullptr;
    }
    auto block = std::make_unique<CompoundStatement>();
    block->place = m_work.places.note(cursor().previous().position);
    block->body = std::make_unique<StatementList>();
    m_work.locals.openBlock();
    parseStatements(*block->body, ListEnd::Brace);
    closeScope();
    cursor().take(TokenKind::RightBrace); // a missing one has been reported
    return block;
}

void StatementParser::closeScope()
{
    const SourcePosition end = cursor().atEnd() ? cursor().previous().position : cursor().position();
    for (const LocalScope::Local &local : m_work.locals.closeBlock()) {
        m_work.names.endScope(local.position, end);
        if (!local.isUsed && local.kind == LocalScope::Kind::Variable && !m_work.sources.hasErrors()) {
            report(Fault::Unused, local.position, QStringLiteral("the variable '%1' is never used").arg(local.name));
        }
    }
}

bool StatementParser::atListEnd()
{
    return cursor().atEnd() || cursor().at(TokenKind::RightBrace) || m_work.tooDeep;
}

bool StatementParser::atCase()
{
    return cursor().atName("case") || cursor().atName("default");
}

/// Up to the end of the block or case. Definitions stand first; their initial values follow them as assignments.
void StatementParser::parseStatements(StatementList &list, ListEnd end)
{
    StatementList assignments;
    bool isHead = true;
    bool isReachable = true;
    bool isWarned = false;
    const auto endHead = [&] {
        isHead = false;
        std::move(assignments.statements.begin(), assignments.statements.end(), std::back_inserter(list.statements));
        assignments.statements.clear();
    };
    while (!atListEnd() && !(end == ListEnd::BraceOrCase && atCase())) {
        if (cursor().take(TokenKind::Semicolon)) {
            continue;
        }
        const SourcePosition position = cursor().position();
        const size_t start = cursor().index();
        std::unique_ptr<Statement> statement;
        if (atDefinition()) {
            if (!isHead) {
                report(Fault::Definition, position, QStringLiteral("definitions stand first in a block"));
            }
            statement = parseDefinition(assignments);
        } else {
            if (isHead) {
                endHead();
            }
            if (!isReachable) {
                if (!isWarned) {
                    report(Fault::Unreachable, position, QStringLiteral("this statement is never reached"));
                }
                isWarned = true;
            }
            statement = parseStatement();
            const int tag = statement ? statement->typeTag() : 0;
            isReachable = isReachable && tag != BreakStatement::kTag && tag != ContinueStatement::kTag &&
                          tag != ReturnStatement::kTag;
        }
        if (statement) {
            list.statements.push_back(std::move(statement));
            expectStatementEnd();
        } else {
            recover(start);
            skipElse();
        }
    }
    endHead();
}

/// The branches of an if that could not be read.
void StatementParser::skipElse()
{
    while (cursor().takeName("else")) {
        recover(cursor().index());
    }
}

void StatementParser::expectStatementEnd()
{
    const bool isBlock = cursor().previous().is(TokenKind::RightBrace);
    if (isBlock || atListEnd() || atCase() || cursor().startsLine() || cursor().take(TokenKind::Semicolon)) {
        return;
    }
    cursor().expected("the end of the statement");
    recover(cursor().index());
}

/// To the end of the statement that began with token start: a line end or semicolon outside braces, or the end of the
/// block.
void StatementParser::recover(size_t start)
{
    while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace) && !cursor().take(TokenKind::Semicolon)) {
        if (cursor().startsLine() && cursor().index() > start) {
            return;
        }
        if (!cursor().at(TokenKind::LeftBrace)) {
            cursor().next();
        } else if (!cursor().skipBalanced()) {
            return;
        }
    }
}

bool StatementParser::atDefinition()
{
    const Token &first = cursor().peek();
    if (!first.is(TokenKind::Name)) {
        return false;
    }
    if (codeOfWord(first.text, Word::Placing) >= 0 || codeOfWord(first.text, Word::Storage) >= 0 ||
        codeOfWord(first.text, Word::Type) >= 0) {
        return true;
    }
    const Token &second = cursor().peek(1);
    const bool isPair = second.is(TokenKind::Name) && !second.startsLine && !isReservedWord(first.text);
    return first.isName("const") || (isPair && m_work.symbols.typeCodeOf(first.text) >= 0);
}

/// Block variables: codes as they are written, then the declarators. nullptr: reported.
std::unique_ptr<Statement> StatementParser::parseDefinition(StatementList &assignments)
{
    std::vector<int> codes;
    const size_t head = cursor().index();
    while (cursor().at(TokenKind::Name)) {
        const Token &word = cursor().peek();
        const int placement = codeOfWord(word.text, Word::Placing);
        const int storage = codeOfWord(word.text, Word::Storage);
        if (word.isName("const")) {
            report(Fault::Definition, word.position, QStringLiteral("constants are declared outside all blocks"));
        } else if (placement < 0 && storage < 0) {
            break;
        } else if (std::any_of(codes.begin(), codes.end(),
                               [placement](int code) { return (code >= StackVar) == (placement >= 0); })) {
            report(Fault::Definition, word.position,
                   QStringLiteral("only one placement and one storage class can be given"));
        } else {
            codes.push_back(placement >= 0 ? placement : storage);
        }
        cursor().next();
    }
    const bool isStack = std::find(codes.begin(), codes.end(), StackVar) != codes.end();
    if (isStack && codes.size() > 1) {
        cursor().report(Fault::Definition, QStringLiteral("a stack_var has no storage class"));
    }
    const bool hasType =
        cursor().at(TokenKind::Name) && cursor().peek(1).is(TokenKind::Name) && !cursor().peek(1).startsLine;
    if (hasType) {
        codes.push_back(m_globals.typeCodeAt(cursor().index()).value_or(IntegerType));
        cursor().next();
    }
    m_definitionHead = { head, cursor().index() };
    auto definition = std::make_unique<BlockItemDefStatement>();
    do {
        if (!parseDeclarator(*definition, codes, assignments)) {
            return nullptr;
        }
    } while (cursor().take(TokenKind::Comma));
    return definition;
}

bool StatementParser::parseDeclarator(BlockItemDefStatement &definition, const std::vector<int> &codes,
                                      StatementList &assignments)
{
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a variable");
        return false;
    }
    const size_t nameIndex = cursor().index();
    const Token name = cursor().next();
    StaticType type;
    int size = -1;
    std::unique_ptr<Expression> declarator = std::make_unique<VarExpression>(normalisedName(name.text));
    while (cursor().at(TokenKind::LeftBracket) && !cursor().startsLine()) {
        cursor().next();
        const TokenCursor::Nested nested(cursor());
        int knownSize = 0;
        auto array = std::make_unique<ArrayExpression>();
        array->base = std::move(declarator);
        if (!cursor().at(TokenKind::RightBracket)) {
            Operand length = parse();
            if (!length || !fits(length)) {
                return false;
            }
            const std::optional<double> known = m_work.constants.number(length.node.get());
            if (known && (!isWholeNumber(*known) || *known < 1)) {
                report(Fault::ArraySize, length.position,
                       QStringLiteral("the size of an array must be a whole number from 1"));
            }
            knownSize = known ? integerPart32(*known) : -1;
            array->index = known ? std::make_unique<ConstExpression>(*known) : std::move(length.node);
        }
        if (!cursor().expect(TokenKind::RightBracket, "']'")) {
            return false;
        }
        declarator = std::move(array);
        size = ++type.dimensions == 1 ? knownSize : size;
    }
    const bool hasType = !codes.empty() && (codes.back() < Volatile || codes.back() > LocalVar);
    type.code = hasType ? codes.back() : type.isArray() ? CharType : IntegerType;
    declareLocal(nameIndex, type, size);
    definition.items.push_back({ codes, std::move(declarator) });
    if (!cursor().at(TokenKind::Assign)) {
        return true;
    }
    if (codes.empty() || codes.front() != StackVar) {
        cursor().report(
            Fault::Definition,
            QStringLiteral("only a stack_var can have an initial value; a local_var keeps its content between runs"));
        return false;
    }
    cursor().next();
    auto assignment = std::make_unique<AssignStatement>();
    assignment->place = m_work.places.note(name.position);
    assignment->target = std::make_unique<VarExpression>(normalisedName(name.text));
    Operand value = parseValueFor(type);
    if (!value || !fits(value)) {
        return false;
    }
    assignment->value = std::move(value.node);
    assignments.statements.push_back(std::move(assignment));
    return true;
}

void StatementParser::declareLocal(size_t index, const StaticType &type, int size)
{
    const Token &name = cursor().token(index);
    const LocalScope::Local *known = m_work.locals.find(name.text);
    if (const QString problem = nameProblem(name.text, type.isArray()); !problem.isEmpty()) {
        report(Fault::ReservedWord, name.position, problem);
    } else if (known) {
        report(Fault::DuplicateName, name.position,
               QStringLiteral("'%1' is already defined here (%2)")
                   .arg(name.text, m_work.sources.lineReference(known->position, name.position)));
    } else {
        m_work.locals.add({ name.text, type, name.position, LocalScope::Kind::Variable, size });
        m_work.names.declare(NameIndex::Kind::Local, cursor(), m_definitionHead, { index, cursor().index() });
    }
}
