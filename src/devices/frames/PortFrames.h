#pragma once
#include <QByteArray>

#include <optional>
#include <variant>

/// What a serial port of the controller is set to.
struct SerialSetup
{
    enum class Protocol { Rs232, Rs485 };
    enum class Parity { None = 0, Odd = 1, Even = 2 };
    Protocol protocol = Protocol::Rs232;
    quint32 baudRate = 0;
    Parity parity = Parity::None;
    int stopBits = 1;

    bool operator==(const SerialSetup &) const = default;
};

/// Frames as the port hardware takes them; docs/formats/port-frames.md has the offsets.
namespace PortFrames {
constexpr int kMaxSerialData = 0xFFFF - 3; // bytes of one data frame: the port link counts a frame in 16 bits

QByteArray serialSetup(int port, const SerialSetup &setup);
QByteArray serialData(int port, const QByteArray &data); // at most kMaxSerialData bytes
QByteArray relay(int relay, bool isOn);
QByteArray io(int number, int state); // state 1 drives the output low, 0 high
QByteArray irOnce(int emitter, const QByteArray &code);
QByteArray irRepeat(int emitter, const QByteArray &code); // until irEnd
QByteArray irEnd(int emitter);
QByteArray irQuery(int number);
QByteArray closing(); // the controller's program ends

/// A frame as it travels on the port link: 0xCA, its length in 16 bits, the frame, 0xAC.
QByteArray onPortLink(const QByteArray &frame);

// What a board tells.
struct Received // on a serial port
{
    int port = 0;
    QByteArray data{};
};
struct IoState
{
    int number = 0;
    bool isOn = false;
};
struct RelayState
{
    int relay = 0;
    bool isOn = false;
};
struct IrLearned
{
    int number = 0;
    QByteArray code{};
};
struct Started // the board has: it knows nothing of what it was told before
{};
using Told = std::variant<Received, IoState, RelayState, IrLearned, Started>;
std::optional<Told> parse(const QByteArray &frame); // nothing: it is none of these, or too short, or names no port
} // namespace PortFrames
