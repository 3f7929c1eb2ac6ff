#include "compiler/parsing/StatementParser.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "library/Library.h"

#include <algorithm>

constexpr StatementParser::Row StatementParser::kRows[] = {
    { "if", false, &StatementParser::parseIf },
    { "while", false, &StatementParser::parseWhile },
    { "for", false, &StatementParser::parseFor },
    { "switch", false, &StatementParser::parseSwitch },
    { "select", false, &StatementParser::parseSelect },
    { "break", false, &StatementParser::parseBreak },
    { "continue", false, &StatementParser::parseContinue },
    { "return", false, &StatementParser::parseReturn },
    { "call", true, &StatementParser::parseRoutineCall },
    { "wait", true, &StatementParser::parseWait },
    { "cancel_wait", true, &StatementParser::parseCancelWait },
    { "cancel_all_wait", true, &StatementParser::parseCancelAllWait },
    { "on", true, &StatementParser::parseOn },
    { "off", true, &StatementParser::parseOff },
    { "to", true, &StatementParser::parseTo },
    { "pulse", true, &StatementParser::parsePulse },
    { "send_string", true, &StatementParser::parseSendString },
    { "send_command", true, &StatementParser::parseSendCommand },
    { "send_level", true, &StatementParser::parseSendLevel },
    { "create_level", true, &StatementParser::parseCreateLevel },
    { "create_buffer", true, &StatementParser::parseCreateBuffer },
    { "clear_buffer", true, &StatementParser::parseClearBuffer },
};

std::unique_ptr<Statement> StatementParser::parseStatement()
{
    const SourcePosition position = cursor().position();
    std::unique_ptr<Statement> statement = readStatement();
    if (statement) {
        statement->place = m_work.places.note(position);
    }
    return statement;
}

std::unique_ptr<Statement> StatementParser::readStatement()
{
    const Level level(m_work);
    if (level.isTooDeep()) {
        return nullptr;
    }
    if (m_work.pathHeight > kMostNodes) {
        report(Fault::TooDeep, cursor().position(), QStringLiteral("nested too deeply"));
        m_work.tooDeep = true;
        return nullptr;
    }
    if (cursor().at(TokenKind::LeftBrace)) {
        return parseBlock();
    }
    if (cursor().at(TokenKind::LeftBracket)) {
        return parseChannelAssignment();
    }
    m_work.checks->expressions.startStatement();
    const Token &first = cursor().peek();
    const bool isVariable = first.is(TokenKind::Name) && isWord(first.text, Word::Switches) &&
                            !cursor().peek(1).is(TokenKind::LeftBracket) &&
                            (m_work.locals.find(first.text) || m_work.symbols.findGlobal(first.text));
    static_assert(nameWords(kRows, [](const Word &word) { return (word.uses & Word::Begins) != 0; }));
    for (const Row &row : kRows) {
        if (cursor().atName(row.word) && !isVariable) {
            if (row.hasEffect) {
                m_work.checks->usage.effect();
            }
            return (this->*row.read)();
        }
    }
    return parseSimple();
}

std::unique_ptr<Statement> StatementParser::parseNested()
{
    const Path path(m_work, 1);
    if (atDefinition()) {
        report(Fault::Definition, cursor().position(), QStringLiteral("a definition needs a block: { … }"));
        return nullptr;
    }
    if (atListEnd() || cursor().at(TokenKind::Semicolon)) {
        cursor().expected("a statement or a block");
        return nullptr;
    }
    return parseStatement();
}

void StatementParser::reportUnknownStatement(const Token &name)
{
    const QString close = closestName(name.text, wordsWith(Word::Begins));
    report(Fault::UnknownWord, name.position,
           QStringLiteral("a statement expected, found '%1'%2").arg(name.text, didYouMean(close)));
}

bool StatementParser::isKnown(const QString &name)
{
    return m_work.locals.find(name) || m_work.symbols.findGlobal(name) || m_work.symbols.findFunction(name) ||
           m_work.symbols.findRoutine(name) || Library::find(name) || isReservedWord(name);
}

/// The statement that a misspelt word begins, by what follows it; nullptr: none.
const StatementParser::Row *StatementParser::meantRow(const Token &word)
{
    const QString close = closestName(word.text, wordsWith(Word::Begins));
    const auto *const row = std::find_if(std::begin(kRows), std::end(kRows),
                                         [&close](const Row &entry) { return close == QLatin1String(entry.word); });
    if (row == std::end(kRows)) {
        return nullptr;
    }
    const TokenKind follower = cursor().peek(1).kind;
    if (isWord(close, Word::HasTest) || close == QLatin1String("switch")) {
        return follower == TokenKind::LeftParen ? row : nullptr;
    }
    if (isWord(close, Word::Switches)) {
        return follower == TokenKind::LeftBracket ? row : nullptr;
    }
    const bool isValue = follower == TokenKind::Name || follower == TokenKind::Number || follower == TokenKind::Text;
    return isValue && !cursor().peek(1).startsLine ? row : nullptr;
}

std::unique_ptr<Statement> StatementParser::parseSimple()
{
    const Token first = cursor().peek();
    if (first.is(TokenKind::Name) && !isKnown(first.text)) {
        if (reportOtherLanguage(m_work.sources, first)) {
            return nullptr;
        }
        const bool isBranch = cursor().peek(1).is(TokenKind::LeftBrace) || cursor().peek(1).isName("if");
        if (isBranch && closestName(first.text, { QStringLiteral("else") }).size() > 0) {
            cursor().next();
            report(Fault::UnknownWord, first.position,
                   QStringLiteral("a statement expected, found '%1'%2")
                       .arg(first.text, didYouMean(QStringLiteral("else"))));
            return parseNested();
        }
        if (const Row *row = meantRow(first)) { // read on as it was meant
            reportUnknownStatement(first);
            return (this->*row->read)();
        }
    }
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
    m_work.checks->usage.stored(target);
    auto statement = std::make_unique<AssignStatement>();
    if (!isCompound) {
        cursor().next();
        Operand value = parseValueFor(target.type);
        if (!value || !fits(value)) {
            return nullptr;
        }
        m_work.checks->expressions.assigning(target, value);
        m_work.checks->usage.copied(value);
        statement->value = std::move(value.node);
    } else {
        if (target.type.isKnown() && !target.type.isNumber()) {
            report(Fault::WrongType, target.position,
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
        report(Fault::ConstantChanged, target.position, QStringLiteral("'%1' is a constant").arg(target.rootName));
    }
}

std::unique_ptr<Statement> StatementParser::makeStep(Operand operand, bool isIncrement)
{
    if (!operand || !fits(operand)) {
        return nullptr;
    }
    checkTarget(operand);
    m_work.checks->usage.stored(operand);
    if (operand.type.isKnown() && !operand.type.isNumber()) {
        report(Fault::WrongType, operand.position,
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
    m_work.checks->usage.effect();
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
        report(Fault::WrongType, value.position,
               QStringLiteral("a number or numbers expected, found %1").arg(m_work.symbols.typeText(value.type)));
    }
    statement->value = std::move(value.node);
    return statement;
}
