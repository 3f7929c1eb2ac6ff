#pragma once
#include "model/BasicType.h"

#include <optional>
#include <vector>

/// A structure: an ordered list of named members, which it owns.
class StructType : public BasicType
{
public:
    struct Member
    {
        Name name;
        std::unique_ptr<BasicType> value;
    };

    StructType()
        : BasicType(ValueClass::Struct, IntegerType)
    {}

    const std::vector<Member> &members() const { return m_members; }
    BasicType *member(Name name) const; // nullptr: no such member
    /// For code that asks again and again: hint is where the member stood last time, kept up to date.
    BasicType *member(Name name, size_t &hint) const
    {
        if (hint < m_members.size() && m_members[hint].name == name) {
            return m_members[hint].value.get();
        }
        return memberSlow(name, hint);
    }

    void addMember(Name name, std::unique_ptr<BasicType> value); // an empty or known name changes nothing

    void setConst(bool isConst) override; // and every member
    void setProgram(ProgramContext *program) override;
    std::unique_ptr<BasicType> clone() const override;
    void writeTo(RecordWriter &writer) const override;
    /// Members of the record replace those of the same name; others are added.
    void readFrom(RecordReader &reader) override;

protected:
    StructType(ValueClass valueClass, int typeCode)
        : BasicType(valueClass, typeCode)
    {}
    void cloneMembersInto(StructType &copy) const;
    double numberOf(Name name) const; // of a numeric member, 0 when there is none

private:
    BasicType *memberSlow(Name name, size_t &hint) const;

    std::vector<Member> m_members;
};

/// Three parts of a device address, as plain numbers.
struct DeviceAddress
{
    int number = 0;
    int port = 1;
    int system = 0;

    friend bool operator==(const DeviceAddress &, const DeviceAddress &) = default;
    friend auto operator<=>(const DeviceAddress &, const DeviceAddress &) = default; // NOLINT(modernize-use-nullptr)
    QString text() const;                                                            // "number:port:system"
};

/// A device address number:port:system, with the parts as INTEGER members NUMBER, PORT and SYSTEM.
class Device : public StructType
{
public:
    explicit Device(const DeviceAddress &address = {}, ProgramContext *program = nullptr);

    DeviceAddress address() const;
    /// A negative part is refused with a message; the other parts are set.
    void setAddress(const DeviceAddress &address);

    std::unique_ptr<BasicType> clone() const override;
    void writeTo(RecordWriter &writer) const override;
    void readFrom(RecordReader &reader) override;

private:
    void setPart(size_t index, int value);
};

/// A channel (or level) and its device: what DevChan and DevLev hold.
struct ChannelAddress
{
    DeviceAddress device{};
    int channel = 0;
};

/// The common build of DevChan and DevLev: a checked INTEGER member and a member DEVICE.
class DeviceCode : public StructType
{
public:
    ChannelAddress address() const;
    void setCode(int code); // negative: refused with a message
    void setDevice(const DeviceAddress &address);

    std::unique_ptr<BasicType> clone() const override;
    void writeTo(RecordWriter &writer) const override; // their own short record, used in the variable stores
    void readFrom(RecordReader &reader) override;

protected:
    DeviceCode(ValueClass valueClass, int typeCode, const char *codeName, ProgramContext *program);
};

class DevChan : public DeviceCode
{
public:
    static constexpr int kTypeCode = 200;
    explicit DevChan(ProgramContext *program = nullptr)
        : DeviceCode(ValueClass::DevChan, kTypeCode, "CHANNEL", program)
    {}
};

class DevLev : public DeviceCode
{
public:
    static constexpr int kTypeCode = 201;
    explicit DevLev(ProgramContext *program = nullptr)
        : DeviceCode(ValueClass::DevLev, kTypeCode, "LEVEL", program)
    {}
};

inline const StructType *asStruct(const BasicType *value)
{
    return value && value->isStruct() ? static_cast<const StructType *>(value) : nullptr;
}
inline StructType *asStruct(BasicType *value)
{
    return value && value->isStruct() ? static_cast<StructType *>(value) : nullptr;
}
inline const Device *asDevice(const BasicType *value)
{
    return value && value->valueClass() == ValueClass::Device ? static_cast<const Device *>(value) : nullptr;
}
inline Device *asDevice(BasicType *value)
{
    return value && value->valueClass() == ValueClass::Device ? static_cast<Device *>(value) : nullptr;
}

/// The channel (level) address of a value: a DevChan (DevLev), or a structure with the members CHANNEL (LEVEL) and
/// DEVICE.
std::optional<ChannelAddress> devChanOf(const BasicType *value);
std::optional<ChannelAddress> devLevOf(const BasicType *value);
