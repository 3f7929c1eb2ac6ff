#pragma once
#include "events/Events.h"
#include "interp/nodes/Expressions.h"
#include "program/Exclusive.h"

struct NodeTables;

/// The handlers of the object file. Tags, fields and their order: docs/formats/object-file.md.

/// The part of a button or data handler for one kind of event.
class SubEventHandler
{
public:
    using Family = SubEventHandler;
    virtual ~SubEventHandler() = default;
    virtual int typeTag() const = 0;
    virtual EventType event() const = 0;

    std::unique_ptr<Statement> body;
};

template <int Tag, EventType Event>
class SubEventHandlerOf : public Tagged<Tag, SubEventHandler>
{
public:
    EventType event() const override { return Event; }
    static void fields(auto &node, auto &visit) { visit(node.body); }
};
using OnlineSubEventHandler = SubEventHandlerOf<30, EventType::Online>;
using StringSubEventHandler = SubEventHandlerOf<31, EventType::String>;
using PushSubEventHandler = SubEventHandlerOf<32, EventType::Push>;
using ReleaseSubEventHandler = SubEventHandlerOf<34, EventType::Release>;
using OfflineSubEventHandler = SubEventHandlerOf<35, EventType::Offline>;
using OnErrorSubEventHandler = SubEventHandlerOf<36, EventType::Error>;
using CommandSubEventHandler = SubEventHandlerOf<37, EventType::Command>;

class HoldSubEventHandler : public SubEventHandlerOf<33, EventType::Hold>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.body, node.repeats, node.holdTenths); }

    bool repeats = false;
    int holdTenths = 0; // tenths of a second
};

class DataEventHandler : public Tagged<50, EventHandler>
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit.present(node.devices);
        visit.present(node.handlers);
    }

    std::vector<DeviceReference> devices;
    std::vector<std::unique_ptr<SubEventHandler>> handlers;
};

class ButtonEventHandler : public Tagged<51, EventHandler>
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit.present(node.buttons);
        visit.present(node.handlers);
    }

    std::vector<std::unique_ptr<ButtonExpression>> buttons;
    std::vector<std::unique_ptr<SubEventHandler>> handlers;
};

class LevelEventHandler : public Tagged<52, EventHandler>
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit.present(node.levels);
        visit(node.body);
    }

    std::vector<std::unique_ptr<ButtonExpression>> levels;
    std::unique_ptr<Statement> body;
};

class TimelineEventHandler : public Tagged<53, EventHandler>
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit.present(node.ids);
        visit(node.body);
    }

    std::vector<std::unique_ptr<Expression>> ids;
    std::unique_ptr<Statement> body;
};

using EventHandlerTypes =
    NodeTypes<EventHandler, DataEventHandler, ButtonEventHandler, LevelEventHandler, TimelineEventHandler>;
const NodeTables &programNodes(); // all node classes of the language
