#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

/// The text commands of the console port, one type each. Source: docs/formats/console-port.md.
namespace Console {
struct QueryNetwork
{};
struct SetNetwork
{
    QString ip, netmask, gateway, nameServer;
    bool isDhcp = false;
};
struct QuerySystemNumber
{};
struct SetSystemNumber
{
    int number = 0;
};
struct QueryDateTime
{};
struct SetDateTime
{
    QString text;
};
struct QueryMac
{};
struct SetMac
{
    QString mac; // as it was sent
};

using Command = std::variant<QueryNetwork, SetNetwork, QuerySystemNumber, SetSystemNumber, QueryDateTime, SetDateTime,
                             QueryMac, SetMac>;

/// Reads a command by its first word; nothing when it is unknown or its fields do not fit, it is then ignored.
std::optional<Command> parse(const QByteArray &text);
} // namespace Console
