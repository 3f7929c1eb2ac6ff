#pragma once
#include "model/StructType.h"
#include "program/NodeTypes.h"

#include <memory>
#include <vector>

class AST;
class DeviceCombineManager;

/// A reference to a device in the object file: the name of a global (or local) symbol, or an anonymous address.
struct DeviceReference
{
    enum Kind : int { Absent = -1, Local = 0, Global = 1, Anonymous = 10 };
    int kind = Absent;
    QString name;
    std::unique_ptr<Device> device; // of an anonymous one

    explicit operator bool() const { return kind != Absent; }
    static void fields(auto &node, auto &visit)
    {
        bool isPresent = node.kind != Absent;
        visit(isPresent);
        if (!isPresent) {
            return;
        }
        visit(node.kind);
        if (node.kind == Local || node.kind == Global) {
            visit(node.name);
        } else if (node.kind == Anonymous) {
            visit.record(node.device);
        }
    }
    const Device *resolve(const AST &program) const; // nullptr: no such device
};

/// A group of channels of one device of which at most one is on.
class Exclusive
{
public:
    using Family = Exclusive;
    virtual ~Exclusive() = default;
    Exclusive() = default;
    Exclusive(const Exclusive &) = delete;
    Exclusive &operator=(const Exclusive &) = delete;

    virtual int typeTag() const = 0;
    virtual bool hasChannel(int channel) const = 0;
    virtual std::vector<int> channels() const = 0; // ascending

    /// True when the group governs the channel on one of the devices that its own device stands for.
    /// For the controller's device 5001 the port must be the group's port too; pass it.
    bool contains(const AST &program, const DeviceCombineManager &combinations, int deviceNumber, int port,
                  int channel) const;

    DeviceReference device;
};

class RangeExclusive : public Tagged<50, Exclusive>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.first, node.last); }
    bool hasChannel(int channel) const override { return first <= channel && channel <= last; }
    std::vector<int> channels() const override;

    int first = 0;
    int last = 0;
};

class ButtonsExclusive : public Tagged<51, Exclusive>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.codes); }
    void wasRead();
    bool hasChannel(int channel) const override;
    std::vector<int> channels() const override { return codes; }

    std::vector<int> codes; // ascending
};

const NodeTable<Exclusive> &exclusiveTable();
