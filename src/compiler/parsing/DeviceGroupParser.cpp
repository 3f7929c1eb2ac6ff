#include "compiler/parsing/DeviceGroupParser.h"

#include "compiler/checks/Checks.h"

#include <algorithm>

DeviceReference referenceTo(const AST &program, const DeviceAddress &address, const QString &name)
{
    DeviceReference reference;
    if (!name.isEmpty() && asDevice(program.findGlobal(Name(name)))) {
        reference.kind = DeviceReference::Global;
        reference.name = name;
    } else {
        reference.kind = DeviceReference::Anonymous;
        reference.device = std::make_unique<Device>(address);
    }
    return reference;
}

/// [device, first..last] or [device, {channels}]
void DeviceGroupParser::parseExclusive(TokenRange range)
{
    const TokenCursor::Visit visit(cursor(), range);
    const TokenCursor::Nested nested(cursor());
    cursor().next();
    const SourcePosition position = cursor().position();
    const auto device = ExpressionParser(m_work).parseConstantDevice();
    if (!device || !cursor().expect(TokenKind::Comma, "','")) {
        return;
    }
    if (!device->more.empty()) {
        report(Fault::WrongType, position, QStringLiteral("an exclusive group belongs to one device"));
    }
    std::unique_ptr<Exclusive> group = parseExclusiveChannels();
    if (!group || !cursor().expect(TokenKind::RightBracket, "']'")) {
        return;
    }
    if (const auto *channels = as<ButtonsExclusive>(group.get())) {
        m_work.checks->devices.exclusive(device->address, channels->codes, position);
    } else if (const auto *channelRange = as<RangeExclusive>(group.get())) {
        m_work.checks->devices.exclusive(device->address, channelRange->first, channelRange->last, position);
    }
    group->device = referenceTo(program(), device->address, device->name);
    program().addExclusive(std::move(group));
}

std::unique_ptr<Exclusive> DeviceGroupParser::parseExclusiveChannels()
{
    ExpressionParser expressions(m_work);
    if (!cursor().at(TokenKind::LeftBrace)) {
        auto group = std::make_unique<RangeExclusive>();
        const SourcePosition position = cursor().position();
        const std::optional<int> first = expressions.parseConstantInteger("a channel", 0, kMostChannel);
        if (!first || !cursor().expect(TokenKind::Range, "'..'")) {
            return nullptr;
        }
        const std::optional<int> last = expressions.parseConstantInteger("a channel", 0, kMostChannel);
        if (!last) {
            return nullptr;
        }
        if (*last < *first) {
            report(Fault::WrongType, position, QStringLiteral("the range %1..%2 is empty").arg(*first).arg(*last));
        }
        group->first = *first;
        group->last = *last;
        return group;
    }
    auto group = std::make_unique<ButtonsExclusive>();
    const std::optional<Constant> list = expressions.parseConstant();
    if (!list) {
        return nullptr;
    }
    std::vector<double> numbers;
    flatten(*list, numbers);
    for (const double number : numbers) {
        if (!isWholeNumber(number) || number < 0 || number > kMostChannel) {
            report(Fault::WrongType, list->position, QStringLiteral("a channel must be a whole number from 0"));
            return nullptr;
        }
        group->codes.push_back(integerPart32(number));
    }
    std::sort(group->codes.begin(), group->codes.end());
    return group;
}

/// (virtual device, members …)
void DeviceGroupParser::parseCombination(TokenRange range)
{
    const TokenCursor::Visit visit(cursor(), range);
    const TokenCursor::Nested nested(cursor());
    const SourcePosition position = cursor().position();
    cursor().next();
    std::vector<DeviceAddress> group;
    do {
        const auto device = ExpressionParser(m_work).parseConstantDevice();
        if (!device) {
            return;
        }
        group.push_back(device->address);
        group.insert(group.end(), device->more.begin(), device->more.end());
    } while (cursor().take(TokenKind::Comma));
    if (!cursor().expect(TokenKind::RightParen, "',' or ')'")) {
        return;
    }
    const auto isVirtual = [](const DeviceAddress &address) { return DeviceCombineManager::isVirtual(address.number); };
    if (std::none_of(group.begin(), group.end(), isVirtual)) {
        m_work.sources.report(Fault::NoVirtualDevice, position,
                              QStringLiteral("no device of this combination is virtual (%1 to %2); it has no effect")
                                  .arg(DeviceCombineManager::kFirstVirtual)
                                  .arg(DeviceCombineManager::kLastVirtual));
    }
    std::stable_partition(group.begin(), group.end(), isVirtual);
    program().combinations().addGroup(group);
}

/// [device, level] variable
void DeviceGroupParser::parseLevel(const Outline::Binding &binding)
{
    const Token &name = cursor().token(binding.variable);
    GlobalSymbol *variable = m_work.symbols.findGlobal(name.text);
    if (!variable) {
        reportName(Fault::UnknownName, name,
                   QStringLiteral("unknown name '%1'%2")
                       .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, {}))));
    } else {
        variable->isUsed = true;
        m_work.noteUse(name, *variable);
        if (variable->isConst) {
            report(Fault::ConstantChanged, name.position, QStringLiteral("'%1' is a constant").arg(name.text));
        } else if (variable->type.isKnown() && !variable->type.isNumber()) {
            report(Fault::WrongType, name.position,
                   QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(variable->type)));
        }
    }
    const TokenCursor::Visit visit(cursor(), binding.level);
    const TokenCursor::Nested nested(cursor());
    cursor().next();
    ExpressionParser expressions(m_work);
    const auto device = expressions.parseConstantDevice();
    if (!device || !cursor().expect(TokenKind::Comma, "','")) {
        return;
    }
    const std::optional<int> level = expressions.parseConstantInteger("a level", 0, kMostChannel);
    if (!level || !cursor().expect(TokenKind::RightBracket, "']'")) {
        return;
    }
    std::vector<DeviceAddress> addresses{ device->address };
    addresses.insert(addresses.end(), device->more.begin(), device->more.end());
    for (const DeviceAddress &address : addresses) {
        program().levels().push_back({ address, *level, normalisedName(name.text) });
    }
}
