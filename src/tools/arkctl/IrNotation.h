#pragma once
#include "devices/IrCode.h"

#include <QString>

#include <string>
#include <variant>

/// An infrared code as people write it:
///
///     nec 0x04FB           a scancode: IrProtocols
///     pronto 0000 006D …   a learned code in Pronto hex
///     raw 38000 9000 4500 560 40000 repeat 9000 2250 560
///
/// raw: the carrier in Hz, then pulse, space, pulse and so on in microseconds, with signs or the words if wanted
/// (+9000 -4500, pulse 9000 space 4500); behind "repeat" what is sent while the button is held. Without it all is.
/// Behind "toggle" what every other press sends.
namespace IrNotation {

bool isOne(const QString &text); // begins as one; whether it is right is another matter
std::variant<IrCode, std::string> parse(const QString &text);
QString written(const IrCode &code); // its raw form

} // namespace IrNotation
