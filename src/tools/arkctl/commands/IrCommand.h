#pragma once
#include "tools/arkctl/Console.h"

#include <string>

/// arkctl ir: makes IR code files from their readable form, and shows them. Needs no controller.
namespace IrCommand {
Outcome build(const std::string &textPath, const std::string &filePath); // the file is replaced whole, or not at all
Outcome show(const std::string &filePath);
} // namespace IrCommand
