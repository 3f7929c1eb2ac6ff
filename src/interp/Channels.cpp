#include "interp/Channels.h"

#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/code/TextCode.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"
#include "program/AST.h"

#include <algorithm>

namespace {
std::optional<ChannelAddress> pairOf(const BasicType *value)
{
    const std::optional<ChannelAddress> channel = devChanOf(value);
    return channel ? channel : devLevOf(value);
}

void addPair(std::vector<ChannelGroup> &groups, const ChannelAddress &pair, int valueIndex)
{
    if (groups.empty() || groups.back().device != pair.device) {
        groups.push_back({ pair.device, {}, {} });
    }
    groups.back().channels.push_back(pair.channel);
    groups.back().valueIndexes.push_back(valueIndex);
}

/// Whether a node always has the same value: literals, and globals that the program never changes.
bool isConstantNode(const Expression *node, const Preparer &preparer)
{
    if (as<ConstExpression>(node)) {
        return true;
    }
    if (const auto *device = as<DeviceExpr>(node)) {
        return device->device || isConstantNode(device->variable.get(), preparer);
    }
    if (const auto *variable = as<VarExpression>(node)) {
        const BasicType *global = preparer.program().findGlobal(Name(variable->name));
        return global && !preparer.findLocal(Name(variable->name)) && preparer.interpreter().isNeverChanged(*global);
    }
    return false;
}

/// The state of the one channel that a button expression names.
class ChannelStateCode : public NumberCode
{
public:
    explicit ChannelStateCode(ChannelCode channels)
        : m_channels(std::move(channels))
    {}

    double compute(Run &run) const override { return isOn(run) ? 1.0 : 0.0; }

private:
    bool isOn(Run &run) const
    {
        constexpr int kRelayPort = 9;
        DeviceActions *devices = run.state().devices();
        const std::vector<ChannelGroup> groups = m_channels.collect(run);
        if (!devices || groups.size() != 1 || groups[0].channels.size() != 1) {
            return false;
        }
        const DeviceAddress &device = groups[0].device;
        const auto channel = static_cast<int>(groups[0].channels[0]);
        if (device.number != kControllerDevice) {
            const std::vector<DeviceAddress> addresses = run.state().expandDevice(device);
            return !addresses.empty() &&
                   devices->askPanel(addresses.front().number, { PanelQuestion::Kind::Status, channel }).toInt() != 0;
        }
        if (device.port == kRelayPort) {
            return devices->relayState(device, channel) != 0;
        }
        return devices->askPortChannel(device, channel);
    }

    ChannelCode m_channels;
};
} // namespace

ChannelCode::ChannelCode(const ButtonExpression &node, Preparer &preparer)
{
    m_isConstant = true;
    for (const ButtonExpression::Item &item : node.items) {
        Item prepared;
        if (const auto *expression = std::get_if<std::unique_ptr<Expression>>(&item)) {
            prepared.code = preparer.expression(*expression, Context::Condition);
            m_isConstant = m_isConstant && isConstantNode(expression->get(), preparer);
        } else if (const auto *device = std::get_if<std::unique_ptr<Device>>(&item); device && *device) {
            prepared.device = std::make_unique<Device>((*device)->address());
        }
        m_items.push_back(std::move(prepared));
    }
}

std::vector<ChannelGroup> ChannelCode::collect(Run &run) const
{
    std::vector<ChannelGroup> groups;
    if (m_items.size() == 1 && m_items[0].code) {
        ValueRef hold;
        const ValueView value = m_items[0].code->view(run, hold);
        if (const auto pair = pairOf(value.object)) {
            addPair(groups, *pair, 0);
        } else if (const Array *list = value.array()) {
            int valueIndex = 0;
            for (int index = 1; index <= list->length(); ++index) {
                if (const auto element = pairOf(list->object(index))) {
                    addPair(groups, *element, valueIndex++);
                }
            }
        }
        return groups;
    }
    if (m_items.size() != 2) {
        return groups;
    }
    std::vector<DeviceAddress> devices;
    if (m_items[0].device) {
        devices.push_back(m_items[0].device->address());
    } else if (m_items[0].code) {
        ValueRef hold;
        devices = devicesOf(m_items[0].code->view(run, hold));
    }
    ChannelGroup group;
    if (m_items[1].code) {
        group.channels = wholeNumbersOf(*m_items[1].code, run);
    }
    for (size_t index = 0; index < group.channels.size(); ++index) {
        group.valueIndexes.push_back(static_cast<int>(index));
    }
    if (!group.channels.empty()) {
        for (const DeviceAddress &device : devices) {
            group.device = device;
            groups.push_back(group);
        }
    }
    return groups;
}

std::vector<DeviceAddress> devicesOf(const ValueView &value)
{
    std::vector<DeviceAddress> devices;
    if (const Device *device = asDevice(value.object)) {
        devices.push_back(device->address());
    } else if (const Array *list = value.array()) {
        for (int index = 1; index <= list->length(); ++index) {
            if (const Device *element = asDevice(list->object(index))) {
                devices.push_back(element->address());
            }
        }
    }
    return devices;
}

std::vector<qint64> wholeNumbersOf(const ValueView &value)
{
    std::vector<qint64> numbers;
    if (value.isNumber()) {
        numbers.push_back(integerPart(value.number));
    } else if (const Array *list = value.array()) {
        for (int index = 1; index <= list->length(); ++index) {
            if (list->hasElement(index)) {
                if (const ValueView element = list->view(index); element.isNumber()) {
                    numbers.push_back(integerPart(element.number));
                }
            }
        }
    }
    return numbers;
}

std::vector<qint64> wholeNumbersOf(const Code &code, Run &run)
{
    const auto *list = dynamic_cast<const TextCode *>(&code);
    if (!list || list->items().empty()) {
        ValueRef hold;
        return wholeNumbersOf(code.view(run, hold));
    }
    std::vector<qint64> numbers;
    for (const std::unique_ptr<Code> &item : list->items()) {
        if (item) {
            const std::vector<qint64> more = wholeNumbersOf(*item, run);
            numbers.insert(numbers.end(), more.begin(), more.end());
        }
    }
    return numbers;
}

std::unique_ptr<Code> ButtonExpression::prepare(Preparer &preparer, Context) const
{
    return std::make_unique<ChannelStateCode>(ChannelCode(*this, preparer));
}
