#include "devices/SwitchNotice.h"

#include "base/Messages.h"

#include <iterator>

namespace {
struct Row
{
    MonitorMessageType type;
    const char *relay;
    const char *io;
    const char *ir;
    const char *remoteRelay;
    const char *remoteIo;
    const char *remoteIr;
};

// By PortAction.
constexpr Row kRows[] = {
    { MonitorMessageType::Off, QT_TRANSLATE_NOOP("messages", "Off relay: %1"),
      QT_TRANSLATE_NOOP("messages", "IO %1 output high"), QT_TRANSLATE_NOOP("messages", "IR%1 output ir code %2"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]Off relay: %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IO %4 output high"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IR%4 output ir code %5") },
    { MonitorMessageType::On, QT_TRANSLATE_NOOP("messages", "On relay: %1"),
      QT_TRANSLATE_NOOP("messages", "IO %1 output low"), QT_TRANSLATE_NOOP("messages", "IR%1 output ir code %2"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]On relay: %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IO %4 output low"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IR%4 output ir code %5") },
    { MonitorMessageType::Pulse, QT_TRANSLATE_NOOP("messages", "Pulse relay: %1"),
      QT_TRANSLATE_NOOP("messages", "Pulse IO %1"), QT_TRANSLATE_NOOP("messages", "IR%1 pulse ir code %2"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]Pulse relay: %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]Pulse IO %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IR%4 pulse ir code %5") },
    { MonitorMessageType::To, QT_TRANSLATE_NOOP("messages", "To relay: %1"), QT_TRANSLATE_NOOP("messages", "To IO %1"),
      QT_TRANSLATE_NOOP("messages", "IR%1 to ir code %2"), QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]To relay: %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]To IO %4"),
      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]IR%4 to ir code %5") },
};

const Row *rowOf(PortAction action)
{
    // A program may assign any number to a channel, so the action can be one that does not exist.
    const int index = static_cast<int>(action);
    return index >= 0 && index < static_cast<int>(std::size(kRows)) ? &kRows[index] : nullptr;
}
} // namespace

std::optional<SwitchNotice> SwitchNotice::of(const DeviceAddress &device, PortAction action, int channel, Place place)
{
    const Row *row = rowOf(action);
    if (!row) {
        return std::nullopt;
    }
    const bool isHere = place == Place::Here;
    const char *source = nullptr;
    if (device.port == Port::kRelays) {
        source = isHere ? row->relay : row->remoteRelay;
    } else if (device.port == Port::kIo) {
        source = isHere ? row->io : row->remoteIo;
    } else if (Port::isIr(device.port)) {
        source = isHere ? row->ir : row->remoteIr;
    } else {
        return std::nullopt;
    }
    QString text = translated(source);
    if (!isHere) {
        text = text.arg(device.number).arg(device.port).arg(device.system);
    }
    if (Port::isIr(device.port)) {
        text = text.arg(Port::emitterOf(device.port));
    }
    return SwitchNotice{ row->type, text.arg(channel) };
}
