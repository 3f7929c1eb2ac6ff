#pragma once
#include <QString>

#include <optional>

/// What an installer wants to know of a device file that cannot be used.
namespace DeviceFile {
/// Nothing when it is there and a character device, else why not. A name that is no path has "/dev/" in front.
std::optional<QString> whyNoCharacterDevice(const QString &file);

/// What the system says of a file that it refuses to open, and what to do about it.
QString whyRefused(const QString &file, int error);

/// The same before it is opened, without opening it; empty: it may be.
QString whyForbidden(const QString &file);

/// A process that has it open, "NAME (PID)"; empty: none, or it belongs to another user.
QString holder(const QString &file);
} // namespace DeviceFile
