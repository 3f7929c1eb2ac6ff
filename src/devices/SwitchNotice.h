#pragma once
#include "base/Monitor.h"
#include "program/DeviceActions.h"

#include <QString>

#include <optional>

/// The controller's own ports, of device 5001. IR emitter n stands at port n + 9.
namespace Port {
constexpr int kRelays = 9;
constexpr int kRelayCount = 8;
constexpr int kFirstIr = 10;
constexpr int kLastIr = 17;
constexpr int kIo = 18;
constexpr int kIos = 6; // its channels
inline bool isIr(int port)
{
    return port >= kFirstIr && port <= kLastIr;
}
inline int emitterOf(int port)
{
    return port - 9;
}
} // namespace Port

/// The monitor line of one switched channel.
struct SwitchNotice
{
    MonitorMessageType type;
    QString text;

    enum class Place { Here, Elsewhere }; // elsewhere: the line begins with "[number:port:system]"

    /// Nothing for ports and actions that have no line.
    static std::optional<SwitchNotice> of(const DeviceAddress &device, PortAction action, int channel, Place place);
};
