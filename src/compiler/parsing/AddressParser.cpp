#include "compiler/parsing/ExpressionParser.h"

#include <algorithm>

// Device addresses, and devices with their channels or levels.

namespace {
constexpr int kLastDevice = 46999;
} // namespace

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
        report(Fault::DeviceAddress, result.position,
               QStringLiteral("a device address has three parts: number:port:system"));
        return {};
    }
    auto node = std::make_unique<DeviceExpr>();
    node->parts = std::make_unique<ExpressionList>();
    int numbers[3] = {};
    int index = 0;
    for (Operand &part : parts) {
        if (const auto *number = as<ConstExpression>(part.node.get())) {
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
        report(Fault::DeviceAddress, position,
               QStringLiteral("the %1 of a device must be a whole number from %2 to %3")
                   .arg(QLatin1String(kNames[index]))
                   .arg(kLeast[index])
                   .arg(kMost[index]));
    }
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
        report(Fault::WrongType, operand.position,
               QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(type)));
    }
    if (std::unique_ptr<DeviceExpr> device = nodeAs<DeviceExpr>(std::move(operand.node))) {
        return device;
    }
    auto device = std::make_unique<DeviceExpr>();
    if (operand.isStored) {
        device->variable = std::move(operand.node);
    } else if (!type.isKnown()) {
        report(Fault::WrongType, operand.position, QStringLiteral("a device expected"));
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
    auto *address = as<DeviceExpr>(item.node.get());
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
        report(Fault::WrongType, position,
               areChannels ? QStringLiteral("a device and its channels expected: [device, channels]")
                           : QStringLiteral("a device and its levels expected: [device, levels]"));
        return;
    }
    const StaticType &first = operands.front().type;
    if (operands.size() == 1) {
        const int wanted = areChannels ? DevChan::kTypeCode : DevLev::kTypeCode;
        if (first.isKnown() && first.code != wanted) {
            report(Fault::WrongType, operands.front().position,
                   QStringLiteral("%1 expected, found %2")
                       .arg(m_work.symbols.typeText({ wanted, 0 }), m_work.symbols.typeText(first)));
        }
        return;
    }
    if (first.isKnown() && first.code != DeviceType) {
        report(Fault::WrongType, operands.front().position,
               QStringLiteral("a device expected, found %1").arg(m_work.symbols.typeText(first)));
    }
    const StaticType &second = operands.back().type;
    if (second.isKnown() && !isNumericType(second.code)) {
        report(Fault::WrongType, operands.back().position,
               QStringLiteral("a number or numbers expected, found %1").arg(m_work.symbols.typeText(second)));
    }
}

std::optional<ExpressionParser::DeviceName> ExpressionParser::parseConstantDevice()
{
    const int errorsBefore = m_work.sources.errors();
    const Operand operand = parse();
    if (!operand) {
        return std::nullopt;
    }
    m_work.metFaultyConstant = false;
    const std::optional<Constant> value = constantValue(operand);
    if (!value && (m_work.metFaultyConstant || m_work.sources.errors() != errorsBefore)) {
        return std::nullopt;
    }
    DeviceName device;
    if (value && value->isDevice()) {
        device.address = value->device;
        if (const auto *variable = as<VarExpression>(operand.node.get())) {
            device.name = variable->name;
        }
        return device;
    }
    const bool isList =
        value && value->isList() && !value->items.empty() &&
        std::all_of(value->items.begin(), value->items.end(), [](const Constant &item) { return item.isDevice(); });
    if (!isList) {
        report(Fault::WrongType, operand.position,
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
