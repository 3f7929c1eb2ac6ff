#pragma once
#include "cli/CommandLine.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"

#include <functional>

/// One word of the command line: how it is written, and what it does. Each is described beside its code by one of the
/// functions below, which adds the word to the program.
struct Command
{
    CLI::App *word;
    std::function<Outcome(const RunOptions &)> run;
    bool needsController = true; // false: --host is not looked at
};

Command monitorCommand(CLI::App &app);
Command panelCommand(CLI::App &app);
Command infoCommand(CLI::App &app);
Command discoverCommand(CLI::App &app);
Command networkCommand(CLI::App &app);
Command macCommand(CLI::App &app);
Command dateTimeCommand(CLI::App &app);
Command rebootCommand(CLI::App &app);
Command systemNumberCommand(CLI::App &app);
Command listenCommand(CLI::App &app);
Command uploadCommand(CLI::App &app);
Command downloadCommand(CLI::App &app);
Command portTestCommand(CLI::App &app);
Command portsCommand(CLI::App &app);
Command irCommand(CLI::App &app);

Outcome wrongUse(const std::string &what); // says so, and where help is

/// A flag --json and the form that it asks for.
void addJsonFlag(CLI::App &word, bool &wantsJson, const char *description);
inline Rendering::Form formOf(bool wantsJson)
{
    return wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
}

/// An option --for with a time, which stays unset without it.
void addForOption(CLI::App &word, std::optional<double> &seconds, const char *description);
std::optional<int> millisecondsOf(std::optional<double> seconds);
