#include "compiler/parsing/ProgramParser.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/HandlerParts.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {
constexpr int kMostChannel = std::numeric_limits<int>::max();
} // namespace

/// [device, first..last] or [device, {channels}]
void ProgramParser::parseExclusive(TokenRange range)
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
    group->device = referenceTo(device->address, device->name);
    program().addExclusive(std::move(group));
}

std::unique_ptr<Exclusive> ProgramParser::parseExclusiveChannels()
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
void ProgramParser::parseCombination(TokenRange range)
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
void ProgramParser::parseLevel(const Outline::Binding &binding)
{
    const Token &name = token(binding.variable);
    GlobalSymbol *variable = m_work.symbols.findGlobal(name.text);
    if (!variable) {
        reportName(Fault::UnknownName, name,
                   QStringLiteral("unknown name '%1'%2")
                       .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, {}))));
    } else {
        variable->isUsed = true;
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
        program().levels().addAssociation({ address, *level, normalisedName(name.text) });
    }
}

void ProgramParser::parseHandler(const Outline::Handler &outline)
{
    struct Row
    {
        const char *word;
        void (ProgramParser::*parse)(const Outline::Handler &outline);
    };
    static constexpr Row kRows[] = {
        { "button_event", &ProgramParser::parseButtonHandler },
        { "data_event", &ProgramParser::parseDataHandler },
        { "level_event", &ProgramParser::parseLevelHandler },
        { "timeline_event", &ProgramParser::parseTimelineHandler },
    };
    static_assert(nameWords(kRows, [](const Word &word) {
        return (word.uses & Word::HasBody) != 0 && word.token == TokenKind::LeftBracket;
    }));
    for (const Row &row : kRows) {
        const bool isMeant = token(outline.word).isName(row.word) ||
                             closestName(token(outline.word).text, { QString::fromLatin1(row.word) }).size() > 0;
        if (isMeant && !outline.body.isEmpty()) {
            return (this->*row.parse)(outline);
        }
    }
}

std::vector<std::unique_ptr<ButtonExpression>> ProgramParser::parseTriggers(TokenRange range,
                                                                            ExpressionParser::ButtonUse use)
{
    const TokenCursor::Visit visit(cursor(), range);
    const TokenCursor::Nested nested(cursor());
    std::vector<std::unique_ptr<ButtonExpression>> triggers;
    do {
        const SourcePosition position = cursor().peek(1).position;
        std::unique_ptr<ButtonExpression> trigger = ExpressionParser(m_work).parseButton(use);
        if (!trigger) {
            break;
        }
        const auto *device = std::get_if<std::unique_ptr<Device>>(&trigger->items.front());
        if (device && *device) {
            warnUnlessDeclared((*device)->address(), position);
        }
        triggers.push_back(std::move(trigger));
    } while (cursor().take(TokenKind::Comma));
    return triggers;
}

void ProgramParser::warnUnlessDeclared(const DeviceAddress &address, SourcePosition position)
{
    if (address.number != kControllerDevice && !program().declaresDevice(address.number)) {
        m_work.sources.report(Fault::UndeclaredDevice, position,
                              QStringLiteral("the device %1 is never declared").arg(address.text()));
    }
}

void ProgramParser::parseButtonHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<ButtonEventHandler>();
    handler->buttons = parseTriggers(outline.triggers, ExpressionParser::ButtonUse::Channels);
    const PartSeen seen = [&](const QString &part, SourcePosition position) {
        m_work.checks->devices.buttonPart(handler->buttons, part, position);
    };
    if (parseParts(outline.body, false, handler->handlers, seen)) {
        program().addEventHandler(std::move(handler));
    }
}

void ProgramParser::parseDataHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<DataEventHandler>();
    std::vector<DeviceAddress> addresses;
    {
        const TokenCursor::Visit visit(cursor(), outline.triggers);
        const TokenCursor::Nested nested(cursor());
        do {
            cursor().next(); // the bracket
            const SourcePosition position = cursor().position();
            const auto device = ExpressionParser(m_work).parseConstantDevice();
            if (!device || !cursor().expect(TokenKind::RightBracket, "']'")) {
                break;
            }
            appendReference(handler->devices, device->address, device->name);
            addresses.push_back(device->address);
            for (const DeviceAddress &address : device->more) {
                appendReference(handler->devices, address, {});
            }
            if (device->name.isEmpty() && device->more.empty()) {
                warnUnlessDeclared(device->address, position);
            }
        } while (cursor().take(TokenKind::Comma));
    }
    const PartSeen seen = [&](const QString &part, SourcePosition position) {
        for (const DeviceAddress &address : addresses) {
            m_work.checks->devices.dataPart(address, part, position);
        }
    };
    if (parseParts(outline.body, true, handler->handlers, seen)) {
        program().addEventHandler(std::move(handler));
    }
}

void ProgramParser::appendReference(std::vector<DeviceReference> &references, const DeviceAddress &address,
                                    const QString &name)
{
    references.push_back(referenceTo(address, name));
}

/// By the name of a global device, else anonymous.
DeviceReference ProgramParser::referenceTo(const DeviceAddress &address, const QString &name)
{
    DeviceReference reference;
    if (!name.isEmpty() && asDevice(program().findGlobal(Name(name)))) {
        reference.kind = DeviceReference::Global;
        reference.name = name;
    } else {
        reference.kind = DeviceReference::Anonymous;
        reference.device = std::make_unique<Device>(address);
    }
    return reference;
}

void ProgramParser::parseLevelHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<LevelEventHandler>();
    handler->levels = parseTriggers(outline.triggers, ExpressionParser::ButtonUse::Levels);
    handler->body = parseEventBody(outline.body, "level", StaticType::LevelData);
    program().addEventHandler(std::move(handler));
}

void ProgramParser::parseTimelineHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<TimelineEventHandler>();
    {
        const TokenCursor::Visit visit(cursor(), outline.triggers);
        const TokenCursor::Nested nested(cursor());
        do {
            cursor().next();
            do {
                Operand id = ExpressionParser(m_work).parse();
                if (!id) {
                    break;
                }
                if (id.type.isStruct()) {
                    report(Fault::WrongType, id.position,
                           QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(id.type)));
                }
                m_work.checks->usage.timelineEvent(id);
                handler->ids.push_back(std::move(id.node));
            } while (cursor().take(TokenKind::Comma));
            cursor().expect(TokenKind::RightBracket, "']'");
        } while (cursor().take(TokenKind::Comma));
    }
    handler->body = parseEventBody(outline.body, "timeline", StaticType::TimelineData);
    program().addEventHandler(std::move(handler));
}

std::unique_ptr<Statement> ProgramParser::parseEventBody(TokenRange body, const char *dataName, int dataType)
{
    StatementParser::Surroundings none;
    return m_statements.parseBody(
        body, { { QString::fromLatin1(dataName), { dataType, 0 }, {}, LocalScope::Kind::EventData } }, none);
}

/// The parts of a button or data handler. False: the handler cannot be used; reported.
bool ProgramParser::parseParts(TokenRange body, bool isData, Handlers &handlers, const PartSeen &seen)
{
    const TokenCursor::Visit visit(cursor(), body);
    cursor().next();
    while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
        if (cursor().take(TokenKind::Semicolon)) {
            continue;
        }
        const Token word = cursor().peek();
        std::unique_ptr<SubEventHandler> part = parsePartHead(isData);
        if (!part || !cursor().at(TokenKind::LeftBrace)) {
            if (part) {
                cursor().expected("'{'");
            }
            while (!cursor().atEnd() && !cursor().at(TokenKind::LeftBrace) && !cursor().at(TokenKind::RightBrace)) {
                cursor().next();
            }
            if (cursor().at(TokenKind::LeftBrace) && !cursor().skipBalanced()) {
                return false;
            }
            continue;
        }
        const auto *hold = as<HoldSubEventHandler>(part.get());
        seen(hold ? QStringLiteral("hold %1").arg(hold->holdTenths) : word.text.toLower(), word.position);
        const bool isHold = part->typeTag() == HoldSubEventHandler::kTag;
        const bool isTwice = std::any_of(handlers.begin(), handlers.end(),
                                         [&part](const auto &other) { return other->typeTag() == part->typeTag(); });
        if (isTwice && !isHold) {
            m_work.sources.report(Fault::DuplicatePart, word.position,
                                  QStringLiteral("the handler has a part '%1' already").arg(word.text));
        }
        const TokenRange partBody = bodyAtCursor();
        part->body = parseEventBody(partBody, isData ? "data" : "button",
                                    isData ? StaticType::DataData : StaticType::ButtonData);
        cursor().moveTo(partBody.last);
        handlers.push_back(std::move(part));
    }
    return true;
}

TokenRange ProgramParser::bodyAtCursor()
{
    const size_t first = cursor().index();
    if (!cursor().skipBalanced()) {
        return { first, cursor().range().last };
    }
    return { first, cursor().index() };
}

/// push: online: hold[5, repeat]: … up to the colon. nullptr: reported.
std::unique_ptr<SubEventHandler> ProgramParser::parsePartHead(bool isData)
{
    std::unique_ptr<SubEventHandler> part;
    const Token word = cursor().peek();
    if (!isData && cursor().atName("hold")) {
        part = parseHold();
    } else {
        for (const PartWord &row : kParts) {
            if (row.isData == isData && word.isName(row.word)) {
                part = row.make();
                cursor().next();
            }
        }
        if (!part) {
            cursor().expected(isData ? "'online:', 'offline:', 'string:', 'command:' or 'onerror:'"
                                     : "'push:', 'release:' or 'hold [time]:'");
            cursor().next();
        }
    }
    return part && cursor().expect(TokenKind::Colon, "':'") ? std::move(part) : nullptr;
}

std::unique_ptr<SubEventHandler> ProgramParser::parseHold()
{
    cursor().next();
    if (!cursor().expect(TokenKind::LeftBracket, "'['")) {
        return nullptr;
    }
    const TokenCursor::Nested nested(cursor());
    auto hold = std::make_unique<HoldSubEventHandler>();
    const std::optional<int> tenths =
        ExpressionParser(m_work).parseConstantInteger("the time of a hold", 1, kMostChannel);
    if (!tenths) {
        return nullptr;
    }
    hold->holdTenths = *tenths;
    if (cursor().take(TokenKind::Comma)) {
        if (!cursor().takeName("repeat")) {
            cursor().expected("'repeat'");
            return nullptr;
        }
        hold->repeats = true;
    }
    return cursor().expect(TokenKind::RightBracket, "']'") ? std::move(hold) : nullptr;
}
