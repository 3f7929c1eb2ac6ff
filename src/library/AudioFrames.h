#pragma once
#include <QByteArray>

#include <optional>
#include <string_view>

/// Command frames of the networked audio processors. Bytes in, bytes out.
namespace AudioFrames {
enum MessageType : quint8 {
    SetParameter = 0x88,
    Subscribe = 0x89,
    VenuePreset = 0x8B,
    ParameterPreset = 0x8C,
};

/// The processors' scale for a level: linear down to -10 dB, logarithmic below. Saturates at 32 bits; NaN gives 0.
int gainOf(double decibels);

/// 16 bytes, not escaped: 02, type, address, parameter (2), value (4), XOR of bytes 1 to 13, 03.
/// \param address  12 hexadecimal digits; nothing for any other text
std::optional<QByteArray> command(quint8 type, std::string_view address, quint16 parameter, quint32 value);

/// 8 bytes, not escaped: 02, type, preset number (4), XOR of bytes 1 to 5, 03.
QByteArray preset(quint8 type, quint32 number);

/// Between the first and the last byte 02, 03, 06, 15 and 1B become 1B and the byte plus 80; the ends become 02 and 03.
/// Fewer than 2 bytes give none.
QByteArray escaped(std::string_view frame);
QByteArray unescaped(std::string_view frame);
} // namespace AudioFrames
