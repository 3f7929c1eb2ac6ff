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
