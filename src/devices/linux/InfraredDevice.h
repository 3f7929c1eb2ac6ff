#pragma once
#include "base/Descriptor.h"

#include <QString>

#include <variant>
#include <vector>

/// The kernel's infrared devices, /dev/lirc0 and on.
namespace InfraredDevice {

enum class Use { Send, Receive };

/// Open for that use, or what is wrong, for people. Nothing waits, whatever kind of file it is.
std::variant<Descriptor, QString> open(const QString &device, Use use);
QString refusal(const QString &device, int error); // what open() says when the system refuses it
bool isThere(const Descriptor &device);

struct Found
{
    QString device;
    bool canSend = false;
    bool canReceive = false;
    QString refusal; // why it cannot be asked
};
std::vector<Found> all(); // for an installer

} // namespace InfraredDevice
