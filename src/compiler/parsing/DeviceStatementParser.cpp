#include "compiler/parsing/StatementParser.h"

#include "compiler/checks/Checks.h"

// Waits, and the statements that act on devices.

std::unique_ptr<Statement> StatementParser::parseWait()
{
    cursor().next();
    auto wait = std::make_unique<WaitStatement>();
    Operand time = parse();
    if (!time || !fits(time)) {
        return nullptr;
    }
    if (time.type.isStruct()) {
        report(Fault::WrongType, time.position,
               QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(time.type)));
    }
    wait->time = std::move(time.node);
    if (cursor().at(TokenKind::Text)) {
        wait->name = cursor().next().text;
        m_work.checks->usage.waitNamed(wait->name);
        if (wait->name.isEmpty()) {
            report(Fault::Syntax, cursor().previous().position, QStringLiteral("the name of a wait is empty"));
        }
    }
    if (cursor().takeName("capture") && !parseCaptured(*wait)) {
        return nullptr;
    }
    const Surroundings before = m_in; // the body runs later, outside every loop and function
    m_in = {};
    wait->body = parseNested();
    m_in = before;
    return wait->body ? std::move(wait) : nullptr;
}

bool StatementParser::parseCaptured(WaitStatement &wait)
{
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return false;
    }
    const TokenCursor::Nested nested(cursor());
    while (!cursor().at(TokenKind::RightParen)) {
        if (!cursor().at(TokenKind::Name)) {
            cursor().expected("the name of a variable");
            return false;
        }
        const Token name = cursor().next();
        GlobalSymbol *global = m_work.symbols.findGlobal(name.text);
        LocalScope::Local *local = m_work.locals.find(name.text);
        if (local) {
            local->isUsed = true;
            m_work.noteUse(name, *local);
            report(Fault::CapturedLocal, name.position,
                   QStringLiteral("'%1' is not global; a wait takes its local variables along without capture")
                       .arg(name.text));
        } else if (!global) {
            reportName(Fault::UnknownName, name,
                       QStringLiteral("unknown name '%1'%2")
                           .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, {}))));
        }
        if (global) {
            global->isUsed = true;
            m_work.noteUse(name, *global);
        }
        wait.captured.push_back(normalisedName(name.text));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    return cursor().expect(TokenKind::RightParen, "',' or ')'");
}

std::unique_ptr<Statement> StatementParser::parseCancelWait()
{
    cursor().next();
    if (!cursor().at(TokenKind::Text)) {
        cursor().expected("the name of a wait, as a text");
        return nullptr;
    }
    auto statement = std::make_unique<CancelWaitStatement>();
    m_work.checks->usage.waitCancelled(cursor().peek().text, cursor().position());
    statement->name = cursor().next().text;
    return statement;
}

std::unique_ptr<Statement> StatementParser::parseCancelAllWait()
{
    cursor().next();
    return std::make_unique<CancelAllWaitStatement>();
}

std::unique_ptr<Statement> StatementParser::parseOn()
{
    return parseSwitching(OnOffStatement::On);
}

std::unique_ptr<Statement> StatementParser::parseOff()
{
    return parseSwitching(OnOffStatement::Off);
}

std::unique_ptr<Statement> StatementParser::parseTo()
{
    return parseSwitching(OnOffStatement::To);
}

std::unique_ptr<Statement> StatementParser::parsePulse()
{
    return parseSwitching(OnOffStatement::Pulse);
}

std::unique_ptr<Statement> StatementParser::parseSwitching(OnOffStatement::Action action)
{
    cursor().next();
    auto statement = std::make_unique<OnOffStatement>();
    statement->action = action;
    const SourcePosition position = cursor().position();
    statement->channels = parseButton(ButtonUse::Channels);
    if (statement->channels) {
        m_work.checks->devices.switching(*statement->channels, position);
    }
    return statement->channels ? std::move(statement) : nullptr;
}

std::unique_ptr<DeviceExpr> StatementParser::parseStatementDevice()
{
    cursor().next();
    StaticType type;
    std::unique_ptr<DeviceExpr> device = parseDevice(type);
    if (device && type.isKnown() && type.code != DeviceType) {
        report(Fault::WrongType, cursor().previous().position,
               QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(type)));
    }
    return device;
}

std::unique_ptr<Expression> StatementParser::parsePayload()
{
    if (!cursor().expect(TokenKind::Comma, "','")) {
        return nullptr;
    }
    Operand payload = parse();
    if (!payload || !fits(payload)) {
        return nullptr;
    }
    if (payload.type.isStruct() || (payload.type.isArray() && !isNumericType(payload.type.code))) {
        report(Fault::WrongType, payload.position,
               QStringLiteral("%1 has no bytes to send").arg(m_work.symbols.typeText(payload.type)));
    }
    return std::move(payload.node);
}

std::unique_ptr<Statement> StatementParser::parseSendString()
{
    auto statement = std::make_unique<SendStringStatement>();
    const SourcePosition position = cursor().peek(1).position;
    statement->device = parseStatementDevice();
    if (statement->device) {
        m_work.checks->devices.sending(*statement->device, position);
    }
    statement->payload = statement->device ? parsePayload() : nullptr;
    return statement->payload ? std::move(statement) : nullptr;
}

std::unique_ptr<Statement> StatementParser::parseSendCommand()
{
    auto statement = std::make_unique<SendCommandStatement>();
    statement->device = parseStatementDevice();
    statement->payload = statement->device ? parsePayload() : nullptr;
    return statement->payload ? std::move(statement) : nullptr;
}

std::unique_ptr<Statement> StatementParser::parseSendLevel()
{
    const SourcePosition position = cursor().position();
    cursor().next();
    auto statement = std::make_unique<SendLevelStatement>();
    const SourcePosition devicePosition = cursor().position();
    StaticType type;
    statement->device = parseDevice(type);
    if (!statement->device) {
        return nullptr;
    }
    while (cursor().take(TokenKind::Comma)) {
        Operand value = parse();
        if (!value || !fits(value)) {
            return nullptr;
        }
        if (value.type.isKnown() && !isNumericType(value.type.code)) {
            report(Fault::WrongType, value.position,
                   QStringLiteral("a number or numbers expected, found %1").arg(m_work.symbols.typeText(value.type)));
        }
        statement->values.push_back(std::move(value.node));
    }
    const size_t count = statement->values.size();
    if (count == 0 || count > 2) {
        report(Fault::ArgumentCount, position,
               QStringLiteral("write: send_level device, level, value, or: send_level devlev, value"));
    } else if (type.isKnown()) {
        const StaticType wanted = count == 1 ? StaticType{ DevLev::kTypeCode, 0 } : StaticType{ DeviceType, 0 };
        if (type.code != wanted.code || (count == 1 && type.isArray())) {
            report(Fault::WrongType, devicePosition,
                   QStringLiteral("%1 expected, found %2")
                       .arg(count == 1 ? QStringLiteral("with one value a devlev") : QStringLiteral("a device"),
                            m_work.symbols.typeText(type)));
        }
    }
    return statement;
}

std::unique_ptr<Statement> StatementParser::parseCreateLevel()
{
    auto statement = std::make_unique<CreateLevelStatement>();
    statement->device = parseStatementDevice();
    if (!statement->device || !cursor().expect(TokenKind::Comma, "','")) {
        return nullptr;
    }
    Operand code = parse();
    if (!code || !fits(code) || !cursor().expect(TokenKind::Comma, "','")) {
        return nullptr;
    }
    statement->levelCode = std::move(code.node);
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a variable");
        return nullptr;
    }
    const Token name = cursor().next();
    GlobalSymbol *global = m_work.symbols.findGlobal(name.text);
    if (!global) {
        reportName(Fault::UnknownName, name,
                   m_work.locals.find(name.text)
                       ? QStringLiteral("'%1' is not global; a level needs a global variable").arg(name.text)
                       : QStringLiteral("unknown name '%1'%2")
                             .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, {}))));
    } else if (global->isConst) {
        report(Fault::ConstantChanged, name.position, QStringLiteral("'%1' is a constant").arg(name.text));
    } else if (global->type.isKnown() && !global->type.isNumber()) {
        report(Fault::WrongType, name.position,
               QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(global->type)));
    }
    if (global) {
        global->isUsed = true;
        m_work.noteUse(name, *global);
    }
    statement->variable = normalisedName(name.text);
    return statement;
}

/// The name of a character array.
QString StatementParser::parseBufferName()
{
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a variable");
        return {};
    }
    const Operand variable = parseStored();
    if (!variable) {
        return {};
    }
    m_work.checks->usage.filled(variable);
    const auto *node = as<VarExpression>(variable.node.get());
    if (!node || (variable.type.isKnown() && variable.type != StaticType{ CharType, 1 })) {
        report(Fault::WrongType, variable.position, QStringLiteral("a variable char[] expected"));
    } else if (variable.isConstant) {
        report(Fault::ConstantChanged, variable.position, QStringLiteral("'%1' is a constant").arg(variable.rootName));
    }
    return normalisedName(variable.rootName);
}

std::unique_ptr<Statement> StatementParser::parseCreateBuffer()
{
    auto statement = std::make_unique<CreateBufferStatement>();
    statement->device = parseStatementDevice();
    if (!statement->device || !cursor().expect(TokenKind::Comma, "','")) {
        return nullptr;
    }
    if (cursor().at(TokenKind::Name) && m_work.locals.find(cursor().peek().text)) {
        cursor().report(
            Fault::GlobalNeeded,
            QStringLiteral("'%1' is not global; a buffer needs a global variable").arg(cursor().peek().text));
    }
    statement->buffer = parseBufferName();
    return statement->buffer.isEmpty() ? nullptr : std::move(statement);
}

std::unique_ptr<Statement> StatementParser::parseClearBuffer()
{
    cursor().next();
    auto statement = std::make_unique<ClearBufferStatement>();
    statement->buffer = parseBufferName();
    return statement->buffer.isEmpty() ? nullptr : std::move(statement);
}
