#pragma once
#include "cli/CommandText.h"

namespace CommandLine {
/// A script for fish that completes words, options, their values and file names of a program, and shows what they are.
std::string fishCompletion(const CommandText &program);
} // namespace CommandLine
