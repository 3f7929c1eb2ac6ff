#pragma once
#include "interp/Code.h"
#include "model/StructType.h"

#include <memory>
#include <vector>

class ButtonExpression;
class DeviceExpr;
class Preparer;

/// Channels of one device, with the place that each has in a list of values.
struct ChannelGroup
{
    DeviceAddress device{};
    std::vector<qint64> channels{};
    std::vector<int> valueIndexes{}; // from 0, parallel to channels
};

/// A button expression made ready: the devices and channels (or levels) it names.
class ChannelCode
{
public:
    ChannelCode(const ButtonExpression &node, Preparer &preparer);

    /// One group per device in order. A list of DevChans or DevLevs keeps each channel with its own device.
    std::vector<ChannelGroup> collect(Run &run) const;
    bool isConstant() const { return m_isConstant; } // always names the same

private:
    struct Item
    {
        std::unique_ptr<Code> code; // nullptr: a device, or an empty item
        std::unique_ptr<Device> device;
    };
    std::vector<Item> m_items;
    bool m_isConstant = false;
};

/// The devices that a device expression names, in order.
std::vector<DeviceAddress> devicesOf(const ValueView &value);

/// A value as a list of whole numbers: one of a number, one per element of an array.
std::vector<qint64> wholeNumbersOf(const ValueView &value);
/// The same of code that is run for it. The numbers of a list stay whole; only where it becomes a text are they bytes.
std::vector<qint64> wholeNumbersOf(const Code &code, Run &run);
