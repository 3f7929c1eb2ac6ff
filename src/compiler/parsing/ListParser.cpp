#include "compiler/parsing/ExpressionParser.h"

#include <algorithm>

// Lists, and values that must be constant.

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
        const Token &word = cursor().peek();
        if (word.is(TokenKind::Name) && cursor().peek(1).is(TokenKind::Quote) && node->list->items.empty() &&
            !m_work.locals.find(word.text) && !m_work.symbols.findGlobal(word.text)) {
            m_work.sources.report(Fault::QuotedText, result.position,
                                  QStringList{ QStringLiteral("'%1'").arg(word.text) });
            cursor().next();
            break;
        }
        Operand item = parse();
        if (!item) {
            return {};
        }
        if (item.type.isStruct()) {
            report(Fault::WrongType, item.position,
                   QStringLiteral("%1 has no bytes").arg(m_work.symbols.typeText(item.type)));
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
    const std::optional<Constant> list = parseListConstant(&items, isConstant);
    if (!list) {
        return {};
    }
    if (m_work.inInitialValue) {
        report(Fault::ListForm, result.position, QStringLiteral("a list cannot stand inside an expression here"));
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
            report(Fault::ListForm, result.position,
                   QStringLiteral("a device cannot stand behind a text or list here; assign the members one by one"));
            return {};
        }
        result.node = std::make_unique<VarExpression>(name);
        return result;
    }
    if (m_isStructured) {
        report(Fault::ListForm, result.position,
               QStringLiteral("a list for a structure must be constant; assign the members one by one"));
        return {};
    }
    auto node = std::make_unique<StringExpression>();
    node->list = std::make_unique<ExpressionList>();
    for (Operand &item : items) {
        if (item.type.isStruct() || (item.type.isArray() && !isNumericType(item.type.code))) {
            report(Fault::ListForm, item.position,
                   QStringLiteral("a list that is not constant holds only numbers and texts"));
        }
        result.height = std::max(result.height, item.height + 1);
        node->list->items.push_back(std::move(item.node));
    }
    result.node = std::move(node);
    return result;
}

/// Reads a list. items takes its operands; without, all of it must be constant. nullopt: reported.
std::optional<Constant> ExpressionParser::parseListConstant(std::vector<Operand> *items, bool &isConstant)
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
            std::optional<Constant> inner = parseListConstant(nullptr, isConstant);
            if (!inner) {
                return std::nullopt;
            }
            list.items.push_back(std::move(*inner));
        } else {
            Operand item = parse();
            if (!item) {
                return std::nullopt;
            }
            std::optional<Constant> value = constantValue(item);
            if (value) {
                list.items.push_back(std::move(*value));
            } else if (!items) {
                report(Fault::ListForm, position, QStringLiteral("a list inside a list must be constant"));
                return std::nullopt;
            }
            isConstant = isConstant && value.has_value();
            if (items) {
                items->push_back(std::move(item));
            }
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

std::optional<Constant> ExpressionParser::parseConstant()
{
    if (cursor().at(TokenKind::LeftBrace)) {
        bool isConstant = true;
        return parseListConstant(nullptr, isConstant);
    }
    const int errorsBefore = m_work.sources.errors();
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    m_work.metFaultyConstant = false;
    std::optional<Constant> value = constantValue(operand);
    if (!value && m_work.sources.errors() == errorsBefore && !m_work.metFaultyConstant) {
        report(Fault::ConstantValue, operand.position, QStringLiteral("a constant value expected"));
    }
    return value;
}

std::optional<double> ExpressionParser::parseConstantNumber(const char *what)
{
    const int errorsBefore = m_work.sources.errors();
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    m_work.metFaultyConstant = false;
    const std::optional<double> value = m_work.constants.number(operand.node.get());
    if (!value && m_work.sources.errors() == errorsBefore && !m_work.metFaultyConstant) {
        report(Fault::ConstantValue, operand.position,
               QStringLiteral("%1 must be a constant number").arg(QLatin1String(what)));
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
        report(Fault::ConstantValue, position,
               QStringLiteral("%1 must be a whole number from %2 to %3").arg(QLatin1String(what)).arg(least).arg(most));
        return std::nullopt;
    }
    return static_cast<int>(integerPart(*value));
}
