#include "compiler/checks/DeviceChecks.h"

#include "program/DeviceActions.h"

#include <algorithm>

namespace {
constexpr int kLastSerialPort = 8;
constexpr int kRelayPort = 9;
constexpr int kIoPort = 18;
constexpr int kRelays = 8;
constexpr int kIos = 6;

QString portText(const DeviceAddress &device)
{
    const QString kind = device.port <= kLastSerialPort ? QStringLiteral("a serial port")
                         : device.port == kRelayPort    ? QStringLiteral("the relays")
                         : device.port < kIoPort        ? QStringLiteral("an infrared emitter")
                         : device.port == kIoPort       ? QStringLiteral("the digital IO")
                                                        : QStringLiteral("no port; the last is 18");
    return QStringLiteral("%1 is %2").arg(device.text(), kind);
}
} // namespace

std::vector<DeviceAddress> DeviceChecks::devicesOf(const ButtonExpression &button) const
{
    if (button.items.size() != 2) {
        return {};
    }
    if (const auto *device = std::get_if<std::unique_ptr<Device>>(&button.items.front())) {
        return { (*device)->address() };
    }
    const auto *node = std::get_if<std::unique_ptr<Expression>>(&button.items.front());
    const std::optional<Constant> value = node ? m_work.constants.evaluate(node->get(), {}) : std::nullopt;
    std::vector<DeviceAddress> devices;
    if (value && value->isDevice()) {
        devices.push_back(value->device);
    }
    for (const Constant &item : value ? value->items : std::vector<Constant>()) {
        if (item.isDevice()) {
            devices.push_back(item.device);
        }
    }
    return devices;
}

std::vector<double> DeviceChecks::channelsOf(const ButtonExpression &button) const
{
    const auto *node =
        button.items.size() == 2 ? std::get_if<std::unique_ptr<Expression>>(&button.items.back()) : nullptr;
    const std::optional<Constant> value = node ? m_work.constants.evaluate(node->get(), {}) : std::nullopt;
    std::vector<double> channels;
    return value && flatten(*value, channels) ? channels : std::vector<double>();
}

void DeviceChecks::switching(const ButtonExpression &channels, SourcePosition position)
{
    const std::vector<double> codes = channelsOf(channels);
    for (const DeviceAddress &device : devicesOf(channels)) {
        if (device.number != kControllerDevice) {
            continue;
        }
        const int count = device.port == kRelayPort ? kRelays : device.port == kIoPort ? kIos : 0;
        const auto isNone = [count](double code) { return integerPart(code) < 1 || integerPart(code) > count; };
        if (device.port <= kLastSerialPort || device.port > kIoPort) {
            report(Fault::PortUse, position, { QStringLiteral("%1: it has nothing to switch").arg(portText(device)) });
        } else if (count > 0 && std::any_of(codes.begin(), codes.end(), isNone)) {
            report(Fault::PortUse, position,
                   { QStringLiteral("%1, and it has the channels 1 to %2").arg(portText(device)).arg(count) });
        }
    }
}

void DeviceChecks::sending(const DeviceExpr &device, SourcePosition position)
{
    const std::optional<Constant> value =
        m_work.constants.evaluate(device.variable ? device.variable.get() : &device, position);
    if (value && value->isDevice() && value->device.number == kControllerDevice &&
        value->device.port > kLastSerialPort) {
        report(Fault::PortUse, position,
               { QStringLiteral("%1: a string goes to a serial port, 1 to 8").arg(portText(value->device)) });
    }
}

void DeviceChecks::dataPart(const DeviceAddress &device, const QString &part, SourcePosition position)
{
    const bool isLocal = device.number == kControllerDevice && device.system == 0;
    if (isLocal && device.port > kLastSerialPort && part == QLatin1String("string")) {
        report(Fault::PortUse, position,
               { QStringLiteral("%1: strings come from the serial ports, 1 to 8").arg(portText(device)) });
    }
}

bool DeviceChecks::isPanelState(const ButtonExpression &channel) const
{
    const std::vector<DeviceAddress> devices = devicesOf(channel);
    return !devices.empty() && devices.front().number != kControllerDevice;
}

void DeviceChecks::buttonPart(const std::vector<std::unique_ptr<ButtonExpression>> &buttons, const QString &part,
                              SourcePosition position)
{
    for (const auto &button : buttons) {
        for (const DeviceAddress &device : devicesOf(*button)) {
            for (const double channel : channelsOf(*button)) {
                const std::pair<int, int> address(device.number, integerPart32(channel));
                const auto [known, isNew] = m_parts.insert({ { address, part }, position });
                if (!isNew && channel != 0 && known->second.file == position.file &&
                    known->second.offset != position.offset) {
                    report(Fault::DuplicateButton, position,
                           { part.section(QLatin1Char(' '), 0, 0),
                             m_work.sources.lineReference(known->second, position) });
                    return;
                }
            }
        }
    }
}

void DeviceChecks::exclusive(const DeviceAddress &device, const std::vector<int> &channels, SourcePosition position)
{
    std::vector<Range> ranges;
    for (const int channel : channels) {
        ranges.push_back({ device, channel, channel, position });
    }
    for (const Range &range : ranges) {
        addRange(range);
    }
}

void DeviceChecks::exclusive(const DeviceAddress &device, int first, int last, SourcePosition position)
{
    addRange({ device, first, last, position });
}

void DeviceChecks::addRange(const Range &range)
{
    constexpr size_t kMost = 1000; // a generated program is not compared group by group
    for (const Range &other : m_exclusives) {
        const bool isSameDevice = other.device.number == range.device.number &&
                                  (range.device.number != kControllerDevice || other.device.port == range.device.port);
        const bool isSameGroup =
            other.position.file == range.position.file && other.position.offset == range.position.offset;
        if (isSameDevice && !isSameGroup && range.first <= other.last && other.first <= range.last) {
            report(Fault::ExclusiveOverlap, range.position,
                   { QString::number(std::max(range.first, other.first)),
                     m_work.sources.lineReference(other.position, range.position) });
            break;
        }
    }
    if (m_exclusives.size() < kMost) {
        m_exclusives.push_back(range);
    }
}
