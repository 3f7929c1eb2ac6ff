#include "compiler/parsing/StatementParser.h"

#include "compiler/checks/Checks.h"

// IF, loops, SWITCH, SELECT, and what leaves them.

std::unique_ptr<Expression> StatementParser::parseCondition(const char *word)
{
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return nullptr;
    }
    const TokenCursor::Nested nested(cursor());
    Operand condition = parse();
    if (!condition || !fits(condition) || !cursor().expect(TokenKind::RightParen, "')'")) {
        return nullptr;
    }
    if (condition.type.isStruct()) {
        report(Fault::WrongType, condition.position,
               QStringLiteral("%1 cannot be used as a condition").arg(m_work.symbols.typeText(condition.type)));
    }
    warnIfConstant(condition, word);
    return std::move(condition.node);
}

void StatementParser::warnIfConstant(const Operand &condition, const char *word)
{
    if (!condition.isLiteral) {
        return;
    }
    const std::optional<double> value = m_work.constants.number(condition.node.get());
    const bool holds = value && integerPart(*value) != 0;
    const bool isUsual =
        holds && (qstrcmp(word, "while") == 0 || qstrcmp(word, "active") == 0 || qstrcmp(word, "for") == 0);
    if (!isUsual) { // a loop without end and a last branch are written so
        report(Fault::ConstantCondition, condition.position,
               QStringLiteral("this condition is always %1")
                   .arg(holds ? QStringLiteral("true") : QStringLiteral("false")));
    }
}

/// A chain of else-ifs is read in a loop: it may be long.
std::unique_ptr<Statement> StatementParser::parseIf()
{
    std::unique_ptr<IfStatement> first;
    IfStatement *last = nullptr;
    int added = 0;
    bool isGood = true;
    while (isGood) {
        cursor().next();
        auto statement = std::make_unique<IfStatement>();
        statement->condition = parseCondition("if");
        if (statement->condition) {
            statement->thenBranch = parseNested();
        }
        isGood = statement->thenBranch != nullptr;
        IfStatement *const current = statement.get();
        if (last) {
            last->elseBranch = std::move(statement);
        } else {
            first = std::move(statement);
        }
        last = current;
        const bool isThenBlock = cursor().previous().is(TokenKind::RightBrace);
        if (!isGood ||
            !(isThenBlock || cursor().startsLine() || cursor().at(TokenKind::Semicolon) || cursor().atName("else"))) {
            break;
        }
        const bool hasSemicolon = cursor().at(TokenKind::Semicolon) && cursor().peek(1).isName("else");
        if (hasSemicolon) {
            cursor().next();
        }
        if (!cursor().takeName("else")) {
            break;
        }
        if (!cursor().atName("if")) {
            last->elseBranch = parseNested();
            isGood = last->elseBranch != nullptr;
            break;
        }
        ++added;
        ++m_work.pathHeight;
    }
    m_work.pathHeight -= added;
    return isGood ? std::move(first) : nullptr;
}

std::unique_ptr<Statement> StatementParser::parseWhile()
{
    cursor().next();
    auto statement = std::make_unique<WhileStatement>();
    statement->condition = parseCondition("while");
    if (!statement->condition) {
        return nullptr;
    }
    ++m_in.loops;
    statement->body = parseNested();
    --m_in.loops;
    return statement->body ? std::move(statement) : nullptr;
}

std::unique_ptr<Statement> StatementParser::parseFor()
{
    cursor().next();
    auto statement = std::make_unique<ForStatement>();
    if (!parseForHead(*statement)) {
        return nullptr;
    }
    ++m_in.loops;
    statement->body = parseNested();
    --m_in.loops;
    return statement->body ? std::move(statement) : nullptr;
}

bool StatementParser::parseForHead(ForStatement &loop)
{
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return false;
    }
    const TokenCursor::Nested nested(cursor());
    loop.initialisation = parseForList(TokenKind::Semicolon);
    if (!loop.initialisation || !cursor().expect(TokenKind::Semicolon, "';'")) {
        return false;
    }
    if (cursor().at(TokenKind::Semicolon)) {
        cursor().report(Fault::ForCondition,
                        QStringLiteral("a for needs a condition; without one its body never runs"));
    } else {
        Operand condition = parse();
        if (!condition || !fits(condition)) {
            return false;
        }
        warnIfConstant(condition, "for");
        loop.condition = std::move(condition.node);
    }
    if (!cursor().expect(TokenKind::Semicolon, "';'")) {
        return false;
    }
    loop.step = parseForList(TokenKind::RightParen);
    return loop.step && cursor().expect(TokenKind::RightParen, "')'");
}

std::unique_ptr<StatementList> StatementParser::parseForList(TokenKind end)
{
    const Path path(m_work, 2);
    auto list = std::make_unique<StatementList>();
    while (!cursor().at(end)) {
        const SourcePosition position = cursor().position();
        std::unique_ptr<Statement> statement =
            cursor().at(TokenKind::LeftBracket) ? parseChannelAssignment() : parseSimple();
        if (!statement) {
            return nullptr;
        }
        statement->place = m_work.places.note(position);
        list->statements.push_back(std::move(statement));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    return list;
}

std::unique_ptr<Statement> StatementParser::parseSwitch()
{
    cursor().next();
    auto statement = std::make_unique<SwitchStatement>();
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return nullptr;
    }
    {
        const TokenCursor::Nested nested(cursor());
        Operand value = parse();
        if (!value || !fits(value) || !cursor().expect(TokenKind::RightParen, "')'")) {
            return nullptr;
        }
        if (value.type.isStruct()) {
            report(Fault::WrongType, value.position,
                   QStringLiteral("a number or a text expected, found %1").arg(m_work.symbols.typeText(value.type)));
        }
        statement->value = std::move(value.node);
    }
    if (!cursor().expect(TokenKind::LeftBrace, "'{'")) {
        return nullptr;
    }
    const Level level(m_work);
    const Path path(m_work, 2);
    ++m_in.switches;
    bool isGood = !level.isTooDeep();
    while (isGood && !cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
        isGood = cursor().take(TokenKind::Semicolon) || parseCase(*statement);
    }
    --m_in.switches;
    if (!isGood) {
        while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
            recover(cursor().index());
        }
    }
    cursor().take(TokenKind::RightBrace);
    return statement; // also after an error: the parser stands behind it
}

bool StatementParser::parseCase(SwitchStatement &statement)
{
    const SourcePosition position = cursor().position();
    SwitchStatement::CaseItem item;
    if (cursor().takeName("case")) {
        const SourcePosition labelPosition = cursor().position();
        const std::optional<Constant> label = parseConstant();
        if (!label) {
            return false;
        }
        if (label->isText()) {
            item.kind = SwitchStatement::TextCase;
            item.text = QString::fromUtf8(label->bytes);
            if (item.text.toUtf8() != label->bytes) {
                report(Fault::WrongType, labelPosition, QStringLiteral("the label is no UTF-8 text"));
            }
        } else if (label->isNumber()) {
            item.kind = SwitchStatement::NumberCase;
            item.number = label->number;
        } else {
            report(Fault::WrongType, labelPosition, QStringLiteral("a number or a text expected"));
        }
    } else if (!cursor().takeName("default")) {
        cursor().expected("'case', 'default' or '}'");
        return false;
    }
    for (const SwitchStatement::CaseItem &other : statement.cases) {
        if (other.kind == item.kind && other.text == item.text && other.number == item.number) {
            report(Fault::DuplicateCase, position, QStringLiteral("this case stands here already"));
        }
    }
    if (!cursor().expect(TokenKind::Colon, "':'")) {
        return false;
    }
    if (atCase()) {
        m_work.sources.report(Fault::EmptyCase, position, QStringList());
    }
    item.body = parseCaseBody();
    statement.cases.push_back(std::move(item));
    return true;
}

/// A block, or statements up to the next case. Only a block with variables of its own stays a block.
std::unique_ptr<StatementList> StatementParser::parseCaseBody()
{
    auto list = std::make_unique<StatementList>();
    m_work.locals.openBlock();
    parseStatements(*list, ListEnd::BraceOrCase);
    closeScope();
    const bool hasVariables = !list->statements.empty() && as<BlockItemDefStatement>(list->statements.front().get());
    if (hasVariables) {
        auto block = std::make_unique<CompoundStatement>();
        block->body = std::move(list);
        list = std::make_unique<StatementList>();
        list->statements.push_back(std::move(block));
        return list;
    }
    auto *block = list->statements.size() == 1 ? as<CompoundStatement>(list->statements.front().get()) : nullptr;
    if (!block) {
        return list;
    }
    const auto &inner = block->body->statements;
    if (!inner.empty() && as<BlockItemDefStatement>(inner.front().get())) {
        return list;
    }
    std::unique_ptr<StatementList> body = std::move(block->body);
    return body;
}

std::unique_ptr<Statement> StatementParser::parseSelect()
{
    cursor().next();
    if (!cursor().expect(TokenKind::LeftBrace, "'{'")) {
        return nullptr;
    }
    const Level level(m_work);
    auto statement = std::make_unique<SelectStatement>();
    bool isGood = !level.isTooDeep();
    while (isGood && !cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
        isGood = cursor().take(TokenKind::Semicolon) || parseActive(*statement);
    }
    if (!isGood) {
        while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
            recover(cursor().index());
        }
    }
    cursor().take(TokenKind::RightBrace);
    return statement;
}

bool StatementParser::parseActive(SelectStatement &statement)
{
    if (!cursor().takeName("active")) {
        cursor().expected("'active' or '}'");
        return false;
    }
    SelectStatement::ActiveItem item;
    item.condition = parseCondition("active");
    if (!item.condition || !cursor().expect(TokenKind::Colon, "':'")) {
        return false;
    }
    item.body = parseNested();
    if (!item.body) {
        return false;
    }
    expectStatementEnd();
    statement.branches.push_back(std::move(item));
    return true;
}

std::unique_ptr<Statement> StatementParser::parseBreak()
{
    if (m_in.loops == 0 && m_in.switches == 0) {
        cursor().report(Fault::JumpOutside, QStringLiteral("break stands outside a loop"));
    }
    cursor().next();
    return std::make_unique<BreakStatement>();
}

std::unique_ptr<Statement> StatementParser::parseContinue()
{
    if (m_in.loops == 0) {
        cursor().report(Fault::JumpOutside, QStringLiteral("continue stands outside a loop"));
    }
    cursor().next();
    return std::make_unique<ContinueStatement>();
}

std::unique_ptr<Statement> StatementParser::parseReturn()
{
    cursor().next();
    auto statement = std::make_unique<ReturnStatement>();
    if (cursor().startsLine() || atListEnd() || atCase() || cursor().at(TokenKind::Semicolon)) {
        return statement;
    }
    Operand value = parse();
    if (!value || !fits(value)) {
        return nullptr;
    }
    if (!m_in.hasResult) {
        report(Fault::LostResult, value.position, QStringLiteral("only a function has a result; the value is lost"));
    }
    m_in.returned = true;
    statement->value = std::move(value.node);
    return statement;
}

std::unique_ptr<Statement> StatementParser::parseRoutineCall()
{
    cursor().next();
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a routine");
        return nullptr;
    }
    const Token name = cursor().next();
    const CallableSymbol *routine = m_work.symbols.findRoutine(name.text);
    m_work.checks->usage.called(name.text);
    if (routine) {
        m_work.names.use(name, routine->position);
    } else {
        reportName(Fault::UnknownRoutine, name,
                   m_work.symbols.findFunction(name.text)
                       ? QStringLiteral("'%1' is a function; it is called without 'call'").arg(name.text)
                       : QStringLiteral("unknown routine '%1'%2")
                             .arg(name.text, didYouMean(m_work.symbols.closestRoutine(name.text))));
    }
    Operand call;
    call.position = name.position;
    auto node = std::make_unique<CallExpression>();
    node->functionName = name.text;
    node->arguments = parseArguments(routine, name.text, call.height);
    if (!node->arguments || !fits(call)) {
        return nullptr;
    }
    auto statement = std::make_unique<CallRoutineStatement>();
    statement->call = std::move(node);
    return statement;
}
