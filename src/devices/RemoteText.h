#pragma once
#include "program/DeviceActions.h"

#include <QByteArray>

#include <optional>

/// The text forms in which other controllers address this one: "setup:", "query:", "command:" and "string:" messages,
/// without their prefix. Nothing is returned for a text that does not have the form. Whether its system number is
/// this controller's is for the caller to see.
namespace RemoteText {
struct Setup // number:port:system:channel:action
{
    DeviceAddress device{};
    int channel = 0;
    PortAction action = PortAction::Off;
};
std::optional<Setup> parseSetup(const QByteArray &text);

struct Addressed // number:port:system:rest; the rest may hold colons
{
    DeviceAddress device{};
    QByteArray rest;
};
std::optional<Addressed> parseAddressed(const QByteArray &text);
} // namespace RemoteText
