#include "model/StructType.h"

#include "model/ProgramContext.h"
#include "model/RecordStream.h"
#include "model/Values.h"

#include <QCoreApplication>

namespace {
constexpr const char *kDevicePartNames[] = { "NUMBER", "PORT", "SYSTEM" };
constexpr const char *kNegativePart[] = {
    QT_TRANSLATE_NOOP("messages", "Device id cannot be less than 0"),
    QT_TRANSLATE_NOOP("messages", "Device port id cannot be negative"),
    QT_TRANSLATE_NOOP("messages", "Device system number cannot be negative"),
};

Name nameOf(const char *text)
{
    return Name(QString::fromLatin1(text));
}

Name deviceName()
{
    static const Name name = nameOf("DEVICE");
    return name;
}

/// The address in a structure's members, where it has the members of a DevChan or DevLev.
std::optional<ChannelAddress> addressIn(const BasicType *value, ValueClass exact, Name codeName)
{
    const StructType *structure = asStruct(value);
    if (!structure) {
        return std::nullopt;
    }
    if (structure->valueClass() == exact) {
        return static_cast<const DeviceCode *>(structure)->address();
    }
    const Double *code = asDouble(structure->member(codeName));
    const Device *device = asDevice(structure->member(deviceName()));
    if (!code || !device) {
        return std::nullopt;
    }
    return ChannelAddress{ device->address(), integerPart32(code->value()) };
}

/// What every record begins with. Devices, channels and levels have a short record of their own behind it, not that of
/// a structure.
void writeHead(const BasicType &value, RecordWriter &writer)
{
    value.BasicType::writeTo(writer);
}

void readHead(BasicType &value, RecordReader &reader)
{
    value.BasicType::readFrom(reader);
}
} // namespace

BasicType *StructType::member(Name name) const
{
    for (const Member &member : m_members) {
        if (member.name == name) {
            return member.value.get();
        }
    }
    return nullptr;
}

BasicType *StructType::memberSlow(Name name, size_t &hint) const
{
    for (size_t index = 0; index < m_members.size(); ++index) {
        if (m_members[index].name == name) {
            hint = index;
            return m_members[index].value.get();
        }
    }
    return nullptr;
}

void StructType::addMember(Name name, std::unique_ptr<BasicType> value)
{
    if (name.isEmpty() || member(name) || !value) {
        return;
    }
    m_members.push_back({ name, std::move(value) });
}

void StructType::setConst(bool isConst)
{
    BasicType::setConst(isConst);
    for (const Member &member : m_members) {
        member.value->setConst(isConst);
    }
}

void StructType::setProgram(ProgramContext *program)
{
    BasicType::setProgram(program);
    for (const Member &member : m_members) {
        member.value->setProgram(program);
    }
}

std::unique_ptr<BasicType> StructType::clone() const
{
    auto copy = std::make_unique<StructType>();
    cloneMembersInto(*copy);
    copy->copyAttributes(*this);
    return copy;
}

void StructType::cloneMembersInto(StructType &copy) const
{
    copy.m_members.reserve(m_members.size());
    for (const Member &member : m_members) {
        copy.m_members.push_back({ member.name, member.value->clone() });
    }
}

void StructType::writeTo(RecordWriter &writer) const
{
    BasicType::writeTo(writer);
    writer.writeInt(static_cast<int>(m_members.size()));
    for (const Member &member : m_members) {
        writer.writeText(member.name.text());
        writeValue(writer, member.value.get());
    }
}

void StructType::readFrom(RecordReader &reader)
{
    BasicType::readFrom(reader);
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        const Name name(reader.readText());
        std::unique_ptr<BasicType> value = readValue(reader);
        if (!value || name.isEmpty()) {
            continue;
        }
        size_t index = m_members.size();
        if (memberSlow(name, index)) {
            m_members[index].value = std::move(value);
        } else {
            m_members.push_back({ name, std::move(value) });
        }
    }
}

double StructType::numberOf(Name name) const
{
    const Double *number = asDouble(member(name));
    return number ? number->value() : 0;
}

QString DeviceAddress::text() const
{
    return QStringLiteral("%1:%2:%3").arg(number).arg(port).arg(system);
}

Device::Device(const DeviceAddress &address, ProgramContext *program)
    : StructType(ValueClass::Device, DeviceType)
{
    static const Name names[] = { nameOf(kDevicePartNames[0]), nameOf(kDevicePartNames[1]),
                                  nameOf(kDevicePartNames[2]) };
    addMember(names[0], std::make_unique<Double>(0, IntegerType));
    addMember(names[1], std::make_unique<Double>(1, IntegerType));
    addMember(names[2], std::make_unique<Double>(0, IntegerType));
    setProgram(program);
    setAddress(address);
}

DeviceAddress Device::address() const
{
    const auto part = [this](size_t index) {
        const Double *number = index < members().size() ? asDouble(members()[index].value.get()) : nullptr;
        return number ? integerPart32(number->value()) : 0;
    };
    return { part(0), part(1), part(2) };
}

void Device::setAddress(const DeviceAddress &address)
{
    setPart(0, address.number);
    setPart(1, address.port);
    setPart(2, address.system);
}

void Device::setPart(size_t index, int value)
{
    if (value < 0) {
        reportError(program(), kNegativePart[index]);
        return;
    }
    if (Double *part = asDouble(members()[index].value.get())) {
        part->setValue(value);
    }
}

std::unique_ptr<BasicType> Device::clone() const
{
    auto copy = std::make_unique<Device>(address());
    copy->copyAttributes(*this);
    return copy;
}

void Device::writeTo(RecordWriter &writer) const
{
    writeHead(*this, writer);
    const DeviceAddress parts = address();
    writer.writeInt(parts.number);
    writer.writeInt(parts.port);
    writer.writeInt(parts.system);
}

void Device::readFrom(RecordReader &reader)
{
    readHead(*this, reader);
    DeviceAddress parts;
    parts.number = reader.readInt();
    parts.port = reader.readInt();
    parts.system = reader.readInt();
    setAddress(parts);
}

DeviceCode::DeviceCode(ValueClass valueClass, int typeCode, const char *codeName, ProgramContext *program)
    : StructType(valueClass, typeCode)
{
    addMember(nameOf(codeName), std::make_unique<Double>(0, IntegerType));
    addMember(deviceName(), std::make_unique<Device>());
    setProgram(program);
}

ChannelAddress DeviceCode::address() const
{
    const Double *code = asDouble(members()[0].value.get());
    const Device *device = asDevice(members()[1].value.get());
    return { device ? device->address() : DeviceAddress{}, code ? integerPart32(code->value()) : 0 };
}

void DeviceCode::setCode(int code)
{
    if (code < 0) {
        reportError(program(), valueClass() == ValueClass::DevChan
                                   ? QT_TRANSLATE_NOOP("messages", "Channel code cannot be less than 0")
                                   : QT_TRANSLATE_NOOP("messages", "level code cannot be less than 0"));
        return;
    }
    if (Double *number = asDouble(members()[0].value.get())) {
        number->setValue(code);
    }
}

void DeviceCode::setDevice(const DeviceAddress &address)
{
    if (Device *device = asDevice(members()[1].value.get())) {
        device->setAddress(address);
    }
}

std::unique_ptr<BasicType> DeviceCode::clone() const
{
    std::unique_ptr<DeviceCode> copy;
    if (valueClass() == ValueClass::DevChan) {
        copy = std::make_unique<DevChan>(program());
    } else {
        copy = std::make_unique<DevLev>(program());
    }
    const ChannelAddress parts = address();
    copy->copyAttributes(*this);
    copy->setCode(parts.channel);
    copy->setDevice(parts.device);
    return copy;
}

void DeviceCode::writeTo(RecordWriter &writer) const
{
    writeHead(*this, writer);
    writer.writeInt(address().channel);
    writeValue(writer, members()[1].value.get());
}

void DeviceCode::readFrom(RecordReader &reader)
{
    readHead(*this, reader);
    setCode(reader.readInt());
    const std::unique_ptr<BasicType> device = readValue(reader);
    if (const Device *read = asDevice(device.get())) {
        setDevice(read->address());
    }
}

std::optional<ChannelAddress> devChanOf(const BasicType *value)
{
    static const Name channelName = nameOf("CHANNEL");
    return addressIn(value, ValueClass::DevChan, channelName);
}

std::optional<ChannelAddress> devLevOf(const BasicType *value)
{
    static const Name levelName = nameOf("LEVEL");
    return addressIn(value, ValueClass::DevLev, levelName);
}
