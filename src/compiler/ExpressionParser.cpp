#include "compiler/ExpressionParser.h"

#include "compiler/Words.h"
#include "library/Library.h"

#include <algorithm>

namespace {
constexpr int kMostRecursion = 256;
constexpr int kLastDevice = 46999;

struct BinaryOperator
{
    TokenKind sign;
    int binding; // higher binds tighter
    int code;
};

constexpr int kShift = -1;
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

const StaticType kNumberType{ DoubleType, 0 };
const StaticType kTextType{ CharType, 1 };
} // namespace

ExpressionParser::Level::Level(Workspace &workspace)
    : m_work(workspace)
{
    if (++m_work.recursion > kMostRecursion && !m_work.tooDeep) {
        m_work.tooDeep = true;
        m_work.cursor.error(QStringLiteral("nested too deeply; no more than %1 levels").arg(kMostRecursion));
    }
}

bool ExpressionParser::fits(const Operand &operand)
{
    if (m_work.pathHeight + operand.height <= kMostNodes) {
        return true;
    }
    error(operand.position, QStringLiteral("the expression is too long here; split it"));
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
        error(operand.position, QStringLiteral("%1 expected, found %2")
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
    Operand left = parseUnary();
    while (left) {
        const Token sign = cursor().peek();
        const int binding = bindingOf(sign.kind);
        if (binding < leastBinding || binding == 0 || cursor().startsLine()) {
            break;
        }
        cursor().next();
        Operand right = parseBinary(binding + 1);
        if (!right) {
            return {};
        }
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
    const BinaryOperator *comparison = rowOf(kComparisons, sign.kind);
    for (const Operand *side : { &left, &right }) {
        if (side->type.isStruct() || (side->type.isArray() && !isNumericType(side->type.code))) {
            error(side->position,
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
        if (auto *constant = dynamic_cast<ConstExpression *>(number.node.get())) {
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
        error(operand.position,
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
    std::unique_ptr<VarExpression> variable = nodeAs<VarExpression>(std::move(operand.node));
    if (!variable) {
        error(operand.position, QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        error(operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
    } else if (operand.type.isKnown() && !operand.type.isNumber()) {
        error(operand.position, QStringLiteral("only a number can be stepped"));
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
    const bool isIncrement = cursor().at(TokenKind::PlusPlus);
    auto *variable = dynamic_cast<VarExpression *>(operand.node.get());
    if (!variable) {
        error(operand.position, QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        error(operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
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
        error(cursor().position(), QStringLiteral("this is %1, not an array").arg(m_work.symbols.typeText(base.type)));
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
            error(index.position,
                  QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(index.type)));
        }
        if (!cursor().expect(TokenKind::RightBracket, "']'")) {
            return {};
        }
    }
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
            error(name.position, QStringLiteral("%1 has no member '%2'%3")
                                     .arg(m_work.symbols.typeText(base.type), name.text,
                                          didYouMean(m_work.symbols.closestMember(base.type.code, name.text))));
        } else {
            error(name.position, QStringLiteral("%1 has no members").arg(m_work.symbols.typeText(base.type)));
        }
    }
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
        operand.node = parseButton(ButtonUse::Channels, &operand.height);
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
    if (LocalScope::Local *local = m_work.locals.find(name.text)) {
        local->isUsed = true;
        operand.type = local->type;
    } else if (GlobalSymbol *global = m_work.symbols.findGlobal(name.text)) {
        global->isUsed = true;
        operand.type = global->type;
        operand.isConstant = global->isConst;
        operand.isLiteral = global->isSystem && (name.isName("true") || name.isName("false"));
    } else if (m_work.symbols.findFunction(name.text) || Library::find(name.text)) {
        error(name.position, QStringLiteral("'%1' is a function; call it as %1(…)").arg(name.text));
    } else {
        static const QStringList kEventNames{ QStringLiteral("button"), QStringLiteral("data"), QStringLiteral("level"),
                                              QStringLiteral("timeline") };
        error(name.position,
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
    return operand;
}

/// Whether a colon and another part of a device address follow.
bool ExpressionParser::atDevicePart() const
{
    const TokenCursor &tokens = m_work.cursor;
    return tokens.at(TokenKind::Colon) &&
           (tokens.peek(1).is(TokenKind::Number) || tokens.peek(1).is(TokenKind::LeftParen));
}

/// isAddress: so far there are only plain numbers, no parts in parentheses.
Operand ExpressionParser::parseDeviceParts(Operand first, bool isAddress)
{
    std::vector<Operand> parts;
    parts.push_back(std::move(first));
    while (parts.size() < 3 && atDevicePart()) {
        cursor().next();
        if (cursor().at(TokenKind::Number)) {
            parts.push_back(parseNumber());
            continue;
        }
        isAddress = false;
        cursor().next();
        const TokenCursor::Nested nested(cursor());
        parts.push_back(parse());
        if (!parts.back() || !cursor().expect(TokenKind::RightParen, "')'")) {
            return {};
        }
    }
    Operand result;
    result.position = parts.front().position;
    result.type = { DeviceType, 0 };
    if (parts.size() != 3) {
        error(result.position, QStringLiteral("a device address has three parts: number:port:system"));
        return {};
    }
    auto node = std::make_unique<DeviceExpr>();
    node->parts = std::make_unique<ExpressionList>();
    int numbers[3] = {};
    int index = 0;
    for (Operand &part : parts) {
        if (const auto *number = dynamic_cast<const ConstExpression *>(part.node.get())) {
            checkPart(number->value, index, part.position);
            numbers[index] = integerPart32(number->value);
        }
        ++index;
        result.height = std::max(result.height, part.height + 1);
        node->parts->items.push_back(std::move(part.node));
    }
    if (isAddress) {
        node->parts.reset();
        node->device = std::make_unique<Device>();
        if (std::all_of(std::begin(numbers), std::end(numbers), [](int number) { return number >= 0; })) {
            node->device->setAddress({ numbers[0], numbers[1], numbers[2] });
        }
        result.height = 2;
    }
    result.node = std::move(node);
    return result;
}

void ExpressionParser::checkPart(double part, int index, SourcePosition position)
{
    constexpr const char *kNames[] = { "number", "port", "system" };
    constexpr int kLeast[] = { 0, 1, 0 };
    constexpr int kMost[] = { kLastDevice, 65535, 65535 };
    if (!isWholeNumber(part) || part < kLeast[index] || part > kMost[index]) {
        error(position, QStringLiteral("the %1 of a device must be a whole number from %2 to %3")
                            .arg(QLatin1String(kNames[index]))
                            .arg(kLeast[index])
                            .arg(kMost[index]));
    }
}

/// " … ": the cursor stands on the first quote.
Operand ExpressionParser::parseTextList()
{
    Operand result;
    result.position = cursor().position();
    result.type = kTextType;
    result.isLiteral = true;
    auto node = std::make_unique<StringExpression>();
    node->list = std::make_unique<ExpressionList>();
    cursor().next();
    const TokenCursor::Nested nested(cursor());
    while (!cursor().at(TokenKind::Quote)) {
        Operand item = parse();
        if (!item) {
            return {};
        }
        if (item.type.isStruct()) {
            error(item.position, QStringLiteral("%1 has no bytes").arg(m_work.symbols.typeText(item.type)));
        }
        result.height = std::max(result.height, item.height + 1);
        result.isLiteral = result.isLiteral && item.isLiteral;
        node->list->items.push_back(std::move(item.node));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    if (!cursor().expect(TokenKind::Quote, "',' or '\"'")) {
        return {};
    }
    result.node = std::move(node);
    return result;
}

std::optional<Constant> ExpressionParser::constantValue(const Operand &operand)
{
    return m_work.constants.evaluate(operand.node.get(), operand.position);
}

/// { … } as an operand: a hidden constant array, or a list that is flattened at run time.
Operand ExpressionParser::parseList()
{
    Operand result;
    result.position = cursor().position();
    std::vector<Operand> items;
    bool isConstant = true;
    const std::optional<Constant> list = parseListConstant(items, isConstant, true);
    if (!list) {
        return {};
    }
    if (m_work.inInitialValue) {
        error(result.position, QStringLiteral("a list cannot stand inside an expression here"));
        return {};
    }
    const bool hasDevices =
        std::any_of(list->items.begin(), list->items.end(), [](const Constant &item) { return item.isDevice(); });
    const bool hasLists =
        std::any_of(list->items.begin(), list->items.end(), [](const Constant &item) { return item.isList(); });
    result.type = hasDevices || hasLists || m_isStructured
                      ? StaticType{ hasDevices && !hasLists ? DeviceType : DoubleType, 1 }
                      : StaticType{ DoubleType, 1 };
    if (isConstant) {
        const QString name = m_work.hiddenLists.nameOf(*list, m_isStructured);
        if (name.isEmpty()) {
            error(result.position,
                  QStringLiteral("a device cannot stand behind a text or list here; assign the members one by one"));
            return {};
        }
        result.node = std::make_unique<VarExpression>(name);
        return result;
    }
    if (m_isStructured) {
        error(result.position,
              QStringLiteral("a list for a structure must be constant; assign the members one by one"));
        return {};
    }
    auto node = std::make_unique<StringExpression>();
    node->list = std::make_unique<ExpressionList>();
    for (Operand &item : items) {
        if (item.type.isStruct() || (item.type.isArray() && !isNumericType(item.type.code))) {
            error(item.position, QStringLiteral("a list that is not constant holds only numbers and texts"));
        }
        result.height = std::max(result.height, item.height + 1);
        node->list->items.push_back(std::move(item.node));
    }
    result.node = std::move(node);
    return result;
}

/// Reads a list, outermost or inside another. items: the outermost's operands. nullopt: reported.
std::optional<Constant> ExpressionParser::parseListConstant(std::vector<Operand> &items, bool &isConstant,
                                                            bool isOutermost)
{
    const Level level(m_work);
    if (level.isTooDeep()) {
        return std::nullopt;
    }
    Constant list;
    list.kind = Constant::Kind::List;
    list.position = cursor().position();
    cursor().next();
    const TokenCursor::Nested nested(cursor());
    while (!cursor().at(TokenKind::RightBrace)) {
        const SourcePosition position = cursor().position();
        if (cursor().at(TokenKind::LeftBrace)) {
            std::optional<Constant> inner = parseListConstant(items, isConstant, false);
            if (!inner) {
                return std::nullopt;
            }
            list.items.push_back(*inner);
        } else {
            Operand item = parse();
            if (!item) {
                return std::nullopt;
            }
            std::optional<Constant> value = constantValue(item);
            if (value) {
                list.items.push_back(*value);
            } else if (!isOutermost) {
                error(position, QStringLiteral("a list inside a list must be constant"));
                return std::nullopt;
            }
            isConstant = isConstant && value.has_value();
            items.push_back(std::move(item));
        }
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    if (!cursor().expect(TokenKind::RightBrace, "',' or '}'")) {
        return std::nullopt;
    }
    return list;
}

Operand ExpressionParser::parseCall()
{
    const Token name = cursor().next();
    Operand result;
    result.position = name.position;
    const CallableSymbol *callee = m_work.symbols.findFunction(name.text);
    const Builtin *builtin = callee ? nullptr : Library::find(name.text);
    if (!callee && !builtin) {
        error(name.position, m_work.symbols.findRoutine(name.text)
                                 ? QStringLiteral("'%1' is a routine; write: call %1(…)").arg(name.text)
                                 : QStringLiteral("unknown function '%1'%2")
                                       .arg(name.text, didYouMean(m_work.symbols.closestFunction(name.text))));
    }
    auto node = std::make_unique<FuncCallExpression>();
    node->functionName = name.text;
    node->arguments = parseArguments(callee, name.text, result.height);
    if (!node->arguments) {
        return {};
    }
    const int count = static_cast<int>(node->arguments->items.size());
    if (builtin && !builtin->takes(count)) {
        const QString wanted =
            builtin->leastArguments == builtin->mostArguments ? QString::number(builtin->leastArguments)
            : builtin->mostArguments == kAnyNumber
                ? QStringLiteral("at least %1").arg(builtin->leastArguments)
                : QStringLiteral("%1 to %2").arg(builtin->leastArguments).arg(builtin->mostArguments);
        error(name.position,
              QStringLiteral("'%1' takes %2 argument%3, not %4")
                  .arg(name.text, wanted,
                       wanted == QLatin1String("1") || wanted.endsWith(QLatin1String(" 1")) ? QString()
                                                                                            : QStringLiteral("s"))
                  .arg(count));
    }
    if (callee && callee->result) {
        result.type = *callee->result;
    } else if (builtin && builtin->result == ResultKind::Number) {
        result.type = kNumberType;
    }
    result.node = std::move(node);
    return result;
}

std::unique_ptr<ExpressionList> ExpressionParser::parseArguments(const CallableSymbol *callee, const QString &name,
                                                                 int &height)
{
    const SourcePosition position = cursor().previous().position;
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return nullptr;
    }
    auto list = std::make_unique<ExpressionList>();
    const TokenCursor::Nested nested(cursor());
    while (!cursor().at(TokenKind::RightParen)) {
        const size_t index = list->items.size();
        const bool isKnown = callee && index < callee->parameters.size();
        Operand argument = isKnown ? parseValueFor(callee->parameters[index].type) : parseValueFor({});
        if (!argument) {
            return nullptr;
        }
        height = std::max(height, argument.height + 1);
        list->items.push_back(std::move(argument.node));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    if (!cursor().expect(TokenKind::RightParen, "',' or ')'")) {
        return nullptr;
    }
    if (callee && callee->parameters.size() != list->items.size()) {
        error(position, QStringLiteral("'%1' takes %2 argument%3, not %4")
                            .arg(name)
                            .arg(callee->parameters.size())
                            .arg(callee->parameters.size() == 1 ? QString() : QStringLiteral("s"))
                            .arg(list->items.size()));
    }
    return list;
}

std::unique_ptr<DeviceExpr> ExpressionParser::parseDevice(StaticType &type)
{
    Operand operand;
    if (cursor().at(TokenKind::Name)) {
        operand = parseStored();
    } else {
        operand = parsePrimary();
    }
    if (!operand) {
        return nullptr;
    }
    type = operand.type;
    const bool isAddress = type.code == DeviceType || type.code == DevLev::kTypeCode;
    if (type.isKnown() && !isAddress) {
        error(operand.position, QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(type)));
    }
    if (std::unique_ptr<DeviceExpr> device = nodeAs<DeviceExpr>(std::move(operand.node))) {
        return device;
    }
    auto device = std::make_unique<DeviceExpr>();
    if (operand.isStored) {
        device->variable = std::move(operand.node);
    } else if (!type.isKnown()) {
        error(operand.position, QStringLiteral("a device expected"));
    }
    return device;
}

std::unique_ptr<ButtonExpression> ExpressionParser::parseButton(ButtonUse use, int *height)
{
    const SourcePosition position = cursor().position();
    if (!cursor().expect(TokenKind::LeftBracket, "'['")) {
        return nullptr;
    }
    const TokenCursor::Nested nested(cursor());
    auto button = std::make_unique<ButtonExpression>();
    std::vector<Operand> operands;
    do {
        const size_t before = operands.size();
        parseButtonItem(*button, operands);
        if (operands.size() == before) {
            return nullptr;
        }
    } while (cursor().take(TokenKind::Comma));
    if (!cursor().expect(TokenKind::RightBracket, operands.size() < 2 ? "',' or ']'" : "']'")) {
        return nullptr;
    }
    checkButton(operands, use, position);
    for (const Operand &operand : operands) {
        if (height) {
            *height = std::max(*height, operand.height + 1);
        }
    }
    return button;
}

/// Leaves nothing behind when there is no expression.
void ExpressionParser::parseButtonItem(ButtonExpression &button, std::vector<Operand> &operands)
{
    Operand item = parse();
    if (!item || !fits(item)) {
        return;
    }
    auto *address = dynamic_cast<DeviceExpr *>(item.node.get());
    if (address && address->device) {
        button.items.emplace_back(std::move(address->device));
    } else {
        button.items.emplace_back(std::move(item.node));
    }
    operands.push_back(std::move(item));
}

void ExpressionParser::checkButton(const std::vector<Operand> &operands, ButtonUse use, SourcePosition position)
{
    const bool areChannels = use == ButtonUse::Channels;
    if (operands.size() > 2) {
        error(position, areChannels ? QStringLiteral("a device and its channels expected: [device, channels]")
                                    : QStringLiteral("a device and its levels expected: [device, levels]"));
        return;
    }
    const StaticType &first = operands.front().type;
    if (operands.size() == 1) {
        const int wanted = areChannels ? DevChan::kTypeCode : DevLev::kTypeCode;
        if (first.isKnown() && first.code != wanted) {
            error(operands.front().position,
                  QStringLiteral("%1 expected, found %2")
                      .arg(m_work.symbols.typeText({ wanted, 0 }), m_work.symbols.typeText(first)));
        }
        return;
    }
    if (first.isKnown() && first.code != DeviceType) {
        error(operands.front().position,
              QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(first)));
    }
    const StaticType &second = operands.back().type;
    if (second.isKnown() && !isNumericType(second.code)) {
        error(operands.back().position,
              QStringLiteral("a number or numbers expected, found %1").arg(m_work.symbols.typeText(second)));
    }
}

std::optional<Constant> ExpressionParser::parseConstant()
{
    if (cursor().at(TokenKind::LeftBrace)) {
        std::vector<Operand> items;
        bool isConstant = true;
        const std::optional<Constant> list = parseListConstant(items, isConstant, false);
        return list;
    }
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    const std::optional<Constant> value = constantValue(operand);
    if (!value) {
        error(operand.position, QStringLiteral("a constant value expected"));
    }
    return value;
}

std::optional<double> ExpressionParser::parseConstantNumber(const char *what)
{
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    const std::optional<double> value = m_work.constants.number(operand.node.get());
    if (!value) {
        error(operand.position, QStringLiteral("%1 must be a constant number").arg(QLatin1String(what)));
    }
    return value;
}

std::optional<int> ExpressionParser::parseConstantInteger(const char *what, int least, int most)
{
    const SourcePosition position = cursor().position();
    const std::optional<double> value = parseConstantNumber(what);
    if (!value) {
        return std::nullopt;
    }
    if (!isWholeNumber(*value) || *value < least || *value > most) {
        error(position,
              QStringLiteral("%1 must be a whole number from %2 to %3").arg(QLatin1String(what)).arg(least).arg(most));
        return std::nullopt;
    }
    return static_cast<int>(integerPart(*value));
}

std::optional<ExpressionParser::DeviceName> ExpressionParser::parseConstantDevice()
{
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    const std::optional<Constant> value = constantValue(operand);
    DeviceName device;
    if (value && value->isDevice()) {
        device.address = value->device;
        if (const auto *variable = dynamic_cast<const VarExpression *>(operand.node.get())) {
            device.name = variable->name;
        }
        return device;
    }
    const bool isList =
        value && value->isList() && !value->items.empty() &&
        std::all_of(value->items.begin(), value->items.end(), [](const Constant &item) { return item.isDevice(); });
    if (!isList) {
        error(operand.position,
              operand.type.isKnown() && operand.type.code != DeviceType
                  ? QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(operand.type))
                  : QStringLiteral("a constant device expected"));
        return std::nullopt;
    }
    device.address = value->items.front().device;
    for (size_t i = 1; i < value->items.size(); ++i) {
        device.more.push_back(value->items[i].device);
    }
    return device;
}
