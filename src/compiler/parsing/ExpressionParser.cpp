#include "compiler/parsing/ExpressionParser.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Words.h"
#include "library/Library.h"

#include <algorithm>

namespace {
constexpr int kMostRecursion = 256;

struct BinaryOperator
{
    TokenKind sign;
    int binding; // higher binds tighter
    int code;
};

constexpr int kShiftBinding = 9;

constexpr BinaryOperator kArithmetic[] = {
    { TokenKind::Pipe, 6, '|' },   { TokenKind::Caret, 7, '^' },    { TokenKind::Ampersand, 8, '&' },
    { TokenKind::Plus, 10, '+' },  { TokenKind::Minus, 10, '-' },   { TokenKind::Star, 11, '*' },
    { TokenKind::Slash, 11, '/' }, { TokenKind::Percent, 11, '%' },
};
constexpr BinaryOperator kComparisons[] = {
    { TokenKind::Or, 1, NumberBoolExpression::Or },
    { TokenKind::Xor, 2, NumberBoolExpression::Xor },
    { TokenKind::And, 3, NumberBoolExpression::And },
    { TokenKind::Assign, 4, NumberBoolExpression::Equal },
    { TokenKind::Equal, 4, NumberBoolExpression::Equal },
    { TokenKind::NotEqual, 4, NumberBoolExpression::NotEqual },
    { TokenKind::Less, 5, NumberBoolExpression::Less },
    { TokenKind::LessEqual, 5, NumberBoolExpression::LessEqual },
    { TokenKind::Greater, 5, NumberBoolExpression::Greater },
    { TokenKind::GreaterEqual, 5, NumberBoolExpression::GreaterEqual },
};

template <size_t Size>
const BinaryOperator *rowOf(const BinaryOperator (&table)[Size], TokenKind sign)
{
    const auto *const row = std::find_if(std::begin(table), std::end(table),
                                         [sign](const BinaryOperator &entry) { return entry.sign == sign; });
    return row != std::end(table) ? row : nullptr;
}

int bindingOf(TokenKind sign) // 0: no binary operator
{
    if (sign == TokenKind::ShiftLeft || sign == TokenKind::ShiftRight) {
        return kShiftBinding;
    }
    const BinaryOperator *row = rowOf(kArithmetic, sign);
    row = row ? row : rowOf(kComparisons, sign);
    return row ? row->binding : 0;
}

} // namespace

int Operand::size() const
{
    const Array *array = asArray(shape);
    return !array ? localSize : isConstant ? array->capacity() : array->maxLength();
}

ExpressionParser::Level::Level(Workspace &workspace)
    : m_work(workspace)
{
    if (++m_work.recursion > kMostRecursion && !m_work.tooDeep) {
        m_work.tooDeep = true;
        m_work.cursor.report(Fault::TooDeep,
                             QStringLiteral("nested too deeply; no more than %1 levels").arg(kMostRecursion));
    }
}

bool ExpressionParser::fits(const Operand &operand)
{
    if (m_work.pathHeight + operand.height <= kMostNodes) {
        return true;
    }
    constexpr int kShort = 16;
    report(Fault::TooDeep, operand.position,
           operand.height > kShort ? QStringLiteral("the expression is too long here; split it")
                                   : QStringLiteral("nested too deeply here"));
    return false;
}

Operand ExpressionParser::parse()
{
    return parseBinary(1);
}

Operand ExpressionParser::parseValueFor(const StaticType &target)
{
    const bool before = m_isStructured;
    m_isStructured = target.isStruct() && !target.isDevice();
    Operand operand = parse();
    m_isStructured = before;
    if (operand && !canAssign(target, operand.type)) {
        report(Fault::WrongType, operand.position,
               QStringLiteral("%1 expected, found %2")
                   .arg(m_work.symbols.typeText(target), m_work.symbols.typeText(operand.type)));
    }
    return operand;
}

Operand ExpressionParser::parseBinary(int leastBinding)
{
    const Level level(m_work);
    if (level.isTooDeep()) {
        return {};
    }
    ExpressionChecks &checks = m_work.checks->expressions;
    const size_t leftMarks = checks.marks();
    Operand left = parseUnary();
    while (left) {
        const Token sign = cursor().peek();
        const int binding = bindingOf(sign.kind);
        if (binding < leastBinding || binding == 0 || cursor().startsLine()) {
            break;
        }
        cursor().next();
        const size_t rightMarks = checks.marks();
        Operand right = parseBinary(binding + 1);
        if (!right) {
            return {};
        }
        checks.combining(sign, left, right, leftMarks, rightMarks);
        left = combine(sign, std::move(left), std::move(right));
        if (m_work.pathHeight + left.height > kMostNodes) {
            fits(left);
            return {};
        }
    }
    return left;
}

Operand ExpressionParser::combine(const Token &sign, Operand left, Operand right)
{
    Operand result;
    result.type = kNumberType;
    result.height = std::max(left.height, right.height) + 1;
    result.position = left.position;
    result.isLiteral = left.isLiteral && right.isLiteral;
    result.sign = sign.kind;
    const BinaryOperator *comparison = rowOf(kComparisons, sign.kind);
    for (const Operand *side : { &left, &right }) {
        if (side->type.isStruct() || (side->type.isArray() && !isNumericType(side->type.code))) {
            report(Fault::WrongType, side->position,
                   QStringLiteral("%1 cannot be used as a number").arg(m_work.symbols.typeText(side->type)));
        }
    }
    if (sign.is(TokenKind::ShiftLeft) || sign.is(TokenKind::ShiftRight)) {
        auto node = std::make_unique<ShiftExpression>();
        node->direction = sign.is(TokenKind::ShiftLeft) ? ShiftExpression::Left : ShiftExpression::Right;
        node->value = std::move(left.node);
        node->count = std::move(right.node);
        result.node = std::move(node);
    } else if (comparison) {
        auto node = std::make_unique<NumberBoolExpression>();
        node->operatorCode = comparison->code;
        node->left = std::move(left.node);
        node->right = std::move(right.node);
        result.node = std::move(node);
    } else {
        auto node = std::make_unique<CalcExpression>();
        node->operatorCode = rowOf(kArithmetic, sign.kind)->code;
        node->left = std::move(left.node);
        node->right = std::move(right.node);
        result.node = std::move(node);
    }
    return result;
}

Operand ExpressionParser::parseUnary()
{
    const Level level(m_work);
    if (level.isTooDeep()) {
        return {};
    }
    const Token sign = cursor().peek();
    if (sign.is(TokenKind::PlusPlus) || sign.is(TokenKind::MinusMinus)) {
        return parseStep(sign.is(TokenKind::PlusPlus));
    }
    if (!sign.is(TokenKind::Minus) && !sign.is(TokenKind::Not) && !sign.is(TokenKind::Tilde)) {
        return parsePostfix();
    }
    cursor().next();
    if (sign.is(TokenKind::Minus) && cursor().at(TokenKind::Number)) { // a negative number, no operation
        Operand number = parseNumber();
        if (auto *constant = as<ConstExpression>(number.node.get())) {
            constant->value = -constant->value;
            number.position = sign.position;
            return number;
        }
        return number;
    }
    Operand operand = parseUnary();
    if (!operand) {
        return {};
    }
    if (operand.type.isStruct()) {
        report(Fault::WrongType, operand.position,
               QStringLiteral("%1 cannot be used as a number").arg(m_work.symbols.typeText(operand.type)));
    }
    Operand result;
    result.type = kNumberType;
    result.height = operand.height + 1;
    result.position = sign.position;
    result.isLiteral = operand.isLiteral;
    const auto wrap = [&operand, &result](auto node) {
        node->operand = std::move(operand.node);
        result.node = std::move(node);
    };
    if (sign.is(TokenKind::Minus)) {
        wrap(std::make_unique<UMinusExpression>());
    } else if (sign.is(TokenKind::Not)) {
        wrap(std::make_unique<NotExpression>());
    } else {
        wrap(std::make_unique<BNotExpression>());
    }
    return result;
}

/// ++x and --x; the cursor stands on the sign.
Operand ExpressionParser::parseStep(bool isIncrement)
{
    const SourcePosition position = cursor().position();
    cursor().next();
    Operand operand = parseStored();
    if (!operand) {
        return {};
    }
    m_work.checks->usage.stored(operand);
    std::unique_ptr<VarExpression> variable = nodeAs<VarExpression>(std::move(operand.node));
    if (!variable) {
        report(Fault::StepTarget, operand.position,
               QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        report(Fault::ConstantChanged, operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
    } else if (operand.type.isKnown() && !operand.type.isNumber()) {
        report(Fault::WrongType, operand.position, QStringLiteral("only a number can be stepped"));
    }
    Operand result;
    std::unique_ptr<StepExpression> node;
    if (isIncrement) {
        node = std::make_unique<IncExpression>();
    } else {
        node = std::make_unique<DecExpression>();
    }
    node->operand = std::move(variable);
    result.node = std::move(node);
    result.type = kNumberType;
    result.height = 2;
    result.position = position;
    return result;
}

Operand ExpressionParser::parsePostfix()
{
    Operand operand = parseSuffixes(parsePrimary());
    const bool isStep = cursor().at(TokenKind::PlusPlus) || cursor().at(TokenKind::MinusMinus);
    if (!operand || !isStep || cursor().startsLine()) {
        return operand;
    }
    m_work.checks->usage.stored(operand);
    const bool isIncrement = cursor().at(TokenKind::PlusPlus);
    auto *variable = as<VarExpression>(operand.node.get());
    if (!variable) {
        report(Fault::StepTarget, operand.position,
               QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        report(Fault::ConstantChanged, operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
    }
    cursor().next();
    std::unique_ptr<StepExpression> node;
    if (isIncrement) {
        node = std::make_unique<IncExpression>();
    } else {
        node = std::make_unique<DecExpression>();
    }
    node->isPrefix = false;
    node->operand = nodeAs<VarExpression>(std::move(operand.node));
    Operand result;
    result.node = std::move(node);
    result.type = kNumberType;
    result.height = 2;
    result.position = operand.position;
    return result;
}

Operand ExpressionParser::parseStored()
{
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a variable");
        return {};
    }
    return parseSuffixes(parseVariable());
}

Operand ExpressionParser::parseSuffixes(Operand operand)
{
    while (operand && !cursor().startsLine()) {
        if (cursor().at(TokenKind::LeftBracket) && operand.isStored) {
            operand = parseElement(std::move(operand));
        } else if (cursor().at(TokenKind::Dot) && operand.isStored) {
            operand = parseMember(std::move(operand));
        } else {
            break;
        }
        if (operand && !fits(operand)) {
            return {};
        }
    }
    return operand;
}

Operand ExpressionParser::parseElement(Operand base)
{
    if (base.type.isKnown() && !base.type.isArray()) {
        report(Fault::WrongType, cursor().position(),
               QStringLiteral("this is %1, not an array").arg(m_work.symbols.typeText(base.type)));
        base.type = {};
    }
    cursor().next();
    Operand index;
    {
        const TokenCursor::Nested nested(cursor());
        index = parse();
        if (!index) {
            return {};
        }
        if (index.type.isStruct()) {
            report(Fault::WrongType, index.position,
                   QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(index.type)));
        }
        if (!cursor().expect(TokenKind::RightBracket, "']'")) {
            return {};
        }
    }
    if (base.type.isArray()) {
        m_work.checks->expressions.element(base, index);
    }
    const Array *array = asArray(base.shape);
    base.shape = array ? array->object(1) : nullptr;
    base.localSize = -1;
    auto node = std::make_unique<ArrayExpression>();
    node->base = std::move(base.node);
    node->index = std::move(index.node);
    base.node = std::move(node);
    base.height = std::max(base.height, index.height) + 1;
    if (base.type.isArray()) {
        --base.type.dimensions;
    }
    return base;
}

Operand ExpressionParser::parseMember(Operand base)
{
    cursor().next();
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a member");
        return {};
    }
    const Token name = cursor().next();
    StaticType type;
    if (base.type.isKnown()) {
        const std::optional<StaticType> known =
            base.type.isStruct() ? m_work.symbols.memberType(base.type.code, name.text) : std::nullopt;
        if (known) {
            type = *known;
        } else if (base.type.isStruct()) {
            report(Fault::UnknownMember, name.position,
                   QStringLiteral("%1 has no member '%2'%3")
                       .arg(m_work.symbols.typeText(base.type), name.text,
                            didYouMean(m_work.symbols.closestMember(base.type.code, name.text))));
        } else {
            report(Fault::UnknownMember, name.position,
                   QStringLiteral("%1 has no members").arg(m_work.symbols.typeText(base.type)));
        }
    }
    const StructType *structure = asStruct(base.shape);
    base.shape = structure ? structure->member(Name(name.text)) : nullptr;
    base.localSize = -1;
    auto node = std::make_unique<StructExpression>();
    node->base = std::move(base.node);
    node->memberName = normalisedName(name.text);
    base.node = std::move(node);
    base.height += 1;
    base.type = type;
    return base;
}

Operand ExpressionParser::parsePrimary()
{
    const Token &token = cursor().peek();
    switch (token.kind) {
    case TokenKind::Number: {
        Operand number = parseNumber();
        return atDevicePart() ? parseDeviceParts(std::move(number), true) : std::move(number);
    }
    case TokenKind::Text: {
        auto node = std::make_unique<StringExpression>();
        node->text = token.text;
        m_work.checks->expressions.text(token);
        Operand operand;
        operand.node = std::move(node);
        operand.type = kTextType;
        operand.position = token.position;
        operand.isLiteral = true;
        cursor().next();
        return operand;
    }
    case TokenKind::Quote:
        return parseTextList();
    case TokenKind::LeftBrace:
        return parseList();
    case TokenKind::LeftParen:
        return parseParentheses();
    case TokenKind::LeftBracket: {
        Operand operand;
        operand.position = token.position;
        operand.type = kNumberType;
        std::unique_ptr<ButtonExpression> button = parseButton(ButtonUse::Channels, &operand.height);
        if (button && m_work.checks->devices.isPanelState(*button)) {
            m_work.checks->expressions.mark(ExpressionChecks::Mark::Kind::State, {}, operand.position);
        }
        operand.node = std::move(button);
        return operand;
    }
    case TokenKind::Name:
        return cursor().peek(1).is(TokenKind::LeftParen) && !cursor().peek(1).startsLine ? parseCall()
                                                                                         : parseVariable();
    default:
        cursor().expected("an expression");
        return {};
    }
}

Operand ExpressionParser::parseNumber()
{
    const Token &token = cursor().next();
    Operand operand;
    operand.node = std::make_unique<ConstExpression>(token.number);
    operand.type = kNumberType;
    operand.position = token.position;
    operand.isLiteral = true;
    return operand;
}

Operand ExpressionParser::parseVariable()
{
    const Token name = cursor().next();
    Operand operand;
    operand.position = name.position;
    operand.isStored = true;
    operand.rootName = name.text;
    operand.node = std::make_unique<VarExpression>(normalisedName(name.text));
    m_work.checks->expressions.mark(ExpressionChecks::Mark::Kind::Variable, normalisedName(name.text), name.position);
    if (LocalScope::Local *local = m_work.locals.find(name.text)) {
        local->isUsed = true;
        operand.type = local->type;
        operand.localSize = local->size;
    } else if (GlobalSymbol *global = m_work.symbols.findGlobal(name.text)) {
        global->isUsed = true;
        operand.type = global->type;
        operand.shape = global->value;
        operand.isConstant = global->isConst;
        operand.isLiteral = global->isSystem && (name.isName("true") || name.isName("false"));
    } else if (m_work.symbols.findFunction(name.text) || Library::find(name.text)) {
        report(Fault::WrongCall, name.position, QStringLiteral("'%1' is a function; call it as %1(…)").arg(name.text));
    } else if (!reportOtherLanguage(m_work.sources, name)) {
        static const QStringList kEventNames{ QStringLiteral("button"), QStringLiteral("data"), QStringLiteral("level"),
                                              QStringLiteral("timeline") };
        reportName(
            Fault::UnknownName, name,
            kEventNames.contains(name.text, Qt::CaseInsensitive)
                ? QStringLiteral("'%1' is known only inside the handlers of %1 events").arg(name.text.toLower())
            : isReservedWord(name.text)
                ? QStringLiteral("an expression expected, found '%1'").arg(name.text)
                : QStringLiteral("unknown name '%1'%2")
                      .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, m_work.locals.names()))));
    }
    return operand;
}

Operand ExpressionParser::parseParentheses()
{
    Operand operand;
    const SourcePosition position = cursor().position();
    cursor().next();
    {
        const TokenCursor::Nested nested(cursor());
        operand = parse();
        if (!operand || !cursor().expect(TokenKind::RightParen, "')'")) {
            return {};
        }
    }
    operand.position = position;
    if (atDevicePart()) {
        return parseDeviceParts(std::move(operand), false);
    }
    operand.isStored = false; // (x)[1] and (x).y are no places
    operand.sign = TokenKind::End;
    return operand;
}
