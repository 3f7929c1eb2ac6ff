#pragma once
#include "events/Events.h"
#include "interp/TimelineTable.h"

#include <memory>

/// The structures that handler bodies see, made for one event.
std::unique_ptr<StructType> makeButtonData(ProgramContext &program, const ChannelAddress &input,
                                           int holdTenths); // BUTTON
std::unique_ptr<StructType> makeData(ProgramContext &program, const DeviceAddress &device,
                                     const DataFields &fields);                                                 // DATA
std::unique_ptr<StructType> makeLevelData(ProgramContext &program, int deviceNumber, int levelCode, int value); // LEVEL
std::unique_ptr<StructType> makeTimelineData(const TimelineFigures &figures); // TIMELINE
