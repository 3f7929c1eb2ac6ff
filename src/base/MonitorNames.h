#pragma once
#include "base/Monitor.h"

#include <array>

/// What people call the types of monitor lines, on the terminal and in tools; by MonitorMessageType.
inline constexpr std::array kMonitorTypeNames = {
    "remote-io", "system", "connection", "online", "error", "warning", "port-traffic",
    "command",   "level",  "pulse",      "on",     "off",   "to",      "received",
};
static_assert(kMonitorTypeNames.size() == static_cast<size_t>(MonitorMessageType::Received) + 1);
inline constexpr int kMonitorNameWidth = 12; // of the longest
