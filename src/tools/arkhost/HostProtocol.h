#pragma once
#include <QString>

/// What both ends of the supervisor's socket know; docs/formats/supervisor-link.md.
namespace HostProtocol {
inline QString serverName()
{
    return QStringLiteral("emulator");
}

enum Code : quint8 {
    kLed = 2,        // controller: LED number, then 1 or 0
    kWatchPorts = 3, // supervisor: send what goes to the ports, too
    kPortFrame = 4,  // controller: one frame
    kAskStatus = 5,  // tool: how is it?
    kStatus = 6,     // supervisor: the status as JSON
};
} // namespace HostProtocol
