#pragma once
#include "model/StructType.h"
#include "program/Nodes.h"

#include <memory>
#include <vector>

class AST;

/// A reference to a device in the object file: the name of a global (or local) symbol, or an anonymous address.
struct DeviceReference
{
    enum Kind : int { Absent = -1, Local = 0, Global = 1, Anonymous = 10 };
    int kind = Absent;
    QString name;
    std::unique_ptr<Device> device; // of an anonymous one

    void writeTo(NodeWriter &writer) const;
    void readFrom(NodeReader &reader);
    const Device *resolve(const AST &program) const; // nullptr: no such device
};

/// A group of channels of one device of which at most one is on.
class Exclusive
{
public:
    virtual ~Exclusive() = default;
    Exclusive() = default;
    Exclusive(const Exclusive &) = delete;
    Exclusive &operator=(const Exclusive &) = delete;

    virtual int typeTag() const = 0;
    virtual void writeTo(NodeWriter &writer) const = 0;
    virtual void readFrom(NodeReader &reader) = 0;
    virtual bool hasChannel(int channel) const = 0;
    virtual std::vector<int> channels() const = 0; // ascending

    /// True when the group governs the channel on one of the devices that its own device stands for.
    /// For the controller's device 5001 the port must be the group's port too; pass it.
    bool contains(const AST &program, int deviceNumber, int port, int channel) const;

    DeviceReference device;
};

class RangeExclusive : public Exclusive
{
public:
    static constexpr int kTag = 50;
    int typeTag() const override { return kTag; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    bool hasChannel(int channel) const override { return first <= channel && channel <= last; }
    std::vector<int> channels() const override;

    int first = 0;
    int last = 0;
};

class ButtonsExclusive : public Exclusive
{
public:
    static constexpr int kTag = 51;
    int typeTag() const override { return kTag; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    bool hasChannel(int channel) const override;
    std::vector<int> channels() const override { return codes; }

    std::vector<int> codes; // ascending
};

std::unique_ptr<Exclusive> makeExclusive(int tag); // nullptr: no such tag
