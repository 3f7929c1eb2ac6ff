#include "tools/arkctl/IrProtocols.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace {
enum class Toggle { Zero, One }; // the bit of RC-5 and RC-6 that changes with every press

/// A telegram as it grows: what follows the same is joined with it.
class Telegram
{
public:
    void pulse(quint32 microseconds) { add(0, microseconds); }
    void space(quint32 microseconds)
    {
        if (!m_durations.empty()) { // silence before the first pulse is none
            add(1, microseconds);
        }
    }
    /// Whole, with the silence until a frame of that protocol may begin again.
    IrCode::Durations upTo(quint32 periodUs)
    {
        space(0);
        const quint32 length = std::accumulate(m_durations.begin(), m_durations.end(), 0U);
        m_durations.back() += std::max(periodUs - std::min(length, periodUs), IrCode::kPauseUs);
        return m_durations;
    }

private:
    void add(size_t parity, quint32 microseconds)
    {
        if (m_durations.size() % 2 == parity) {
            m_durations.push_back(microseconds);
        } else {
            m_durations.back() += microseconds;
        }
    }
    IrCode::Durations m_durations;
};

bool bit(quint32 number, int index)
{
    return (number >> index & 1U) != 0;
}

constexpr quint32 kNecUnit = 563;
constexpr quint32 kNecPeriod = 108000;

/// The address, its second half or complement, command and its complement, each from the lowest bit.
IrCode nec(quint32 addressLow, quint32 addressHigh, quint32 command)
{
    Telegram frame;
    frame.pulse(16 * kNecUnit);
    frame.space(8 * kNecUnit);
    const quint32 bits = addressLow | addressHigh << 8 | command << 16 | (~command & 0xff) << 24;
    for (int index = 0; index < 32; ++index) {
        frame.pulse(kNecUnit);
        frame.space(bit(bits, index) ? 3 * kNecUnit : kNecUnit);
    }
    frame.pulse(kNecUnit);
    Telegram repeat;
    repeat.pulse(16 * kNecUnit);
    repeat.space(4 * kNecUnit);
    repeat.pulse(kNecUnit);
    return { 38000, frame.upTo(kNecPeriod), repeat.upTo(kNecPeriod), {} };
}

IrCode plainNec(quint32 scancode, Toggle)
{
    const quint32 address = scancode >> 8;
    return nec(address, ~address & 0xff, scancode & 0xff);
}

IrCode extendedNec(quint32 scancode, Toggle)
{
    return nec(scancode >> 16, scancode >> 8 & 0xff, scancode & 0xff);
}

/// 14 bits from the highest; a 1 is a space and then a pulse. The second start bit is the command's seventh, inverted.
IrCode rc5(quint32 scancode, Toggle toggle)
{
    constexpr quint32 kUnit = 889;
    const quint32 bits = 1U << 13 | (bit(scancode, 6) ? 0U : 1U << 12) | (toggle == Toggle::One ? 1U << 11 : 0U) |
                         (scancode >> 8 & 0x1f) << 6 | (scancode & 0x3f);
    Telegram frame;
    for (int index = 13; index >= 0; --index) {
        if (bit(bits, index)) {
            frame.space(kUnit);
            frame.pulse(kUnit);
        } else {
            frame.pulse(kUnit);
            frame.space(kUnit);
        }
    }
    const IrCode::Durations durations = frame.upTo(113778);
    return { 36000, durations, durations, {} };
}

constexpr quint32 kRc6Unit = 444;

void addRc6(Telegram &frame, quint32 bits, int count, quint32 halfBit)
{
    for (int index = count - 1; index >= 0; --index) { // a 1 is a pulse and then a space
        if (bit(bits, index)) {
            frame.pulse(halfBit);
            frame.space(halfBit);
        } else {
            frame.space(halfBit);
            frame.pulse(halfBit);
        }
    }
}

/// Leader, start bit, three mode bits, a trailer bit of twice the width, data from the highest bit.
IrCode rc6(quint32 mode, bool trailer, quint32 data, int dataBits)
{
    Telegram frame;
    frame.pulse(6 * kRc6Unit);
    frame.space(2 * kRc6Unit);
    addRc6(frame, 8 | mode, 4, kRc6Unit);
    addRc6(frame, trailer ? 1 : 0, 1, 2 * kRc6Unit);
    addRc6(frame, data, dataBits, kRc6Unit);
    const IrCode::Durations durations = frame.upTo(107000);
    return { 36000, durations, durations, {} };
}

IrCode rc6Mode0(quint32 scancode, Toggle toggle)
{
    return rc6(0, toggle == Toggle::One, scancode, 16);
}

/// Mode 6A with 32 bits; the bit that changes stands in the data.
IrCode rc6Mce(quint32 scancode, Toggle toggle)
{
    return rc6(6, false, (scancode & ~0x8000U) | (toggle == Toggle::One ? 0x8000U : 0U), 32);
}

/// Command, device and what extends it, from the lowest bit; counts only when it comes three times.
IrCode sony(quint32 bits, int count)
{
    constexpr quint32 kUnit = 600;
    Telegram frame;
    frame.pulse(4 * kUnit);
    for (int index = 0; index < count; ++index) {
        frame.space(kUnit);
        frame.pulse(bit(bits, index) ? 2 * kUnit : kUnit);
    }
    const IrCode::Durations durations = frame.upTo(45000);
    IrCode code{ 40000, {}, durations, {} };
    for (int time = 0; time < 3; ++time) {
        code.once.insert(code.once.end(), durations.begin(), durations.end());
    }
    return code;
}

IrCode sony12(quint32 scancode, Toggle)
{
    return sony((scancode & 0x7f) | (scancode >> 16 & 0x1f) << 7, 12);
}

IrCode sony15(quint32 scancode, Toggle)
{
    return sony((scancode & 0x7f) | (scancode >> 16 & 0xff) << 7, 15);
}

IrCode sony20(quint32 scancode, Toggle)
{
    return sony((scancode & 0x7f) | (scancode >> 16 & 0x1f) << 7 | (scancode >> 8 & 0xff) << 12, 20);
}

struct Protocol
{
    const char *name;
    quint32 bits; // that a scancode may have
    const char *form;
    bool hasToggle;
    IrCode (*encode)(quint32 scancode, Toggle toggle);
};

constexpr std::array kProtocols = {
    Protocol{ "nec", 0xffff, "AACC with an address and a command of 8 bits", false, plainNec },
    Protocol{ "necx", 0xffffff, "AAAACC with an address of 16 bits and a command of 8", false, extendedNec },
    Protocol{ "rc5", 0x1f7f, "AACC with an address up to 1F and a command up to 7F", true, rc5 },
    Protocol{ "rc6", 0xffff, "AACC with an address and a command of 8 bits", true, rc6Mode0 },
    Protocol{ "rc6-mce", 0xffffffff, "of 32 bits, such as 800F040C", true, rc6Mce },
    Protocol{ "sony12", 0x1f007f, "DD00CC with a device up to 1F and a command up to 7F", false, sony12 },
    Protocol{ "sony15", 0xff007f, "DD00CC with a device up to FF and a command up to 7F", false, sony15 },
    Protocol{ "sony20", 0x1fff7f, "DDEECC with a device up to 1F, its extension and a command up to 7F", false,
              sony20 },
};

const Protocol *protocolOf(const std::string &word)
{
    const auto *found =
        std::find_if(kProtocols.begin(), kProtocols.end(), [&](const auto &p) { return p.name == word; });
    return found == kProtocols.end() ? nullptr : found;
}
} // namespace

bool IrProtocols::isProtocol(const std::string &word)
{
    return protocolOf(word) != nullptr;
}

std::variant<IrCode, std::string> IrProtocols::encode(const std::string &protocol, quint32 scancode)
{
    const Protocol *const known = protocolOf(protocol);
    if (!known) {
        return "no protocol that is known here: " + protocol;
    }
    if ((scancode & ~known->bits) != 0) {
        return "a " + protocol + " code is a hexadecimal number " + known->form;
    }
    IrCode code = known->encode(scancode, Toggle::Zero);
    if (known->hasToggle) {
        code.toggled = known->encode(scancode, Toggle::One).once;
    }
    return code;
}
