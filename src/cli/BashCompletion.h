#pragma once
#include "cli/CommandText.h"

namespace CommandLine {
/// A script for bash that completes words, options, their values and file names of a program.
std::string bashCompletion(const CommandText &program);
} // namespace CommandLine
