#include "program/Exclusive.h"

#include "program/AST.h"

#include <algorithm>
#include <numeric>

void DeviceReference::writeTo(NodeWriter &writer) const
{
    writer.writeBool(kind != Absent);
    if (kind == Absent) {
        return;
    }
    writer.writeInt(kind);
    if (kind == Local || kind == Global) {
        writer.writeText(name);
    } else if (kind == Anonymous && device) {
        device->writeTo(writer);
    }
}

void DeviceReference::readFrom(NodeReader &reader)
{
    kind = Absent;
    if (!reader.readBool()) {
        return;
    }
    kind = reader.readInt();
    if (kind == Local || kind == Global) {
        name = reader.readText();
    } else if (kind == Anonymous) {
        device = std::make_unique<Device>();
        device->readFrom(reader);
    }
}

const Device *DeviceReference::resolve(const AST &program) const
{
    switch (kind) {
    case Local: // no local scope is open where references stand, so a local name can only be a global
    case Global:
        return asDevice(program.findGlobal(Name(name)));
    case Anonymous:
        return device.get();
    default:
        return nullptr;
    }
}

bool Exclusive::contains(const AST &program, int deviceNumber, int port, int channel) const
{
    const Device *own = device.resolve(program);
    if (!own || !hasChannel(channel)) {
        return false;
    }
    const std::vector<DeviceAddress> addresses = program.expandDevice(own->address());
    return std::any_of(addresses.begin(), addresses.end(), [deviceNumber, port](const DeviceAddress &address) {
        return address.number == deviceNumber && (deviceNumber != kControllerDevice || address.port == port);
    });
}

void RangeExclusive::writeTo(NodeWriter &writer) const
{
    device.writeTo(writer);
    writer.writeInt(first);
    writer.writeInt(last);
}

void RangeExclusive::readFrom(NodeReader &reader)
{
    device.readFrom(reader);
    first = reader.readInt();
    last = reader.readInt();
}

std::vector<int> RangeExclusive::channels() const
{
    constexpr int kMostChannels = 65536; // a range from a damaged file must not fill the memory
    if (last < first) {
        return {};
    }
    std::vector<int> range(static_cast<size_t>(std::min<qint64>(qint64(last) - first + 1, kMostChannels)));
    std::iota(range.begin(), range.end(), first);
    return range;
}

void ButtonsExclusive::writeTo(NodeWriter &writer) const
{
    device.writeTo(writer);
    writer.writeInt(static_cast<int>(codes.size()));
    for (const int code : codes) {
        writer.writeInt(code);
    }
}

void ButtonsExclusive::readFrom(NodeReader &reader)
{
    device.readFrom(reader);
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        codes.push_back(reader.readInt());
    }
    std::sort(codes.begin(), codes.end());
}

bool ButtonsExclusive::hasChannel(int channel) const
{
    return std::binary_search(codes.begin(), codes.end(), channel);
}

std::unique_ptr<Exclusive> makeExclusive(int tag)
{
    switch (tag) {
    case RangeExclusive::kTag:
        return std::make_unique<RangeExclusive>();
    case ButtonsExclusive::kTag:
        return std::make_unique<ButtonsExclusive>();
    default:
        return nullptr;
    }
}
