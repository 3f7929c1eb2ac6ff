#pragma once
#include "tools/arkctl/Command.h"

/// The options that every command has.
struct CommonOptions
{
    std::string host = "127.0.0.1";
    double timeoutSeconds = 5;
};

/// Describes the whole command line; returns its commands in the order of help.
std::vector<Command> describeProgram(CommandLine::Word &app, CommonOptions &common);

int runProgram(int argc, char **argv);
