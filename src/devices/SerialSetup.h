#pragma once
#include "base/Monitor.h"
#include "devices/frames/PortFrames.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

/// What a set-up command for a serial port asks for, and what is to be said about it, in order.
struct SerialSetupCommand
{
    struct Remark
    {
        MonitorMessageType type;
        QString text;
    };
    std::optional<SerialSetup> setup; // nothing: no set-up frame is to be sent
    std::vector<Remark> remarks;

    /// Reads "set baud RATE,PARITY,DATA,STOP 485 enable|disable" in any case; the protocol words may stand anywhere.
    /// A bad rate counts as 0, a bad parity as none, and both are remarked on. "set mode …" asks for nothing.
    static SerialSetupCommand parse(const QByteArray &command);
};
