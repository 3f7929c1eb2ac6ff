#include "program/DeviceCombineManager.h"

#include "model/RecordStream.h"

#include <algorithm>

std::vector<DeviceAddress> DeviceCombineManager::expand(const DeviceAddress &device) const
{
    if (!isVirtual(device.number)) {
        return { device };
    }
    std::vector<DeviceAddress> addresses;
    for (const auto &group : m_groups) {
        if (std::find(group.begin(), group.end(), device) != group.end()) {
            std::copy_if(group.begin(), group.end(), std::back_inserter(addresses),
                         [&device](const DeviceAddress &member) { return member != device; });
        }
    }
    return addresses;
}

void DeviceCombineManager::writeTo(RecordWriter &writer) const
{
    writer.writeInt(static_cast<int>(m_groups.size()));
    for (const auto &group : m_groups) {
        writer.writeInt(static_cast<int>(group.size()));
        for (const DeviceAddress &device : group) {
            writer.writeInt(device.number);
            writer.writeInt(device.port);
            writer.writeInt(device.system);
        }
    }
}

void DeviceCombineManager::readFrom(RecordReader &reader)
{
    const int groupCount = reader.readInt();
    for (int i = 0; i < groupCount && reader.isGood(); ++i) {
        std::vector<DeviceAddress> group;
        const int deviceCount = reader.readInt();
        for (int k = 0; k < deviceCount && reader.isGood(); ++k) {
            DeviceAddress device;
            device.number = reader.readInt();
            device.port = reader.readInt();
            device.system = reader.readInt();
            group.insert(isVirtual(device.number) ? group.begin() : group.end(), device);
        }
        m_groups.push_back(std::move(group));
    }
}
