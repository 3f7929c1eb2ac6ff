#pragma once
#include "tools/arkctl/Console.h"

#include <string>
#include <vector>

/// arkctl ir: makes IR code files from their readable form or a remote control, and shows them. Needs no controller.
namespace IrCommand {
Outcome build(const std::string &textPath, const std::string &filePath); // the file is replaced whole, or not at all
Outcome show(const std::string &filePath);

struct Remote
{
    std::string device = "/dev/lirc0";
    unsigned carrierHz = 38000; // receivers do not tell it
};
/// The codes of one button after the other, as an infrared device hears them.
Outcome learn(const Remote &remote, const std::string &filePath, const std::vector<std::string> &names);
} // namespace IrCommand
