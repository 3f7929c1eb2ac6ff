#include "devices/PortFrames.h"

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

QByteArray PortFrames::onPortLink(const QByteArray &frame)
{
    return bytes({ 0xCA, frame.size() >> 8, frame.size() }) + frame + bytes({ 0xAC });
}
