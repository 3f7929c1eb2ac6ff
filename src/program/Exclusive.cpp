#include "program/Exclusive.h"

#include "program/AST.h"
#include "program/DeviceActions.h"
#include "program/NodeStream.h"

#include <algorithm>
#include <numeric>

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

bool Exclusive::contains(const AST &program, const DeviceCombineManager &combinations, int deviceNumber, int port,
                         int channel) const
{
    const Device *own = device.resolve(program);
    if (!own || !hasChannel(channel)) {
        return false;
    }
    const std::vector<DeviceAddress> addresses = combinations.expand(own->address());
    return std::any_of(addresses.begin(), addresses.end(), [deviceNumber, port](const DeviceAddress &address) {
        return address.number == deviceNumber && (deviceNumber != kControllerDevice || address.port == port);
    });
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

void ButtonsExclusive::wasRead()
{
    std::sort(codes.begin(), codes.end());
}

bool ButtonsExclusive::hasChannel(int channel) const
{
    return std::binary_search(codes.begin(), codes.end(), channel);
}

const NodeTable<Exclusive> &exclusiveTable()
{
    return nodeTable(NodeTypes<Exclusive, RangeExclusive, ButtonsExclusive>());
}
