#pragma once
#include "interp/Expressions.h"
#include "program/Exclusive.h"
#include "program/Nodes.h"

/// The handlers of the object file. Tags, fields and their order: docs/formats/object-file.md.

template <int Tag>
class SubEventHandlerOf : public SubEventHandler
{
public:
    int typeTag() const override { return Tag; }
};
using OnlineSubEventHandler = SubEventHandlerOf<30>;
using StringSubEventHandler = SubEventHandlerOf<31>;
using PushSubEventHandler = SubEventHandlerOf<32>;
using ReleaseSubEventHandler = SubEventHandlerOf<34>;
using OfflineSubEventHandler = SubEventHandlerOf<35>;
using OnErrorSubEventHandler = SubEventHandlerOf<36>;
using CommandSubEventHandler = SubEventHandlerOf<37>;

class HoldSubEventHandler : public SubEventHandlerOf<33>
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    bool repeats = false;
    int holdTenths = 0; // tenths of a second
};

class DataEventHandler : public EventHandler
{
public:
    int typeTag() const override { return 50; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::vector<DeviceReference> devices;
    std::vector<std::unique_ptr<SubEventHandler>> handlers;
};

class ButtonEventHandler : public EventHandler
{
public:
    int typeTag() const override { return 51; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::vector<std::unique_ptr<ButtonExpression>> buttons;
    std::vector<std::unique_ptr<SubEventHandler>> handlers;
};

class LevelEventHandler : public EventHandler
{
public:
    int typeTag() const override { return 52; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::vector<std::unique_ptr<ButtonExpression>> levels;
    std::unique_ptr<Statement> body;
};

class TimelineEventHandler : public EventHandler
{
public:
    int typeTag() const override { return 53; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::vector<std::unique_ptr<Expression>> ids;
    std::unique_ptr<Statement> body;
};

std::unique_ptr<SubEventHandler> makeSubEventHandler(int tag); // nullptr: a tag without a class
std::unique_ptr<EventHandler> makeEventHandler(int tag);
