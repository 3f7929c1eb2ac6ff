#pragma once
#include <QByteArray>
#include <QMetaType>

#include <optional>
#include <vector>

/// An infrared code as durations in microseconds: pulse, space, pulse and so on. docs/formats/ir-file.md has its bytes.
struct IrCode
{
    using Durations = std::vector<quint32>;

    quint32 carrierHz = 38000; // 0: the pulses are not modulated
    Durations once;            // sent at the press, whole
    Durations repeat;          // sent again and again after it while the button is held; empty: nothing is
    Durations toggled; // every other press sends and repeats this instead: a bit tells presses apart; empty: none does

    bool operator==(const IrCode &) const = default;

    static constexpr quint32 kPauseUs = 10000;      // a space this long stands between frames
    static constexpr quint32 kUsualPauseUs = 40000; // behind a part that ends with a pulse
    static constexpr quint32 kLongestUs = 1000000;
    static constexpr size_t kMostDurations = 4096;

    /// What the kernel takes at a time: it begins and ends with a pulse. The pause follows it.
    struct Burst
    {
        Durations pulses;
        quint32 pauseUs = 0;
    };
    static constexpr quint32 kLongestBurstUs = 500000;
    static constexpr size_t kMostBurstDurations = 1023;
    static std::vector<Burst> bursts(const Durations &durations);

    bool isValid() const; // can be written and sent
    static bool isCode(const QByteArray &data) { return data.startsWith("IRP1"); }
    static std::optional<IrCode> parse(const QByteArray &data); // nothing when it is damaged, or not valid
    QByteArray written() const;

    /// What a remote control means whose button was pressed for a moment: its first frame and, where they differ, the
    /// frame that follows while it is held. Nothing when it is too short for a code.
    static std::optional<IrCode> learned(quint32 carrierHz, const Durations &received);
};
Q_DECLARE_METATYPE(IrCode)
