#pragma once
#include <QString>

#include <vector>

/// The serial lines of this machine, as the kernel's sysfs tells of them. None is opened: that would move its DTR, and
/// restart what hangs on it.
namespace SerialAdapters {

struct Found
{
    QString device; // by its lasting name, where it has one: "/dev/serial/by-id/…", else as file
    QString file;   // "/dev/ttyUSB0"
    QString driver;
    QString product; // of a USB adapter
    bool isConsole = false;
};

/// Those that are there: of the lines of a board the kernel knows more. By name.
/// \param root  where dev and sys are
std::vector<Found> all(const QString &root = QStringLiteral("/"));

} // namespace SerialAdapters
