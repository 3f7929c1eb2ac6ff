#pragma once
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// CLI/CLI.hpp takes seconds to compile: only who describes words or makes an app includes it.
namespace CLI {
class App;
class Option;
class Success;
class Validator;
} // namespace CLI

/// What a program says of its command line beside the options themselves. Help, man page and completions are made of
/// it and of the described CLI::App: see HelpText.h, ManPage.h, BashCompletion.h, ZshCompletion.h and FishCompletion.h.
namespace CommandLine {
using Row = std::pair<std::string, std::string>; // a name, a file or a command line, and what it is

struct Explanation
{
    std::string description{};   // after the word's own line; blank lines part paragraphs, other line ends are blanks
    std::vector<Row> examples{}; // whole command lines
    std::vector<Row> files{};    // that it uses
    std::vector<Row> exits{};    // exit statuses; a word without takes those of the word above it
    std::vector<Row> seeAlso{};  // other pages: name and section
};

/// Says more about a program or a word of it, and lets it show help in our form; so do the words that are added to it
/// from then on.
void explain(CLI::App &word, const Explanation &explanation);
const Explanation *explanationOf(const CLI::App &word); // nullptr: it has none

/// The version that people are told: of the package that the program came in, otherwise that of the source.
/// The link has a version of its own, which stays the same from package to package.
std::string version();
void addVersion(CLI::App &app); // --version; the program has its name already

/// \name Checks for CLI::Option::check. Completion knows what they stand for.
CLI::Validator oneOf(const std::vector<std::string> &values);            // nothing else is taken
CLI::Validator suggests(const std::vector<std::string> &values);         // anything else too
CLI::Validator between(double lowest, double highest);                   // a number, both ends included
CLI::Validator files(std::initializer_list<const char *> suffixes = {}); // a file's name; no suffixes: any
CLI::Validator folder();                                                 // a folder's name

/// The values that an option's checks name, and the suffixes; empty where there are none.
struct Completion
{
    std::vector<std::string> values;
    std::vector<std::string> suffixes;
    bool isFile = false;
    bool isFolder = false;
};
Completion completionOf(const CLI::Option &option);
std::string valueName(const CLI::Option &option); // what its value is called in help: "SECONDS"

/// Parses, and shows help or version where that is asked for. Nothing: go on. Otherwise the status to end with.
/// \param refuse  says what is wrong with the command line, and gives the status for it
std::optional<int> parse(CLI::App &app, int argc, char **argv,
                         const std::function<int(const std::string &what)> &refuse);

bool isGiven(const CLI::App &word); // on the command line that was parsed

/// Shows the help or version that was asked for. The status to end with: 1 when it could not be written.
int show(const CLI::App &app, const CLI::Success &asked);

/// Runs the whole of a program. What a library throws, when memory is short for example, is said and ends it with 1.
int guarded(const char *program, const std::function<int()> &run) noexcept;
} // namespace CommandLine
