#pragma once
#include <QString>

class GpioLine;
struct SerialSetup;

/// How a port is set up, for people.
namespace PortSettings {
QString text(const SerialSetup &setup); // "9600,n,8,1"
QString text(const GpioLine &line);     // "input, on, active low, 20 ms"
} // namespace PortSettings
