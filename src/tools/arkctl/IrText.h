#pragma once
#include "devices/IrFile.h"

#include <string>
#include <variant>

/// The readable form of an IR code file, one code a line: number, name in quotes, and the code as its bytes in
/// hexadecimal or in one of the notations of IrNotation.
///
///     # Projector in the large hall
///     header "Projector"
///     5 "Power on"  00 6D 22 02 15 16
///     6 "Power off" 006D 2202 1516
///     7 "Volume up" nec 0x0408
///
/// Up to five header lines; six numbers in brackets may follow the name (0 when they are missing).
namespace IrText {

struct Fault
{
    int line = 0; // from 1
    std::string what;
};

std::variant<IrFile::Contents, Fault> parse(const QByteArray &text);
QByteArray written(const IrFile::Contents &contents); // parse() gives the same contents again

} // namespace IrText
