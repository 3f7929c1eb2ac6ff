#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

/// The text commands of the management tool (code 0x18), one type each.
namespace Management {
struct SetSystemNumber
{
    int number = 0;
};
struct Reboot
{};
struct UseDhcp
{
    QString mac; // empty, or a valid one
    bool isTried = true;
};
struct UseStaticIp
{
    QString ip, netmask, gateway, dns, mac; // the first three are addresses
    bool isTried = true;
};
struct AskDateTime
{};
struct SetDateTime
{
    QString text;
};
struct AskIrCode
{
    int number = 0;
};
struct AskListenAddresses
{};
struct AskListenStatus
{
    QString text; // the new listen list; empty only asks
};
struct AskPorts
{};
struct SetPort // what stands behind it
{
    QString port;
    QStringList lines; // "key=value"; empty: nothing does any more
};
struct PutIntoPort // as if it had come in from there
{
    QString port;
    std::optional<QByteArray> data; // bytes, or "on" or "off"; nothing: they are not in hexadecimal
};
struct DetectDevices // that could stand behind a port
{};
struct AskProgram // about the program that runs
{
    QByteArray question; // a JSON object
};
struct AskMonitorHistory
{
    qint64 ageMs = 0; // of the oldest line wanted
};

using Command =
    std::variant<SetSystemNumber, Reboot, UseDhcp, UseStaticIp, AskDateTime, SetDateTime, AskIrCode, AskListenAddresses,
                 AskListenStatus, AskPorts, SetPort, PutIntoPort, AskMonitorHistory, DetectDevices, AskProgram>;

/// Reads a command; nothing when it is unknown or its fields do not fit, it is then ignored.
std::optional<Command> parse(const QByteArray &text);
} // namespace Management
