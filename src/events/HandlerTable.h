#pragma once
#include "events/EventHandlers.h"
#include "events/Events.h"
#include "interp/Channels.h"
#include "interp/Interpreter.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

/// The prepared handlers of a program, found by kind of event and device, kept in file order.
/// Filters made of constants are evaluated once, here; others at every event.
/// Owns: the prepared bodies. Thread: the main thread.
class HandlerTable
{
public:
    explicit HandlerTable(Interpreter &interpreter);
    ~HandlerTable();

    /// Runs every matching body. data: the event's structure, borrowed.
    void handle(const CustomEvent &event, BasicType *data);

    /// What a handler listens to, for people.
    struct Listener
    {
        enum class Kind { Data, Channel, Level, Timeline };
        Kind kind = Kind::Data;
        std::vector<ChannelGroup> groups{};   // Channel, Level; channel 0: all of them
        std::vector<DeviceAddress> devices{}; // Data
        std::vector<qint64> timelineIds{};    // Timeline
        std::vector<EventType> types{};       // that it has a part for
        std::vector<int> places{};            // of the parts, 0: not known
    };
    std::vector<Listener> listeners() const; // in file order; without filters that would run code of the program

private:
    /// What one handler listens to: channels of devices, with channel 0 for all of them.
    struct ChannelFilter
    {
        std::unique_ptr<ChannelCode> code;
        std::vector<ChannelGroup> constant; // evaluated at load
        bool isConstant = false;
    };
    struct SubHandler
    {
        EventType type = EventType::Push;
        bool repeats = false;
        int holdTenths = 0;
        Body body;
        mutable bool isRunning = false; // a repeated hold never runs within itself
    };
    using Kind = Listener::Kind;
    struct Handler
    {
        Kind kind = Kind::Data;
        int order = 0;                                    // in the file
        std::vector<DeviceAddress> devices{};             // Data
        std::vector<ChannelFilter> channels{};            // Channel, Level
        std::vector<std::unique_ptr<Code>> timelineIds{}; // Timeline
        // The constant groups of channels again: by device number, and those whose device may stand for others.
        std::unordered_multimap<int, const ChannelGroup *> groupsByDevice{};
        std::vector<const ChannelGroup *> virtualGroups{};
        std::vector<SubHandler> subHandlers{};
    };
    using HandlerList = std::vector<const Handler *>; // file order

    void add(const ButtonEventHandler &node);
    void add(const LevelEventHandler &node);
    void add(const DataEventHandler &node);
    void add(const TimelineEventHandler &node);
    std::vector<ChannelFilter> prepareChannels(const std::vector<std::unique_ptr<ButtonExpression>> &nodes);
    std::vector<SubHandler> prepareSubHandlers(const std::vector<std::unique_ptr<SubEventHandler>> &nodes,
                                               Name dataName);
    void addToIndex(Handler handler);

    bool matches(const Handler &handler, const CustomEvent &event) const;
    bool matchesGroup(const ChannelGroup &group, int deviceNumber, int code) const;
    bool matchesChannel(const Handler &handler, int deviceNumber, int code) const;
    bool matchesTimeline(const Handler &handler, int id) const;
    void runMatching(const Handler &handler, const CustomEvent &event, BasicType *data);

    Interpreter &m_interpreter;
    std::vector<std::unique_ptr<Handler>> m_handlers;       // file order
    std::map<std::pair<Kind, int>, HandlerList> m_byDevice; // by device number, for handlers of constant devices
    std::map<Kind, HandlerList> m_others;                   // those that must be asked at every event
};
