#include "tools/arkctl/Command.h"

#include <CLI/CLI.hpp>

Outcome wrongUse(const std::string &what)
{
    Console::complain(what, "see arkctl --help");
    return Outcome::WrongUse;
}

void addJsonFlag(CLI::App &word, bool &wantsJson, const char *description)
{
    word.add_flag("--json", wantsJson, description);
}

void addForOption(CLI::App &word, std::optional<double> &seconds, const char *description)
{
    word.add_option("--for", seconds, description)->type_name("SECONDS")->check(CommandLine::between(0, 1e6));
}

std::optional<int> millisecondsOf(std::optional<double> seconds)
{
    return seconds ? std::optional(static_cast<int>(*seconds * 1000)) : std::nullopt;
}
