#pragma once
#include "cli/CommandLine.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"

#include <functional>

/// One word of the command line: how it is written, and what it does. Each is described beside its code by one of the
/// functions below, which adds the word to the program.
struct Command
{
    CommandLine::Word *word;
    std::function<Outcome(const RunOptions &)> run;
    bool needsController = true; // false: --host is not looked at
};

Command monitorCommand(CommandLine::Word &app);
Command panelCommand(CommandLine::Word &app);
Command infoCommand(CommandLine::Word &app);
Command discoverCommand(CommandLine::Word &app);
Command networkCommand(CommandLine::Word &app);
Command macCommand(CommandLine::Word &app);
Command dateTimeCommand(CommandLine::Word &app);
Command rebootCommand(CommandLine::Word &app);
Command systemNumberCommand(CommandLine::Word &app);
Command listenCommand(CommandLine::Word &app);
Command uploadCommand(CommandLine::Word &app);
Command downloadCommand(CommandLine::Word &app);
Command portTestCommand(CommandLine::Word &app);
Command portsCommand(CommandLine::Word &app);
Command irCommand(CommandLine::Word &app);
Command traceCommand(CommandLine::Word &app);
Command whyCommand(CommandLine::Word &app);
Command getCommand(CommandLine::Word &app);
Command setCommand(CommandLine::Word &app);
Command watchCommand(CommandLine::Word &app);
Command varsCommand(CommandLine::Word &app);

Outcome wrongUse(const std::string &what); // says so, and where help is

/// A flag --json and the form that it asks for.
void addJsonFlag(CommandLine::Word &word, bool &wantsJson, const char *description);
inline Rendering::Form formOf(bool wantsJson)
{
    return wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
}

/// An option --for with a time, which stays unset without it.
void addForOption(CommandLine::Word &word, std::optional<double> &seconds, const char *description);
std::optional<int> millisecondsOf(std::optional<double> seconds);
