#pragma once
#include "cli/CommandLine.h"
#include "tools/arkc/Console.h"

#include <functional>

namespace arkc {
/// One word of the command line: how it is written, and what it does. Each is described beside its code by one of the
/// functions below, which adds the word to the program.
struct Command
{
    CommandLine::Word *word;
    std::function<Outcome()> run;
};

Command buildCommand(CommandLine::Word &app);
Command checkCommand(CommandLine::Word &app);
Command dumpCommand(CommandLine::Word &app);
Command formatCommand(CommandLine::Word &app);
Command lspCommand(CommandLine::Word &app);

/// The whole command line, as main() and whatever describes the program elsewhere need it.
std::vector<Command> describeCommandLine(CommandLine::Word &app);

int run(int argc, char **argv); // the whole program

Outcome wrongUse(const std::string &what); // says so, and where help is
} // namespace arkc
