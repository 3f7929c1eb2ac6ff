#pragma once
#include "model/StructType.h"
#include <QByteArray>

#include <optional>
#include <variant>

/// What controllers tell each other in the body of code 3F; docs/formats/controller-messages.md.
/// The listener has the connection made and speaks to the ports of the target.

// From target to listener.
struct TargetNumber // its system number
{
    int system = 0;
};
struct TargetPortData // that arrived on one of its ports
{
    int system = 0;
    int port = 0;
    QByteArray data{};
};
struct TargetInput // a push or a release on its IO port
{
    int system = 0;
    bool isPush = false;
    int channel = 0;
};
struct TargetPortStatus
{
    int system = 0;
    int port = 0;
    int channel = 0;
    int status = 0;
};
using TargetMessage = std::variant<TargetNumber, TargetPortData, TargetInput, TargetPortStatus>;

// From listener to target.
enum class ListenerRequest { Number, Setup, Query, Command, String, Cancel };

namespace ControllerText {
QByteArray askNumber();
QByteArray string(const DeviceAddress &device, const QByteArray &data);
QByteArray command(const DeviceAddress &device, const QByteArray &data);
QByteArray setup(const DeviceAddress &device, int channel, int action);
QByteArray query(const DeviceAddress &device, int channel);
QByteArray cancel();

QByteArray number(int system);
QByteArray portData(int system, int port, const QByteArray &data);
QByteArray input(const TargetInput &input);
QByteArray portStatus(const TargetPortStatus &status);

/// Nothing for a body that has no such form, a number that is none, and system number 0, which means "here".
std::optional<TargetMessage> parseFromTarget(const QByteArray &body);

struct Request
{
    ListenerRequest kind = ListenerRequest::Cancel;
    QByteArray rest{}; // what follows the keyword, for RemoteText to read
};
std::optional<Request> parseFromListener(const QByteArray &body);
} // namespace ControllerText
