#pragma once
#include "compiler/lexing/Words.h"
#include "events/EventHandlers.h"

/// A part of a button or data handler, as it is written: push: online: …
struct PartWord
{
    const char *word;
    bool isData; // else of a button
    int tag;
    std::unique_ptr<SubEventHandler> (*make)();
};

template <class Part>
std::unique_ptr<SubEventHandler> makePart()
{
    return std::make_unique<Part>();
}

/// All but HOLD, which has a time.
constexpr PartWord kParts[] = {
    { "push", false, PushSubEventHandler::kTag, makePart<PushSubEventHandler> },
    { "release", false, ReleaseSubEventHandler::kTag, makePart<ReleaseSubEventHandler> },
    { "online", true, OnlineSubEventHandler::kTag, makePart<OnlineSubEventHandler> },
    { "offline", true, OfflineSubEventHandler::kTag, makePart<OfflineSubEventHandler> },
    { "string", true, StringSubEventHandler::kTag, makePart<StringSubEventHandler> },
    { "command", true, CommandSubEventHandler::kTag, makePart<CommandSubEventHandler> },
    { "onerror", true, OnErrorSubEventHandler::kTag, makePart<OnErrorSubEventHandler> },
};
static_assert(nameWords(kParts, [](const Word &word) { return word.uses == Word::Label; }));
