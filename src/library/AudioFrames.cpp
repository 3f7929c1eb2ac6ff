#include "library/AudioFrames.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr char kStart = 0x02;
constexpr char kEnd = 0x03;
constexpr char kEscape = 0x1B;
constexpr std::string_view kEscaped = "\x02\x03\x06\x15\x1B";

template <class Number>
QByteArray bigEndian(Number number)
{
    QByteArray bytes(sizeof number, 0);
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray framed(const QByteArray &content)
{
    char checksum = 0;
    for (const char byte : content) {
        checksum = static_cast<char>(checksum ^ byte);
    }
    return kStart + content + checksum + kEnd;
}

bool isHexDigit(char byte)
{
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}
} // namespace

int AudioFrames::gainOf(double decibels)
{
    constexpr double kKnee = -10;
    const double raw = decibels >= kKnee ? decibels * 10000 : -200000 * std::log10(decibels / kKnee) - 100000;
    if (std::isnan(raw)) {
        return 0;
    }
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(raw, kLeast, kMost));
}

std::optional<QByteArray> AudioFrames::command(quint8 type, std::string_view address, quint16 parameter, quint32 value)
{
    if (address.size() != 12 || !std::all_of(address.begin(), address.end(), isHexDigit)) {
        return std::nullopt;
    }
    const QByteArray addressBytes = QByteArray::fromHex(QByteArray(address.data(), static_cast<int>(address.size())));
    return framed(static_cast<char>(type) + addressBytes + bigEndian(parameter) + bigEndian(value));
}

QByteArray AudioFrames::preset(quint8 type, quint32 number)
{
    return framed(static_cast<char>(type) + bigEndian(number));
}

QByteArray AudioFrames::escaped(std::string_view frame)
{
    if (frame.size() < 2) {
        return {};
    }
    QByteArray bytes(1, kStart);
    for (const char byte : frame.substr(1, frame.size() - 2)) {
        if (kEscaped.find(byte) == kEscaped.npos) {
            bytes.append(byte);
        } else {
            bytes.append(kEscape).append(static_cast<char>(byte + 0x80));
        }
    }
    return bytes.append(kEnd);
}

QByteArray AudioFrames::unescaped(std::string_view frame)
{
    if (frame.size() < 2) {
        return {};
    }
    QByteArray bytes;
    for (size_t i = 0; i < frame.size(); ++i) {
        const char original = i + 1 < frame.size() ? static_cast<char>(frame[i + 1] - 0x80) : '\0';
        if (frame[i] == kEscape && original != '\0' && kEscaped.find(original) != kEscaped.npos) {
            bytes.append(original);
            ++i;
        } else {
            bytes.append(frame[i]);
        }
    }
    return bytes;
}
