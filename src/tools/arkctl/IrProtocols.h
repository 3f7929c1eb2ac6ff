#pragma once
#include "devices/IrCode.h"

#include <string>
#include <variant>

/// Codes of the common remote control protocols, as pulses: with the protocol's carrier, and what it sends while a
/// button is held.
namespace IrProtocols {

/// protocol, scancode (C: command, A: address or device; in hexadecimal digits):
///   nec AACC, necx AAAACC, rc5 AACC, rc6 AACC, rc6-mce 800FAACC, sony12 A00CC, sony15 AA00CC, sony20 AAEECC
/// These are the scancodes that Linux shows for a received code. Otherwise what is wrong.
std::variant<IrCode, std::string> encode(const std::string &protocol, quint32 scancode);
bool isProtocol(const std::string &word);

} // namespace IrProtocols
