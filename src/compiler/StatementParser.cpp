#include "compiler/StatementParser.h"

#include "compiler/Words.h"

#include <algorithm>

const StatementParser::Row StatementParser::kRows[] = {
    { "if", &StatementParser::parseIf },
    { "while", &StatementParser::parseWhile },
    { "for", &StatementParser::parseFor },
    { "switch", &StatementParser::parseSwitch },
    { "select", &StatementParser::parseSelect },
    { "break", &StatementParser::parseBreak },
    { "continue", &StatementParser::parseContinue },
    { "return", &StatementParser::parseReturn },
    { "call", &StatementParser::parseRoutineCall },
    { "wait", &StatementParser::parseWait },
    { "cancel_wait", &StatementParser::parseCancelWait },
    { "cancel_all_wait", &StatementParser::parseCancelAllWait },
    { "on", &StatementParser::parseOn },
    { "off", &StatementParser::parseOff },
    { "to", &StatementParser::parseTo },
    { "pulse", &StatementParser::parsePulse },
    { "send_string", &StatementParser::parseSendString },
    { "send_command", &StatementParser::parseSendCommand },
    { "send_level", &StatementParser::parseSendLevel },
    { "create_level", &StatementParser::parseCreateLevel },
    { "create_buffer", &StatementParser::parseCreateBuffer },
    { "clear_buffer", &StatementParser::parseClearBuffer },
};

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
    m_work.locals.closeBlock();
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
    if (statements.empty() || !dynamic_cast<const BlockItemDefStatement *>(statements.front().get())) {
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
    block->body = std::make_unique<StatementList>();
    m_work.locals.openBlock();
    parseStatements(*block->body, ListEnd::Brace);
    closeScope();
    cursor().take(TokenKind::RightBrace); // a missing one has been reported
    return block;
}

void StatementParser::closeScope()
{
    for (const LocalScope::Local &local : m_work.locals.closeBlock()) {
        if (!local.isUsed && local.kind == LocalScope::Kind::Variable) {
            warning(local.position, QStringLiteral("the variable '%1' is never used").arg(local.name));
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
                error(position, QStringLiteral("definitions stand first in a block"));
            }
            statement = parseDefinition(assignments);
        } else {
            if (isHead) {
                endHead();
            }
            if (!isReachable) {
                warning(position, QStringLiteral("this statement is never reached"));
                isReachable = true; // said once
            }
            statement = parseStatement();
            const int tag = statement ? statement->typeTag() : 0;
            isReachable = isReachable && tag != BreakStatement().typeTag() && tag != ContinueStatement().typeTag() &&
                          tag != ReturnStatement().typeTag();
        }
        if (statement) {
            list.statements.push_back(std::move(statement));
            expectStatementEnd();
        } else {
            recover();
            if (cursor().index() == start) {
                cursor().next();
            }
        }
    }
    endHead();
}

void StatementParser::expectStatementEnd()
{
    const bool isBlock = cursor().previous().is(TokenKind::RightBrace);
    if (isBlock || atListEnd() || atCase() || cursor().startsLine() || cursor().take(TokenKind::Semicolon)) {
        return;
    }
    cursor().expected("the end of the statement");
    recover();
}

/// To the end of the statement: a line end or semicolon outside braces, or the end of the block.
void StatementParser::recover()
{
    while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace) && !cursor().take(TokenKind::Semicolon)) {
        if (cursor().at(TokenKind::LeftBrace)) {
            if (!cursor().skipBalanced()) {
                return;
            }
        } else {
            cursor().next();
        }
        if (cursor().startsLine()) {
            return;
        }
    }
}

std::unique_ptr<Statement> StatementParser::parseStatement()
{
    const Level level(m_work);
    if (level.isTooDeep()) {
        return nullptr;
    }
    if (m_work.pathHeight > kMostNodes) {
        error(cursor().position(), QStringLiteral("nested too deeply"));
        m_work.tooDeep = true;
        return nullptr;
    }
    if (cursor().at(TokenKind::LeftBrace)) {
        return parseBlock();
    }
    if (cursor().at(TokenKind::LeftBracket)) {
        return parseChannelAssignment();
    }
    for (const Row &row : kRows) {
        if (cursor().atName(row.word)) {
            return (this->*row.read)();
        }
    }
    return parseSimple();
}

std::unique_ptr<Statement> StatementParser::parseNested()
{
    const Path path(m_work, 1);
    if (atDefinition()) {
        error(cursor().position(), QStringLiteral("a definition needs a block: { … }"));
        return nullptr;
    }
    if (atListEnd() || cursor().at(TokenKind::Semicolon)) {
        cursor().expected("a statement or a block");
        return nullptr;
    }
    return parseStatement();
}

bool StatementParser::atDefinition()
{
    const Token &first = cursor().peek();
    if (!first.is(TokenKind::Name)) {
        return false;
    }
    if (placementCodeOfWord(first.text) >= 0 || storageCodeOfWord(first.text) >= 0 || typeCodeOfWord(first.text) >= 0) {
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
    while (cursor().at(TokenKind::Name)) {
        const Token &word = cursor().peek();
        const int placement = placementCodeOfWord(word.text);
        const int storage = storageCodeOfWord(word.text);
        if (word.isName("const")) {
            error(word.position, QStringLiteral("constants are declared outside all blocks"));
        } else if (placement < 0 && storage < 0) {
            break;
        } else if (std::any_of(codes.begin(), codes.end(),
                               [placement](int code) { return (code >= StackVar) == (placement >= 0); })) {
            error(word.position, QStringLiteral("only one placement and one storage class can be given"));
        } else {
            codes.push_back(placement >= 0 ? placement : storage);
        }
        cursor().next();
    }
    const bool isStack = std::find(codes.begin(), codes.end(), StackVar) != codes.end();
    if (isStack && codes.size() > 1) {
        cursor().error(QStringLiteral("a stack_var has no storage class"));
    }
    const bool hasType =
        cursor().at(TokenKind::Name) && cursor().peek(1).is(TokenKind::Name) && !cursor().peek(1).startsLine;
    if (hasType) {
        codes.push_back(m_globals.typeCodeAt(cursor().index()).value_or(IntegerType));
        cursor().next();
    }
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
    const Token name = cursor().next();
    StaticType type;
    std::unique_ptr<Expression> declarator = std::make_unique<VarExpression>(normalisedName(name.text));
    while (cursor().at(TokenKind::LeftBracket)) {
        cursor().next();
        const TokenCursor::Nested nested(cursor());
        auto array = std::make_unique<ArrayExpression>();
        array->base = std::move(declarator);
        if (!cursor().at(TokenKind::RightBracket)) {
            Operand size = parse();
            if (!size || !fits(size)) {
                return false;
            }
            const std::optional<double> known = m_work.constants.number(size.node.get());
            if (known && (!isWholeNumber(*known) || *known < 1)) {
                error(size.position, QStringLiteral("the size of an array must be a whole number from 1"));
            }
            array->index = known ? std::make_unique<ConstExpression>(*known) : std::move(size.node);
        }
        if (!cursor().expect(TokenKind::RightBracket, "']'")) {
            return false;
        }
        declarator = std::move(array);
        ++type.dimensions;
    }
    const bool hasType = !codes.empty() && (codes.back() < Volatile || codes.back() > LocalVar);
    type.code = hasType ? codes.back() : type.isArray() ? CharType : IntegerType;
    declareLocal(name, type);
    definition.items.push_back({ codes, std::move(declarator) });
    if (!cursor().at(TokenKind::Assign)) {
        return true;
    }
    if (codes.empty() || codes.front() != StackVar) {
        cursor().error(
            QStringLiteral("only a stack_var can have an initial value; a local_var keeps its content between runs"));
        return false;
    }
    cursor().next();
    auto assignment = std::make_unique<AssignStatement>();
    assignment->target = std::make_unique<VarExpression>(normalisedName(name.text));
    Operand value = parseValueFor(type);
    if (!value || !fits(value)) {
        return false;
    }
    assignment->value = std::move(value.node);
    assignments.statements.push_back(std::move(assignment));
    return true;
}

void StatementParser::declareLocal(const Token &name, const StaticType &type)
{
    const LocalScope::Local *known = m_work.locals.find(name.text);
    if (isReservedWord(name.text)) {
        error(name.position, QStringLiteral("'%1' is a word of the language").arg(name.text));
    } else if (known) {
        error(name.position, QStringLiteral("'%1' is already defined here (%2)")
                                 .arg(name.text, m_work.sources.lineReference(known->position, name.position)));
    } else {
        m_work.locals.add({ name.text, type, name.position });
    }
}

void StatementParser::reportUnknownStatement(const Token &name)
{
    const QString close = closestName(name.text, statementWords());
    error(name.position, QStringLiteral("a statement expected, found '%1'%2").arg(name.text, didYouMean(close)));
}

std::unique_ptr<Statement> StatementParser::parseSimple()
{
    const Token first = cursor().peek();
    if (first.is(TokenKind::PlusPlus) || first.is(TokenKind::MinusMinus)) {
        cursor().next();
        return makeStep(parseStored(), first.is(TokenKind::PlusPlus));
    }
    if (!first.is(TokenKind::Name)) {
        cursor().expected("a statement");
        return nullptr;
    }
    const Token &second = cursor().peek(1);
    if (second.is(TokenKind::LeftParen) && !second.startsLine) {
        Operand call = parseCall();
        if (!call || !fits(call)) {
            return nullptr;
        }
        auto statement = std::make_unique<FuncCallStatement>();
        statement->call = nodeAs<FuncCallExpression>(std::move(call.node));
        return statement;
    }
    return parseAssignment();
}

std::unique_ptr<Statement> StatementParser::parseAssignment()
{
    const size_t start = cursor().index();
    const Token name = cursor().peek();
    const Token &second = cursor().peek(1);
    const bool continues = !second.startsLine && !second.is(TokenKind::Name) && !second.is(TokenKind::Number) &&
                           !second.is(TokenKind::Text) && !second.is(TokenKind::LeftBrace) &&
                           !second.is(TokenKind::RightBrace) && !second.is(TokenKind::Quote) &&
                           !second.is(TokenKind::End);
    const bool isVariable = m_work.locals.find(name.text) || m_work.symbols.findGlobal(name.text);
    if (!continues && !isVariable) { // no variable was meant
        reportUnknownStatement(name);
        return nullptr;
    }
    if (isReservedWord(name.text) && !m_work.locals.find(name.text)) {
        cursor().expected("a statement");
        return nullptr;
    }
    Operand target = parseStored();
    return target ? finishAssignment(std::move(target), start) : nullptr;
}

/// Behind the target, which began with token start.
std::unique_ptr<Statement> StatementParser::finishAssignment(Operand target, size_t start)
{
    struct Compound
    {
        TokenKind sign;
        int operatorCode;
    };
    static constexpr Compound kCompounds[] = {
        { TokenKind::PlusAssign, '+' },  { TokenKind::MinusAssign, '-' },   { TokenKind::StarAssign, '*' },
        { TokenKind::SlashAssign, '/' }, { TokenKind::PercentAssign, '%' },
    };
    const TokenKind sign = cursor().startsLine() ? TokenKind::End : cursor().peek().kind;
    if (sign == TokenKind::PlusPlus || sign == TokenKind::MinusMinus) {
        cursor().next();
        return makeStep(std::move(target), sign == TokenKind::PlusPlus);
    }
    const auto *const compound = std::find_if(std::begin(kCompounds), std::end(kCompounds),
                                              [sign](const Compound &row) { return row.sign == sign; });
    const bool isCompound = compound != std::end(kCompounds);
    if (sign != TokenKind::Assign && !isCompound) {
        cursor().expected(sign == TokenKind::Equal ? "'=' (an assignment)" : "'=', '++' or '--'");
        return nullptr;
    }
    checkTarget(target);
    auto statement = std::make_unique<AssignStatement>();
    if (!isCompound) {
        cursor().next();
        Operand value = parseValueFor(target.type);
        if (!value || !fits(value)) {
            return nullptr;
        }
        statement->value = std::move(value.node);
    } else {
        if (target.type.isKnown() && !target.type.isNumber()) {
            error(target.position,
                  QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(target.type)));
        }
        const size_t signIndex = cursor().index();
        cursor().moveTo(start);
        Operand left = parseStored(); // once more: the target is read, too
        cursor().moveTo(signIndex + 1);
        Operand right = parseValueFor({ DoubleType, 0 });
        if (!left || !right) {
            return nullptr;
        }
        auto calculation = std::make_unique<CalcExpression>();
        calculation->operatorCode = compound->operatorCode;
        right.height = std::max(left.height, right.height) + 1;
        if (!fits(right)) {
            return nullptr;
        }
        calculation->left = std::move(left.node);
        calculation->right = std::move(right.node);
        statement->value = std::move(calculation);
    }
    if (!fits(target)) {
        return nullptr;
    }
    statement->target = std::move(target.node);
    return statement;
}

void StatementParser::checkTarget(const Operand &target)
{
    if (target.isConstant) {
        error(target.position, QStringLiteral("'%1' is a constant").arg(target.rootName));
    }
}

std::unique_ptr<Statement> StatementParser::makeStep(Operand operand, bool isIncrement)
{
    if (!operand || !fits(operand)) {
        return nullptr;
    }
    checkTarget(operand);
    if (operand.type.isKnown() && !operand.type.isNumber()) {
        error(operand.position,
              QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(operand.type)));
    }
    std::unique_ptr<StepStatement> step;
    if (isIncrement) {
        step = std::make_unique<IncStatement>();
    } else {
        step = std::make_unique<DecStatement>();
    }
    step->operand = std::move(operand.node);
    return step;
}

std::unique_ptr<Statement> StatementParser::parseChannelAssignment()
{
    auto statement = std::make_unique<AssignStatement>();
    statement->target = parseButton(ButtonUse::Channels);
    if (!statement->target || !cursor().expect(TokenKind::Assign, "'='")) {
        return nullptr;
    }
    Operand value = parse();
    if (!value || !fits(value)) {
        return nullptr;
    }
    if (value.type.isKnown() && !isNumericType(value.type.code)) {
        error(value.position,
              QStringLiteral("a number or numbers expected, found %1").arg(m_work.symbols.typeText(value.type)));
    }
    statement->value = std::move(value.node);
    return statement;
}
