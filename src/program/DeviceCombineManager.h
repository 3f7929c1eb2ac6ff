#pragma once
#include "model/StructType.h"

#include <vector>

class RecordReader;
class RecordWriter;

/// Groups of devices that act as one, each led by a virtual device.
class DeviceCombineManager
{
public:
    static constexpr int kFirstVirtual = 32768;
    static constexpr int kLastVirtual = 36863;
    static bool isVirtual(int number) { return number >= kFirstVirtual && number <= kLastVirtual; }

    const std::vector<std::vector<DeviceAddress>> &groups() const { return m_groups; }
    void setGroups(std::vector<std::vector<DeviceAddress>> groups) { m_groups = std::move(groups); }
    void addGroup(std::vector<DeviceAddress> group) { m_groups.push_back(std::move(group)); }
    void clear() { m_groups.clear(); }

    /// A virtual device gives every other member of each group that holds it; any other device gives itself.
    std::vector<DeviceAddress> expand(const DeviceAddress &device) const;

    void writeTo(RecordWriter &writer) const;
    void readFrom(RecordReader &reader); // virtual devices move to the front of their group

private:
    std::vector<std::vector<DeviceAddress>> m_groups;
};
