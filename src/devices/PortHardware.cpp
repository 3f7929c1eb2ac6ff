#include "devices/PortHardware.h"

PortHardware::PortHardware() = default;
PortHardware::~PortHardware() = default;
