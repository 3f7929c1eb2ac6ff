#pragma once
#include "model/StructType.h"

#include <QByteArray>
#include <QEvent>

#include <atomic>
#include <memory>

/// What can happen, as the dispatcher and the handlers see it.
enum class EventType : int {
    Online = 1001,
    String = 1002,
    Push = 1003,
    Release = 1004,
    Hold = 1005,
    Level = 1006,
    Offline = 1007,
    Error = 1008,
    Timeline = 1009,
    Command = 1010,
};

/// One event. Which of the further fields count depends on the type.
struct CustomEvent
{
    EventType type = EventType::Online;
    DeviceAddress device{};
    QByteArray data{};     // String, Command: what arrived
    int channel = 0;       // Push, Release, Hold
    int elapsedTenths = 0; // Hold: since the push
    int levelCode = 0;     // Level
    int levelValue = 0;    // Level
    int errorCode = 0;     // Error
    int timelineId = 0;    // Timeline
    qint64 cause = 0;      // in the trace; 0: not known
};

/// What DATA holds besides the device while a data event runs.
struct DataFields
{
    QByteArray text{};
    qint64 number = 0;
    QByteArray sourceIp{};
    int sourcePort = 0;
};

/// From the threads of panel connections to the dispatcher, which takes it sent or posted; posted, with this priority.
constexpr int kPanelEventPriority = 200;

class PanelEvent : public QEvent
{
public:
    enum Kind : int { Pressed = 1011, Released = 1012, LevelChanged = 1014 };
    PanelEvent(Kind kind, quint16 device, int channelOrLevel, int levelValue = 0,
               std::shared_ptr<const void> heldUntilHandled = nullptr)
        : QEvent(static_cast<QEvent::Type>(kind))
        , deviceNumber(device)
        , code(channelOrLevel)
        , value(levelValue)
        , untilHandled(std::move(heldUntilHandled))
    {
        s_waiting.fetch_add(1, std::memory_order_relaxed);
    }
    ~PanelEvent() override { s_waiting.fetch_sub(1, std::memory_order_relaxed); }

    static int waiting() { return s_waiting.load(std::memory_order_relaxed); } // posted and not handled; any thread

    const quint16 deviceNumber;
    const int code;                                 // the channel, or the level code
    const int value;                                // of the level
    const std::shared_ptr<const void> untilHandled; // let go with the event

private:
    inline static std::atomic<int> s_waiting{ 0 };
};
