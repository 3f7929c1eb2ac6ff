#pragma once
#include "cli/CommandText.h"

namespace CommandLine {
/// A script for zsh that completes words, options, their values and file names of a program, and shows what they are.
std::string zshCompletion(const CommandText &program);
} // namespace CommandLine
