#pragma once
#include "devices/linux/GpioLine.h"

#include <QStringList>

#include <optional>
#include <vector>

/// One port, as the file ports.ini and the tools name it: "serial1", "relay1", "io1", "ir1", or "portLink", the line to
/// a board that has all the others.
struct PortName
{
    enum class Kind { Serial, Relay, Io, Ir, Link };
    Kind kind = Kind::Serial;
    int number = 1;

    QString text() const;
    static std::optional<PortName> parse(const QString &text);
    static std::vector<PortName> all(); // but the board
    auto operator<=>(const PortName &) const = default;
};

/// What stands behind one port.
struct PortEntry
{
    PortName name;
    QString device;         // a serial line, an infrared device or the board: its file; else its line
    GpioLine::Setting line; // of a relay or IO
    QString problem;        // it cannot be used so; for people

    bool operator==(const PortEntry &) const = default;
};

/// The file that says what of this machine stands behind which port; docs/hardware.md.
namespace PortsFile {
struct Content
{
    std::vector<PortEntry> entries; // one a port
    QStringList problems;           // a line for each bad entry: where, what is wrong, what would be right
};
Content parse(const QByteArray &text);

bool isSetting(const QString &line); // KEY=VALUE that stays in its section, whatever key and value are

/// The text with these lines ("key=value") in place of the section's; none: without the section. Comments stay.
QByteArray withSection(const QByteArray &text, const PortName &name, const QStringList &lines);
} // namespace PortsFile
