#include "devices/RemotePortMessage.h"

#include "devices/SwitchNotice.h"

#include <QDataStream>

#include <algorithm>
#include <iterator>

namespace {
constexpr int kOutputs = 8; // relays, emitters and serial ports
constexpr qint32 kMinBaudRate = 1000;
constexpr int kFlagHold = 1; // any other flag releases

using Parsed = std::optional<RemotePortMessage>;

bool isWithin(qint32 value, qint32 first, qint32 last)
{
    return first <= value && value <= last;
}

/// One message's fields in order; missing ones read as zero, and isGood() is false then.
class Fields
{
public:
    explicit Fields(QDataStream &stream)
        : m_stream(stream)
    {}
    qint32 number() { return read<qint32>(); }
    quint8 byte() { return read<quint8>(); }
    QByteArray bytes() { return read<QByteArray>(); }
    bool isGood() const { return m_stream.status() == QDataStream::Ok; }

private:
    template <class Field>
    Field read()
    {
        Field field{};
        m_stream >> field;
        return field;
    }
    QDataStream &m_stream;
};

Parsed parseSerial(Fields &fields)
{
    RemoteSerialSend send;
    send.port = fields.number();
    const qint32 protocol = fields.number();
    const qint32 baudRate = fields.number();
    const qint32 dataBits = fields.number();
    const qint32 parity = fields.number();
    const qint32 stopBits = fields.number();
    send.data = fields.bytes();
    if (!isWithin(send.port, 1, kOutputs) || !isWithin(protocol, 1, 2) || baudRate < kMinBaudRate || dataBits != 8 ||
        !isWithin(parity, 0, 2) || !isWithin(stopBits, 1, 2) || send.data.isEmpty()) {
        return std::nullopt;
    }
    send.setup.protocol = protocol == 1 ? SerialSetup::Protocol::Rs232 : SerialSetup::Protocol::Rs485;
    send.setup.baudRate = static_cast<quint32>(baudRate);
    send.setup.parity = static_cast<SerialSetup::Parity>(parity);
    send.setup.stopBits = stopBits;
    return send;
}

Parsed parseState(Fields &fields, int port, int outputs)
{
    const qint32 channel = fields.number();
    const quint8 state = fields.byte();
    return RemoteSwitch{ port, state == 0 ? PortAction::Off : PortAction::On, channel, 0,
                         isWithin(channel, 1, outputs) };
}

Parsed parsePulse(Fields &fields, int port)
{
    const qint32 channel = fields.number();
    const qint32 pulseMs = fields.number();
    if (!isWithin(channel, 1, kOutputs)) {
        return std::nullopt;
    }
    return RemoteSwitch{ port, PortAction::Pulse, channel, pulseMs, true };
}

Parsed heldSwitch(int port, int channel, int flag)
{
    if (flag != kFlagHold) {
        return RemoteHeldRelease{};
    }
    return RemoteSwitch{ port, PortAction::To, channel, 0, true };
}

Parsed parseHold(Fields &fields, int port)
{
    const qint32 channel = fields.number();
    const qint32 flag = fields.number();
    return isWithin(channel, 1, kOutputs) ? heldSwitch(port, channel, flag) : std::nullopt;
}

// The three of IR: the emitter selects the port, the code is the channel.
Parsed parseIrOutput(Fields &fields)
{
    const qint32 emitter = fields.number();
    const qint32 code = fields.number();
    if (!isWithin(emitter, 1, kOutputs)) {
        return std::nullopt;
    }
    return RemoteSwitch{ Port::portOfEmitter(emitter), PortAction::Off, code, 0, true }; // Off plays a code like On
}

Parsed parseIrPulse(Fields &fields)
{
    const qint32 pulseMs = fields.number();
    const qint32 emitter = fields.number();
    const qint32 code = fields.number();
    if (!isWithin(emitter, 1, kOutputs)) {
        return std::nullopt;
    }
    return RemoteSwitch{ Port::portOfEmitter(emitter), PortAction::Pulse, code, pulseMs, true };
}

Parsed parseIrHold(Fields &fields)
{
    const qint32 emitter = fields.number();
    const qint32 code = fields.number();
    const qint32 flag = fields.number();
    return isWithin(emitter, 1, kOutputs) ? heldSwitch(Port::portOfEmitter(emitter), code, flag) : std::nullopt;
}

struct Row
{
    qint32 code;
    Parsed (*parse)(Fields &);
};

constexpr Row kRows[] = {
    { 11, parseSerial },
    { 21, [](Fields &fields) { return parseState(fields, Port::kRelays, kOutputs); } },
    { 22, [](Fields &fields) { return parsePulse(fields, Port::kRelays); } },
    { 23, [](Fields &fields) { return parseHold(fields, Port::kRelays); } },
    { 31, parseIrOutput },
    { 32, parseIrPulse },
    { 33, parseIrHold },
    { 41, [](Fields &fields) { return parseState(fields, Port::kIo, Port::kIos); } },
    { 42, [](Fields &fields) { return parsePulse(fields, Port::kIo); } },
    { 43, [](Fields &fields) { return parseHold(fields, Port::kIo); } },
};
} // namespace

std::optional<RemotePortMessage> parseRemotePortMessage(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_5_4);
    Fields fields(stream);
    const qint32 code = fields.number();
    const auto *row =
        std::find_if(std::begin(kRows), std::end(kRows), [code](const Row &each) { return each.code == code; });
    if (row == std::end(kRows)) {
        return std::nullopt;
    }
    const Parsed message = row->parse(fields);
    return fields.isGood() ? message : std::nullopt;
}
