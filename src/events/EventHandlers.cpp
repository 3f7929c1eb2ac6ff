#include "events/EventHandlers.h"

// The records of the handler classes. How they match events is in HandlerTable.

namespace {
void writeHandlers(NodeWriter &writer, const std::vector<std::unique_ptr<SubEventHandler>> &handlers)
{
    writer.writeInt(static_cast<int>(handlers.size()));
    for (const auto &handler : handlers) {
        writer.writeSubEventHandler(handler.get());
    }
}

std::vector<std::unique_ptr<SubEventHandler>> readHandlers(NodeReader &reader)
{
    std::vector<std::unique_ptr<SubEventHandler>> handlers;
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<SubEventHandler> handler = reader.readSubEventHandler()) {
            handlers.push_back(std::move(handler));
        }
    }
    return handlers;
}

void writeButtons(NodeWriter &writer, const std::vector<std::unique_ptr<ButtonExpression>> &buttons)
{
    writer.writeInt(static_cast<int>(buttons.size()));
    for (const auto &button : buttons) {
        writer.writeExpression(button.get());
    }
}

std::vector<std::unique_ptr<ButtonExpression>> readButtons(NodeReader &reader)
{
    std::vector<std::unique_ptr<ButtonExpression>> buttons;
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<ButtonExpression> button = nodeAs<ButtonExpression>(reader.readExpression())) {
            buttons.push_back(std::move(button));
        }
    }
    return buttons;
}
} // namespace

void HoldSubEventHandler::writeTo(NodeWriter &writer) const
{
    SubEventHandler::writeTo(writer);
    writer.writeBool(repeats);
    writer.writeInt(holdTenths);
}

void HoldSubEventHandler::readFrom(NodeReader &reader)
{
    SubEventHandler::readFrom(reader);
    repeats = reader.readBool();
    holdTenths = reader.readInt();
}

void DataEventHandler::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(devices.size()));
    for (const DeviceReference &device : devices) {
        device.writeTo(writer);
    }
    writeHandlers(writer, handlers);
}

void DataEventHandler::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        DeviceReference device;
        device.readFrom(reader);
        if (device.kind != DeviceReference::Absent) {
            devices.push_back(std::move(device));
        }
    }
    handlers = readHandlers(reader);
}

void ButtonEventHandler::writeTo(NodeWriter &writer) const
{
    writeButtons(writer, buttons);
    writeHandlers(writer, handlers);
}

void ButtonEventHandler::readFrom(NodeReader &reader)
{
    buttons = readButtons(reader);
    handlers = readHandlers(reader);
}

void LevelEventHandler::writeTo(NodeWriter &writer) const
{
    writeButtons(writer, levels);
    writer.writeStatement(body.get());
}

void LevelEventHandler::readFrom(NodeReader &reader)
{
    levels = readButtons(reader);
    body = reader.readStatement();
}

void TimelineEventHandler::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(ids.size()));
    for (const auto &id : ids) {
        writer.writeExpression(id.get());
    }
    writer.writeStatement(body.get());
}

void TimelineEventHandler::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<Expression> id = reader.readExpression()) {
            ids.push_back(std::move(id));
        }
    }
    body = reader.readStatement();
}

std::unique_ptr<SubEventHandler> makeSubEventHandler(int tag)
{
    switch (tag) {
    case 30:
        return std::make_unique<OnlineSubEventHandler>();
    case 31:
        return std::make_unique<StringSubEventHandler>();
    case 32:
        return std::make_unique<PushSubEventHandler>();
    case 33:
        return std::make_unique<HoldSubEventHandler>();
    case 34:
        return std::make_unique<ReleaseSubEventHandler>();
    case 35:
        return std::make_unique<OfflineSubEventHandler>();
    case 36:
        return std::make_unique<OnErrorSubEventHandler>();
    case 37:
        return std::make_unique<CommandSubEventHandler>();
    default:
        return nullptr;
    }
}

std::unique_ptr<EventHandler> makeEventHandler(int tag)
{
    switch (tag) {
    case 50:
        return std::make_unique<DataEventHandler>();
    case 51:
        return std::make_unique<ButtonEventHandler>();
    case 52:
        return std::make_unique<LevelEventHandler>();
    case 53:
        return std::make_unique<TimelineEventHandler>();
    default:
        return nullptr;
    }
}
