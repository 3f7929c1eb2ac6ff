#include "net/controllers/ControllerText.h"
#include "base/SystemNumber.h"
#include "program/DeviceActions.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ControllerText {
namespace {
template <class... Numbers>
QByteArray withNumbers(const char *keyword, Numbers... numbers)
{
    QByteArray text(keyword);
    ((text += ':', text += QByteArray::number(numbers)), ...);
    return text;
}

/// A decimal number of digits only, within the range of int.
std::optional<int> natural(const QByteArray &text)
{
    const bool hasDigitsOnly =
        !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    bool fits = false;
    const int value = hasDigitsOnly ? text.toInt(&fits) : 0;
    return fits ? std::optional(value) : std::nullopt;
}

std::optional<int> systemNumber(const QByteArray &text)
{
    const std::optional<int> number = natural(text);
    return number && isSystemNumber(*number) ? number : std::nullopt;
}

/// The text between ":", with the last field whole; as many as the count at most.
QByteArrayList fields(const QByteArray &text, int count)
{
    QByteArrayList list;
    int from = 0;
    for (int colon = text.indexOf(':'); colon >= 0 && list.size() < count - 1; colon = text.indexOf(':', from)) {
        list << text.mid(from, colon - from);
        from = colon + 1;
    }
    return list << text.mid(from);
}

using Parsed = std::optional<TargetMessage>;

Parsed parseNumber(const QByteArray &rest)
{
    const std::optional<int> system = systemNumber(rest);
    return system ? Parsed(TargetNumber{ *system }) : std::nullopt;
}

Parsed parsePortData(const QByteArray &rest)
{
    const QByteArrayList parts = fields(rest, 3);
    if (parts.size() != 3) {
        return std::nullopt;
    }
    const auto system = systemNumber(parts.at(0));
    const auto port = natural(parts.at(1));
    return system && port ? Parsed(TargetPortData{ *system, *port, parts.at(2) }) : std::nullopt;
}

Parsed parseInput(const QByteArray &rest)
{
    const QByteArrayList parts = fields(rest, 3);
    if (parts.size() != 3 || (parts.at(1) != "0" && parts.at(1) != "1")) {
        return std::nullopt;
    }
    const auto system = systemNumber(parts.at(0));
    const auto channel = natural(parts.at(2));
    return system && channel ? Parsed(TargetInput{ *system, parts.at(1) == "0", *channel }) : std::nullopt;
}

Parsed parsePortStatus(const QByteArray &rest)
{
    const QByteArrayList parts = fields(rest, 5);
    if (parts.size() != 5 || !natural(parts.at(0))) {
        return std::nullopt;
    }
    const auto port = natural(parts.at(1));
    const auto system = systemNumber(parts.at(2));
    const auto channel = natural(parts.at(3));
    const auto status = natural(parts.at(4));
    return port && system && channel && status ? Parsed(TargetPortStatus{ *system, *port, *channel, *status })
                                               : std::nullopt;
}

constexpr std::pair<const char *, Parsed (*)(const QByteArray &)> kFromTarget[] = {
    { "sys:", parseNumber },
    { "string:", parsePortData },
    { "io:", parseInput },
    { "query:", parsePortStatus },
};

constexpr std::pair<const char *, ListenerRequest> kFromListener[] = {
    { "string:", ListenerRequest::String }, { "command:", ListenerRequest::Command },
    { "query:", ListenerRequest::Query },   { "setup:", ListenerRequest::Setup },
    { "sys:", ListenerRequest::Number },    { "cancelTo:", ListenerRequest::Cancel },
};
} // namespace

QByteArray askNumber()
{
    return withNumbers("sys", 1);
}

QByteArray string(const DeviceAddress &device, const QByteArray &data)
{
    return withNumbers("string", device.number, device.port, device.system) + ':' + data;
}

QByteArray command(const DeviceAddress &device, const QByteArray &data)
{
    return withNumbers("command", device.number, device.port, device.system) + ':' + data;
}

QByteArray setup(const DeviceAddress &device, int channel, int action)
{
    return withNumbers("setup", device.number, device.port, device.system, channel, action);
}

QByteArray query(const DeviceAddress &device, int channel)
{
    return withNumbers("query", device.number, device.port, device.system, channel);
}

QByteArray cancel()
{
    return QByteArrayLiteral("cancelTo:");
}

QByteArray number(int system)
{
    return withNumbers("sys", system);
}

QByteArray portData(int system, int port, const QByteArray &data)
{
    return withNumbers("string", system, port) + ':' + data;
}

QByteArray input(const TargetInput &input)
{
    return withNumbers("io", input.system, input.isPush ? 0 : 1, input.channel);
}

QByteArray portStatus(const TargetPortStatus &status)
{
    return withNumbers("query", kControllerDevice, status.port, status.system, status.channel, status.status);
}

std::optional<TargetMessage> parseFromTarget(const QByteArray &body)
{
    for (const auto &[keyword, parse] : kFromTarget) {
        if (body.startsWith(keyword)) {
            return parse(body.mid(static_cast<int>(qstrlen(keyword))));
        }
    }
    return std::nullopt;
}

std::optional<Request> parseFromListener(const QByteArray &body)
{
    for (const auto &[keyword, kind] : kFromListener) {
        if (!body.startsWith(keyword)) {
            continue;
        }
        const QByteArray rest = body.mid(static_cast<int>(qstrlen(keyword)));
        const bool isAnswer = kind == ListenerRequest::Number && natural(rest) != 1;
        return isAnswer ? std::nullopt : std::optional(Request{ kind, rest });
    }
    return std::nullopt;
}
} // namespace ControllerText
