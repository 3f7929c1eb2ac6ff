#pragma once
#include "cli/CommandText.h"

namespace CommandLine {
struct ManPage
{
    std::string fileName; // "arkctl-monitor.1"
    std::string text;     // roff
};

/// The page of a program, and one for each of its commands.
/// \param system   the name at the top, and its version: "Arkivon 2.3"
std::vector<ManPage> manPages(const CommandText &program, int section, const std::string &system);
} // namespace CommandLine
