#include "devices/IrCode.h"

#include <QDataStream>

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace {
constexpr quint32 kLowestCarrierHz = 10000;
constexpr quint32 kHighestCarrierHz = 1000000;
constexpr quint32 kNextPart = 0;
constexpr int kHeadBytes = 8; // "IRP1" and the carrier
constexpr int kDurationBytes = 4;

bool canBeSent(const IrCode::Durations &durations)
{
    const auto isDuration = [](quint32 each) { return each > 0 && each <= IrCode::kLongestUs; };
    const auto fits = [](const IrCode::Burst &burst) {
        return burst.pulses.size() <= IrCode::kMostBurstDurations &&
               std::accumulate(burst.pulses.begin(), burst.pulses.end(), quint64{ 0 }) <= IrCode::kLongestBurstUs;
    };
    const std::vector<IrCode::Burst> bursts = IrCode::bursts(durations);
    return std::all_of(durations.begin(), durations.end(), isDuration) &&
           std::all_of(bursts.begin(), bursts.end(), fits);
}

/// Receivers make pulses longer or shorter by a fifth, and by some 100 us where that is more.
bool isSame(const IrCode::Durations &a, const IrCode::Durations &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](quint32 one, quint32 other) {
        return std::abs(static_cast<int>(one) - static_cast<int>(other)) <= std::max(150, static_cast<int>(one / 5));
    });
}

IrCode::Durations frame(const IrCode::Burst &burst)
{
    IrCode::Durations durations = burst.pulses;
    durations.push_back(burst.pauseUs);
    return durations;
}

/// Frames of this protocol count only when they come three times.
bool isSony(const IrCode::Durations &frame)
{
    return isSame({ frame.at(0), frame.at(1) }, { 2400, 600 });
}
} // namespace

std::vector<IrCode::Burst> IrCode::bursts(const Durations &durations)
{
    std::vector<Burst> found;
    bool goesOn = false;
    for (size_t index = 0; index < durations.size(); ++index) {
        const quint32 duration = durations[index];
        const bool isSpace = index % 2 == 1;
        if (isSpace && (duration >= kPauseUs || index + 1 == durations.size())) {
            found.back().pauseUs = duration;
            goesOn = false;
            continue;
        }
        if (!goesOn) {
            found.push_back({ {}, kUsualPauseUs });
            goesOn = true;
        }
        found.back().pulses.push_back(duration);
    }
    return found;
}

bool IrCode::isValid() const
{
    return (carrierHz == 0 || (carrierHz >= kLowestCarrierHz && carrierHz <= kHighestCarrierHz)) && !once.empty() &&
           once.size() + repeat.size() + toggled.size() <= kMostDurations && canBeSent(once) && canBeSent(repeat) &&
           canBeSent(toggled);
}

std::optional<IrCode> IrCode::parse(const QByteArray &data)
{
    const int count = (data.size() - kHeadBytes) / kDurationBytes;
    if (!isCode(data) || data.size() < kHeadBytes || data.size() % kDurationBytes != 0 ||
        count > static_cast<int>(kMostDurations) + 2) {
        return std::nullopt;
    }
    QDataStream stream(data.mid(static_cast<int>(qstrlen("IRP1"))));
    IrCode code;
    stream >> code.carrierHz;
    Durations durations(static_cast<size_t>(count));
    for (quint32 &duration : durations) {
        stream >> duration;
    }
    const auto end = durations.end();
    const auto repeat = std::find(durations.begin(), end, kNextPart);
    const auto toggled = repeat == end ? end : std::find(repeat + 1, end, kNextPart);
    code.once.assign(durations.begin(), repeat);
    code.repeat = repeat == end ? code.once : Durations(repeat + 1, toggled);
    if (toggled != end) {
        code.toggled.assign(toggled + 1, end);
        if (code.toggled.empty()) {
            return std::nullopt;
        }
    }
    return code.isValid() ? std::optional(code) : std::nullopt;
}

QByteArray IrCode::written() const
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.writeRawData("IRP1", static_cast<int>(qstrlen("IRP1")));
    stream << carrierHz;
    const auto write = [&stream](const Durations &durations) {
        for (const quint32 duration : durations) {
            stream << duration;
        }
    };
    write(once);
    if (repeat != once || !toggled.empty()) {
        stream << kNextPart;
        write(repeat);
    }
    if (!toggled.empty()) {
        stream << kNextPart;
        write(toggled);
    }
    return data;
}

std::optional<IrCode> IrCode::learned(quint32 carrierHz, const Durations &received)
{
    constexpr size_t kFewest = 6; // shorter ones are noise
    const std::vector<Burst> frames = bursts(received);
    if (frames.empty() || frames.front().pulses.size() < kFewest) {
        return std::nullopt;
    }
    IrCode code{ carrierHz, frame(frames.front()), frame(frames.front()), {} };
    if (isSony(code.once)) {
        for (int again = 0; again < 2; ++again) {
            code.once.insert(code.once.end(), code.repeat.begin(), code.repeat.end());
        }
    } else if (frames.size() > 1 && !isSame(frames[0].pulses, frames[1].pulses)) {
        code.repeat = frame(frames[1]);
    }
    return code.isValid() ? std::optional(code) : std::nullopt;
}
