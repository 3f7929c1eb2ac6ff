#pragma once
#include "cli/CommandText.h"

namespace CommandLine {
/// What --help shows, for a screen of 80 columns.
std::string helpText(const CommandText &command);
} // namespace CommandLine
