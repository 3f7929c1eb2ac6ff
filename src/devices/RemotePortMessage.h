#pragma once
#include "devices/PortFrames.h"
#include "program/DeviceActions.h"

#include <QByteArray>

#include <optional>
#include <variant>

/// What another controller asks of this one's ports in the binary form; docs/formats/remote-port-message.md.

struct RemoteSerialSend
{
    int port = 0; // 1 to 8
    SerialSetup setup;
    QByteArray data;
};

struct RemoteSwitch // of one channel
{
    int port = 0; // of this controller
    PortAction action = PortAction::Off;
    int channel = 0;       // relay or IO number, or IR channel
    int pulseMs = 0;       // 0: the program's pulse time
    bool isInRange = true; // false: the monitor line is written and nothing is switched
};

struct RemoteHeldRelease // of every held output
{};

using RemotePortMessage = std::variant<RemoteSerialSend, RemoteSwitch, RemoteHeldRelease>;

/// Nothing for an unknown code, missing bytes, or values out of range.
std::optional<RemotePortMessage> parseRemotePortMessage(const QByteArray &bytes);
