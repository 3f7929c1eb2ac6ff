#include "events/HandlerTable.h"

#include "base/Messages.h"
#include "base/SystemNumber.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

#include <algorithm>
#include <set>

namespace {
Name dataNameOf(const char *text)
{
    return Name(QString::fromLatin1(text));
}

/// What the handlers of an event are called in a source.
QString sourceText(const CustomEvent &event)
{
    switch (event.type) {
    case EventType::Push:
    case EventType::Release:
    case EventType::Hold:
        return QStringLiteral("button_event [%1, %2]").arg(event.device.text()).arg(event.channel);
    case EventType::Level:
        return QStringLiteral("level_event [%1, %2]").arg(event.device.text()).arg(event.levelCode);
    case EventType::Timeline:
        return QStringLiteral("timeline_event [%1]").arg(event.timelineId);
    case EventType::Online:
    case EventType::String:
    case EventType::Offline:
    case EventType::Error:
    case EventType::Command:
        break;
    }
    return QStringLiteral("data_event [%1]").arg(event.device.text());
}
} // namespace

HandlerTable::HandlerTable(Interpreter &interpreter)
    : m_interpreter(interpreter)
{
    for (const auto &node : interpreter.program().eventHandlers()) {
        visitNode(EventHandlerTypes(), *node, [this](const auto &handler) { add(handler); });
    }
}

HandlerTable::~HandlerTable() = default;

void HandlerTable::handle(const CustomEvent &event, BasicType *data)
{
    Kind kind = Kind::Data;
    switch (event.type) {
    case EventType::Push:
    case EventType::Release:
    case EventType::Hold:
        kind = Kind::Channel;
        break;
    case EventType::Level:
        kind = Kind::Level;
        break;
    case EventType::Timeline:
        kind = Kind::Timeline;
        break;
    case EventType::Online:
    case EventType::String:
    case EventType::Offline:
    case EventType::Error:
    case EventType::Command:
        break;
    }
    static const HandlerList none;
    const auto byDevice = m_byDevice.find({ kind, event.device.number });
    const HandlerList &first = byDevice != m_byDevice.end() ? byDevice->second : none;
    const auto others = m_others.find(kind);
    const HandlerList &second = others != m_others.end() ? others->second : none;
    if (second.empty()) {
        for (const Handler *handler : first) {
            runMatching(*handler, event, data);
        }
        return;
    }
    // File order over both lists: handlers are stored one after another, so their places tell it.
    HandlerList merged;
    const auto fileOrder = [](const Handler *a, const Handler *b) { return a->order < b->order; };
    std::merge(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(merged), fileOrder);
    for (const Handler *handler : merged) {
        runMatching(*handler, event, data);
    }
}

std::vector<HandlerTable::Listener> HandlerTable::listeners() const
{
    std::vector<Listener> listeners;
    for (const auto &handler : m_handlers) {
        Listener listener{ handler->kind, {}, handler->devices };
        for (const ChannelFilter &filter : handler->channels) {
            listener.groups.insert(listener.groups.end(), filter.constant.begin(), filter.constant.end());
        }
        for (const auto &id : handler->timelineIds) {
            if (!id->isQuiet()) {
                continue;
            }
            ValueRef hold;
            const std::vector<qint64> ids = wholeNumbersOf(id->view(m_interpreter.run(), hold));
            listener.timelineIds.insert(listener.timelineIds.end(), ids.begin(), ids.end());
        }
        for (const SubHandler &part : handler->subHandlers) {
            listener.types.push_back(part.type);
            listener.places.push_back(part.body.step ? part.body.step->place() : 0);
        }
        listeners.push_back(std::move(listener));
    }
    return listeners;
}

void HandlerTable::add(const ButtonEventHandler &node)
{
    Handler handler;
    handler.kind = Kind::Channel;
    handler.channels = prepareChannels(node.buttons);
    handler.subHandlers = prepareSubHandlers(node.handlers, dataNameOf("BUTTON"));
    addToIndex(std::move(handler));
}

void HandlerTable::add(const LevelEventHandler &node)
{
    Handler handler;
    handler.kind = Kind::Level;
    handler.channels = prepareChannels(node.levels);
    if (node.body) {
        SubHandler body;
        body.type = EventType::Level;
        body.body = m_interpreter.prepareBody(*node.body, dataNameOf("LEVEL"));
        handler.subHandlers.push_back(std::move(body));
    }
    addToIndex(std::move(handler));
}

void HandlerTable::add(const DataEventHandler &node)
{
    Handler handler;
    handler.kind = Kind::Data;
    for (const DeviceReference &reference : node.devices) {
        if (const Device *device = reference.resolve(m_interpreter.program())) {
            handler.devices.push_back(device->address());
        }
    }
    handler.subHandlers = prepareSubHandlers(node.handlers, dataNameOf("DATA"));
    addToIndex(std::move(handler));
}

void HandlerTable::add(const TimelineEventHandler &node)
{
    Handler handler;
    handler.kind = Kind::Timeline;
    for (const auto &id : node.ids) {
        handler.timelineIds.push_back(m_interpreter.prepareExpression(*id));
    }
    if (node.body) {
        SubHandler body;
        body.type = EventType::Timeline;
        body.body = m_interpreter.prepareBody(*node.body, dataNameOf("TIMELINE"));
        handler.subHandlers.push_back(std::move(body));
    }
    addToIndex(std::move(handler));
}

std::vector<HandlerTable::ChannelFilter>
HandlerTable::prepareChannels(const std::vector<std::unique_ptr<ButtonExpression>> &nodes)
{
    std::vector<ChannelFilter> filters;
    Preparer preparer(m_interpreter);
    for (const auto &node : nodes) {
        ChannelFilter filter;
        filter.code = std::make_unique<ChannelCode>(*node, preparer);
        filter.isConstant = filter.code->isConstant();
        if (filter.isConstant) {
            filter.constant = filter.code->collect(m_interpreter.run());
        }
        filters.push_back(std::move(filter));
    }
    return filters;
}

std::vector<HandlerTable::SubHandler>
HandlerTable::prepareSubHandlers(const std::vector<std::unique_ptr<SubEventHandler>> &nodes, Name dataName)
{
    std::vector<SubHandler> handlers;
    for (const auto &node : nodes) {
        SubHandler handler;
        handler.type = node->event();
        if (const auto *hold = as<HoldSubEventHandler>(node.get())) {
            handler.repeats = hold->repeats;
            handler.holdTenths = hold->holdTenths;
        }
        if (node->body) {
            handler.body = m_interpreter.prepareBody(*node->body, dataName);
        }
        handlers.push_back(std::move(handler));
    }
    return handlers;
}

void HandlerTable::addToIndex(Handler handler)
{
    handler.order = static_cast<int>(m_handlers.size());
    std::set<int> numbers;
    bool isFixed = handler.kind != Kind::Timeline;
    for (const DeviceAddress &device : handler.devices) {
        numbers.insert(device.number);
    }
    for (const ChannelFilter &filter : handler.channels) {
        isFixed = isFixed && filter.isConstant;
        for (const ChannelGroup &group : filter.constant) {
            numbers.insert(group.device.number);
            // What a virtual device stands for may change while the program runs.
            if (DeviceCombineManager::isVirtual(group.device.number)) {
                isFixed = false;
                handler.virtualGroups.push_back(&group);
            } else {
                handler.groupsByDevice.emplace(group.device.number, &group);
            }
        }
    }
    m_handlers.push_back(std::make_unique<Handler>(std::move(handler)));
    const Handler *added = m_handlers.back().get();
    if (!isFixed) {
        m_others[added->kind].push_back(added);
        return;
    }
    for (const int number : numbers) {
        m_byDevice[{ added->kind, number }].push_back(added);
    }
}

bool HandlerTable::matches(const Handler &handler, const CustomEvent &event) const
{
    switch (handler.kind) {
    case Kind::Channel:
        return matchesChannel(handler, event.device.number, event.channel);
    case Kind::Level:
        return matchesChannel(handler, event.device.number, event.levelCode);
    case Kind::Timeline:
        return matchesTimeline(handler, event.timelineId);
    case Kind::Data:
        break;
    }
    return std::any_of(handler.devices.begin(), handler.devices.end(), [&event](const DeviceAddress &device) {
        return device.number == event.device.number && device.port == event.device.port &&
               isSameSystem(device.system, event.device.system);
    });
}

bool HandlerTable::matchesGroup(const ChannelGroup &group, int deviceNumber, int code) const
{
    const bool isVirtual = DeviceCombineManager::isVirtual(group.device.number);
    if (group.device.number != deviceNumber && !isVirtual) {
        return false;
    }
    const bool hasCode = std::any_of(group.channels.begin(), group.channels.end(),
                                     [code](qint64 channel) { return channel == 0 || channel == code; });
    if (!hasCode || group.device.number == deviceNumber) {
        return hasCode;
    }
    const std::vector<DeviceAddress> addresses = m_interpreter.state().expandDevice(group.device);
    return std::any_of(addresses.begin(), addresses.end(),
                       [deviceNumber](const DeviceAddress &address) { return address.number == deviceNumber; });
}

bool HandlerTable::matchesChannel(const Handler &handler, int deviceNumber, int code) const
{
    const auto [first, last] = handler.groupsByDevice.equal_range(deviceNumber);
    for (auto group = first; group != last; ++group) {
        if (matchesGroup(*group->second, deviceNumber, code)) {
            return true;
        }
    }
    for (const ChannelGroup *group : handler.virtualGroups) {
        if (matchesGroup(*group, deviceNumber, code)) {
            return true;
        }
    }
    for (const ChannelFilter &filter : handler.channels) {
        if (filter.isConstant) {
            continue;
        }
        const std::vector<ChannelGroup> groups = filter.code->collect(m_interpreter.run());
        if (std::any_of(groups.begin(), groups.end(), [this, deviceNumber, code](const ChannelGroup &group) {
                return matchesGroup(group, deviceNumber, code);
            })) {
            return true;
        }
    }
    return false;
}

bool HandlerTable::matchesTimeline(const Handler &handler, int id) const
{
    return std::any_of(handler.timelineIds.begin(), handler.timelineIds.end(), [this, id](const auto &code) {
        ValueRef hold;
        const std::vector<qint64> ids = wholeNumbersOf(code->view(m_interpreter.run(), hold));
        return std::find(ids.begin(), ids.end(), id) != ids.end();
    });
}

void HandlerTable::runMatching(const Handler &handler, const CustomEvent &event, BasicType *data)
{
    const bool isWanted = std::any_of(handler.subHandlers.begin(), handler.subHandlers.end(),
                                      [&event](const SubHandler &subHandler) { return subHandler.type == event.type; });
    if (!isWanted) {
        return;
    }
    for (const SubHandler &subHandler : handler.subHandlers) {
        if (subHandler.type != event.type || !matches(handler, event)) {
            continue;
        }
        if (event.type == EventType::Hold) {
            if (subHandler.holdTenths < 1) {
                m_interpreter.program().reportError(translated(QT_TRANSLATE_NOOP("messages", "Wrong hold time")));
                return;
            }
            const bool isDue = subHandler.repeats ? event.elapsedTenths % subHandler.holdTenths == 0
                                                  : event.elapsedTenths == subHandler.holdTenths;
            if (!isDue || (subHandler.repeats && subHandler.isRunning)) {
                continue;
            }
        }
        const bool wasRunning = std::exchange(subHandler.isRunning, true);
        if (!m_interpreter.execute(subHandler.body, data)) {
            m_interpreter.reportTooDeep(sourceText(event));
        }
        subHandler.isRunning = wasRunning;
    }
}
