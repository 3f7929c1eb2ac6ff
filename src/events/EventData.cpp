#include "events/EventData.h"

#include "model/Values.h"

namespace {
Name nameOf(const char *text)
{
    return Name(QString::fromLatin1(text));
}

std::unique_ptr<Double> numberOfType(int typeCode, double value)
{
    return std::make_unique<Double>(value, typeCode);
}

std::unique_ptr<Array> textOf(const QByteArray &bytes)
{
    std::unique_ptr<Array> text = Array::ofBytes({ bytes.constData(), static_cast<size_t>(bytes.size()) });
    text->setMaxLength(0);
    return text;
}
} // namespace

std::unique_ptr<StructType> makeButtonData(ProgramContext &program, const ChannelAddress &input, int holdTenths)
{
    static const Name own = nameOf("BUTTON"), inputName = nameOf("INPUT"), holdTime = nameOf("HOLDTIME"),
                      sourceDevice = nameOf("SOURCEDEV");
    auto data = std::make_unique<StructType>();
    data->setName(own);
    auto channel = std::make_unique<DevChan>(&program);
    channel->setCode(input.channel);
    channel->setDevice(input.device);
    data->addMember(inputName, std::move(channel));
    data->addMember(holdTime, numberOfType(LongType, holdTenths));
    data->addMember(sourceDevice, std::make_unique<Device>(input.device, &program));
    return data;
}

std::unique_ptr<StructType> makeData(ProgramContext &program, const DeviceAddress &device, const DataFields &fields)
{
    static const Name own = nameOf("DATA"), deviceName = nameOf("DEVICE"), text = nameOf("TEXT"),
                      number = nameOf("NUMBER"), sourceIp = nameOf("SOURCEIP"), sourcePort = nameOf("SOURCEPORT");
    auto data = std::make_unique<StructType>();
    data->setName(own);
    data->addMember(deviceName, std::make_unique<Device>(device, &program));
    data->addMember(text, textOf(fields.text));
    data->addMember(number, numberOfType(LongType, static_cast<double>(fields.number)));
    data->addMember(sourceIp, textOf(fields.sourceIp));
    data->addMember(sourcePort, numberOfType(LongType, fields.sourcePort));
    return data;
}

std::unique_ptr<StructType> makeLevelData(ProgramContext &program, int deviceNumber, int levelCode, int value)
{
    static const Name own = nameOf("LEVEL"), input = nameOf("INPUT"), sourceDevice = nameOf("SOURCEDEV"),
                      valueName = nameOf("VALUE");
    auto data = std::make_unique<StructType>();
    data->setName(own);
    auto level = std::make_unique<DevLev>(&program);
    level->setCode(levelCode); // its device stays 0:1:0
    data->addMember(input, std::move(level));
    data->addMember(sourceDevice, std::make_unique<Device>(DeviceAddress{ deviceNumber, 1, 0 }, &program));
    data->addMember(valueName, numberOfType(DoubleType, value));
    return data;
}

std::unique_ptr<StructType> makeTimelineData(const TimelineFigures &figures)
{
    static const Name own = nameOf("TIMELINE"), id = nameOf("ID"), sequence = nameOf("SEQUENCE"), time = nameOf("TIME"),
                      relative = nameOf("RELATIVE"), repetition = nameOf("REPETITION");
    auto data = std::make_unique<StructType>();
    data->setName(own);
    data->addMember(id, numberOfType(IntegerType, figures.id));
    data->addMember(sequence, numberOfType(IntegerType, figures.sequence));
    data->addMember(time, numberOfType(LongType, static_cast<double>(figures.timeMs)));
    data->addMember(relative, numberOfType(IntegerType, figures.isRelative ? 1 : 0));
    data->addMember(repetition, numberOfType(LongType, static_cast<double>(figures.repetition)));
    return data;
}
