#include "devices/frames/PortFrames.h"

#include <QtEndian>

#include <initializer_list>

namespace {
enum FrameCode : int {
    SerialCode = 0x15,
    RelayCode = 0x16,
    IoCode = 0x18,
    ClosingCode = 0x19,
    IrQueryCode = 0x22,
    IrOnceCode = 0x23,
    IrRepeatCode = 0x25,
    IrEndCode = 0x26,
    StartedCode = 0x1A, // of a board
};

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values) {
        result += static_cast<char>(value);
    }
    return result;
}

int formatByte(const SerialSetup &setup)
{
    constexpr int kParityEnabled = 8;
    constexpr int kMoreStopBits = 4;
    const bool hasParity = setup.parity != SerialSetup::Parity::None;
    return (hasParity ? kParityEnabled : 0) | (setup.stopBits != 1 ? kMoreStopBits : 0) |
           static_cast<int>(setup.parity);
}
} // namespace

QByteArray PortFrames::serialSetup(int port, const SerialSetup &setup)
{
    char baudRate[4];
    qToBigEndian(setup.baudRate, baudRate);
    const int isRs232 = setup.protocol == SerialSetup::Protocol::Rs232 ? 1 : 0;
    return bytes({ SerialCode, port, 0, isRs232, formatByte(setup) }) + QByteArray(baudRate, sizeof baudRate);
}

QByteArray PortFrames::serialData(int port, const QByteArray &data)
{
    return bytes({ SerialCode, port, 1 }) + data;
}

QByteArray PortFrames::relay(int relay, bool isOn)
{
    return bytes({ RelayCode, relay, isOn ? 1 : 0 });
}

QByteArray PortFrames::io(int number, int state)
{
    return bytes({ IoCode, number, 0, 0, state });
}

QByteArray PortFrames::irOnce(int emitter, const QByteArray &code)
{
    return bytes({ IrOnceCode, emitter }) + code;
}

QByteArray PortFrames::irRepeat(int emitter, const QByteArray &code)
{
    return bytes({ IrRepeatCode, emitter, 1 }) + code;
}

QByteArray PortFrames::irEnd(int emitter)
{
    return bytes({ IrEndCode, emitter });
}

QByteArray PortFrames::irQuery(int number)
{
    return bytes({ IrQueryCode, number });
}

QByteArray PortFrames::closing()
{
    return bytes({ ClosingCode, 0 });
}

std::optional<PortFrames::Told> PortFrames::parse(const QByteArray &frame)
{
    const auto byte = [&frame](int index) { return index < frame.size() ? static_cast<quint8>(frame.at(index)) : -1; };
    constexpr int kPorts = 8;
    const int number = byte(1);
    if (byte(0) == StartedCode) {
        return Started();
    }
    if (byte(0) == IrQueryCode && number >= 0 && frame.size() > 2) {
        return IrLearned{ number, frame.mid(2) };
    }
    if (number < 1 || number > kPorts) {
        return std::nullopt;
    }
    if (byte(0) == SerialCode && byte(2) == 1 && frame.size() > 3) {
        return Received{ number, frame.mid(3) };
    }
    if (byte(0) == IoCode && frame.size() == 5) {
        return IoState{ number, byte(4) != 0 };
    }
    if (byte(0) == RelayCode && frame.size() == 3) {
        return RelayState{ number, byte(2) != 0 };
    }
    return std::nullopt;
}

QByteArray PortFrames::onPortLink(const QByteArray &frame)
{
    return bytes({ 0xCA, frame.size() >> 8, frame.size() }) + frame + bytes({ 0xAC });
}
