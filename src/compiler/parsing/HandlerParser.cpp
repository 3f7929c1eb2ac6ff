#include "compiler/parsing/HandlerParser.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/DeviceGroupParser.h"
#include "compiler/parsing/HandlerParts.h"
#include "program/DeviceActions.h"

#include <algorithm>

void HandlerParser::parse(const Outline::Handler &outline)
{
    struct Row
    {
        const char *word;
        void (HandlerParser::*parse)(const Outline::Handler &outline);
    };
    static constexpr Row kRows[] = {
        { "button_event", &HandlerParser::parseButtonHandler },
        { "data_event", &HandlerParser::parseDataHandler },
        { "level_event", &HandlerParser::parseLevelHandler },
        { "timeline_event", &HandlerParser::parseTimelineHandler },
    };
    static_assert(nameWords(kRows, [](const Word &word) {
        return (word.uses & Word::HasBody) != 0 && word.token == TokenKind::LeftBracket;
    }));
    for (const Row &row : kRows) {
        const bool isMeant = token(outline.word).isName(row.word) ||
                             closestName(token(outline.word).text, { QString::fromLatin1(row.word) }).size() > 0;
        if (isMeant && !outline.body.isEmpty()) {
            m_work.names.block(cursor(), { outline.word, outline.triggers.last }, outline.body.last - 1);
            return (this->*row.parse)(outline);
        }
    }
}

std::vector<std::unique_ptr<ButtonExpression>> HandlerParser::parseTriggers(TokenRange range,
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

void HandlerParser::warnUnlessDeclared(const DeviceAddress &address, SourcePosition position)
{
    if (address.number != kControllerDevice && !program().declaresDevice(address.number)) {
        m_work.sources.report(Fault::UndeclaredDevice, position,
                              QStringLiteral("the device %1 is never declared").arg(address.text()));
    }
}

void HandlerParser::parseButtonHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<ButtonEventHandler>();
    handler->buttons = parseTriggers(outline.triggers, ExpressionParser::ButtonUse::Channels);
    const PartSeen seen = [&](const QString &part, SourcePosition position) {
        m_work.checks->devices.buttonPart(handler->buttons, part, position);
    };
    if (parseParts(outline, false, handler->handlers, seen)) {
        program().addEventHandler(std::move(handler));
    }
}

void HandlerParser::parseDataHandler(const Outline::Handler &outline)
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
            handler->devices.push_back(referenceTo(program(), device->address, device->name));
            addresses.push_back(device->address);
            for (const DeviceAddress &address : device->more) {
                handler->devices.push_back(referenceTo(program(), address, {}));
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
    if (parseParts(outline, true, handler->handlers, seen)) {
        program().addEventHandler(std::move(handler));
    }
}

void HandlerParser::parseLevelHandler(const Outline::Handler &outline)
{
    auto handler = std::make_unique<LevelEventHandler>();
    handler->levels = parseTriggers(outline.triggers, ExpressionParser::ButtonUse::Levels);
    m_work.places.enter(Places::Kind::Level, PlaceNotes::triggerText(cursor(), outline.triggers),
                        token(outline.word).position);
    handler->body = parseEventBody(outline.body, "level", StaticType::LevelData);
    program().addEventHandler(std::move(handler));
}

void HandlerParser::parseTimelineHandler(const Outline::Handler &outline)
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
    m_work.places.enter(Places::Kind::Timeline, PlaceNotes::triggerText(cursor(), outline.triggers),
                        token(outline.word).position);
    handler->body = parseEventBody(outline.body, "timeline", StaticType::TimelineData);
    program().addEventHandler(std::move(handler));
}

std::unique_ptr<Statement> HandlerParser::parseEventBody(TokenRange body, const char *dataName, int dataType)
{
    StatementParser::Surroundings none;
    return m_statements.parseBody(
        body, { { QString::fromLatin1(dataName), { dataType, 0 }, kNowhere, LocalScope::Kind::EventData } }, none);
}

/// The parts of a button or data handler. False: the handler cannot be used; reported.
bool HandlerParser::parseParts(const Outline::Handler &outline, bool isData, Handlers &handlers, const PartSeen &seen)
{
    const TokenCursor::Visit visit(cursor(), outline.body);
    const QString triggers = PlaceNotes::triggerText(cursor(), outline.triggers);
    cursor().next();
    while (!cursor().atEnd() && !cursor().at(TokenKind::RightBrace)) {
        if (cursor().take(TokenKind::Semicolon)) {
            continue;
        }
        const Token word = cursor().peek();
        const size_t head = cursor().index();
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
        m_work.names.block(cursor(), { head, partBody.first - 1 }, partBody.last - 1);
        m_work.places.enter(Places::kindOf(part->event()), triggers, word.position);
        part->body = parseEventBody(partBody, isData ? "data" : "button",
                                    isData ? StaticType::DataData : StaticType::ButtonData);
        cursor().moveTo(partBody.last);
        handlers.push_back(std::move(part));
    }
    return true;
}

TokenRange HandlerParser::bodyAtCursor()
{
    const size_t first = cursor().index();
    if (!cursor().skipBalanced()) {
        return { first, cursor().range().last };
    }
    return { first, cursor().index() };
}

/// push: online: hold[5, repeat]: … up to the colon. nullptr: reported.
std::unique_ptr<SubEventHandler> HandlerParser::parsePartHead(bool isData)
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

std::unique_ptr<SubEventHandler> HandlerParser::parseHold()
{
    cursor().next();
    if (!cursor().expect(TokenKind::LeftBracket, "'['")) {
        return nullptr;
    }
    const TokenCursor::Nested nested(cursor());
    auto hold = std::make_unique<HoldSubEventHandler>();
    const std::optional<int> tenths =
        ExpressionParser(m_work).parseConstantInteger("the time of a hold", 1, DeviceGroupParser::kMostChannel);
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
