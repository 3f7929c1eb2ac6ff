#pragma once
#include "cli/CommandText.h"

#include <CLI/CLI.hpp>

// How words and options are kept in the library that reads them.
namespace CommandLine {
const Explanation *explanationOf(const CLI::App &word); // nullptr: it has none

Completion completionOf(const CLI::Option &option);
std::string valueName(const CLI::Option &option); // what its value is called in help: "SECONDS"
CommandText describe(const CLI::App &word);
} // namespace CommandLine
