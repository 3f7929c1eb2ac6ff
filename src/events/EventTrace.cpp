#include "events/EventTrace.h"

TraceRecord traceRecordOf(const CustomEvent &event)
{
    TraceRecord record = TraceRecord::of(TraceRecord::Kind::Event, event.device);
    record.detail = static_cast<qint8>(static_cast<int>(event.type) - static_cast<int>(EventType::Online));
    switch (event.type) {
    case EventType::Push:
    case EventType::Release:
    case EventType::Hold:
        record.code = event.channel;
        record.after = event.elapsedTenths;
        break;
    case EventType::Level:
        record.code = event.levelCode;
        record.after = event.levelValue;
        break;
    case EventType::Error:
        record.code = event.errorCode;
        break;
    case EventType::Timeline:
        record.code = event.timelineId;
        break;
    case EventType::String:
    case EventType::Command:
        return std::move(record).with(event.data);
    case EventType::Online:
    case EventType::Offline:
        break;
    }
    return record;
}

EventType eventTypeOf(const TraceRecord &event)
{
    return static_cast<EventType>(static_cast<int>(EventType::Online) + event.detail);
}

QString eventWord(EventType type)
{
    static constexpr const char *kWords[] = { "online", "string",  "push",    "release",  "hold",
                                              "level",  "offline", "onerror", "timeline", "command" };
    return QString::fromLatin1(kWords[static_cast<int>(type) - static_cast<int>(EventType::Online)]);
}
