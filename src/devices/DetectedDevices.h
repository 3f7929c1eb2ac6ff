#pragma once
#include "devices/PortsFile.h"

#include <QByteArray>

/// What of this machine could stand behind a port, for an installer. Nothing is changed, and no serial line opened.
namespace DetectedDevices {
/// A JSON array, an object a device; docs/formats/link-frame.md, "portdetect?".
/// \param entries  what stands behind a port already
QByteArray described(const std::vector<PortEntry> &entries);
} // namespace DetectedDevices
