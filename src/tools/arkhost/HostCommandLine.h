#pragma once
#include "cli/CommandLine.h"

#include <string>
#include <variant>
#include <vector>

/// What the command line asks for.
struct HostCommandLine
{
    bool wantsStatus = false; // of a supervisor that runs; otherwise: be one

    bool wantsJson = false;
    double timeoutSeconds = 2;

    bool showsPorts = false;
    bool isPlain = false;
    std::string controller; // empty: the one beside the supervisor
    std::string reports;    // empty: in the controller's data directory
    int keptReports = 20;
    double watchdogSeconds = 60;
    std::vector<std::string> arguments; // of the controller
};

/// The whole command line: words, options, descriptions, examples, exit statuses. What is read goes to the line, which
/// must live as long as the app. Returns the word for a status.
const CommandLine::Word *describeHost(CommandLine::Word &app, HostCommandLine &line);

/// Reads the arguments; what follows -- is the controller's, as it is. A status: the process ends with it.
std::variant<HostCommandLine, int> parseHost(const std::vector<std::string> &arguments);
