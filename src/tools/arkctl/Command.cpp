#include "tools/arkctl/Command.h"

Outcome wrongUse(const std::string &what)
{
    Console::complain(what, "see arkctl --help");
    return Outcome::WrongUse;
}

void addJsonFlag(CommandLine::Word &word, bool &wantsJson, const char *description)
{
    word.addFlag("--json", wantsJson, description);
}

void addForOption(CommandLine::Word &word, std::optional<double> &seconds, const char *description)
{
    word.add("--for", seconds, description).named("SECONDS").between(0, 1e6);
}

std::optional<int> millisecondsOf(std::optional<double> seconds)
{
    return seconds ? std::optional(static_cast<int>(*seconds * 1000)) : std::nullopt;
}
