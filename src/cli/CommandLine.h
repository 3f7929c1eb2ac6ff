#pragma once
#include "cli/Word.h"

#include <optional>
#include <variant>

namespace CommandLine {
/// The version that people are told: of the package that the program came in, otherwise that of the source.
/// The link has a version of its own, which stays the same from package to package.
std::string version();

struct Shown // help or version, which was asked for
{
    std::string text;
};
struct Misuse
{
    std::string what;
    bool isUnknownWord = false;
};
struct Good
{};

/// Reads a command line into the program's variables.
/// \param arguments  without the program's name
std::variant<Good, Shown, Misuse> read(Word &program, std::vector<std::string> arguments);

/// Reads it, and shows help or version where that is asked for. Nothing: go on. Otherwise the status to end with.
/// \param refuse  says what is wrong with the command line, and gives the status for it
std::optional<int> parse(Word &program, int argc, char **argv,
                         const std::function<int(const std::string &what)> &refuse);

/// Shows the help or version that was asked for. The status to end with: 1 when it could not be written.
int show(const Word &program, const Shown &shown);

/// Runs the whole of a program. What a library throws, when memory is short for example, is said and ends it with 1.
int guarded(const char *program, const std::function<int()> &run) noexcept;
} // namespace CommandLine
