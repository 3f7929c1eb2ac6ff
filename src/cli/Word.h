#pragma once
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// CLI/CLI.hpp takes seconds to compile: only the sources of this floor include it.
namespace CLI {
class App;
class Option;
class Validator;
} // namespace CLI

/// What a program says of its command line. Help, man page and completions are made of it: see HelpText.h, ManPage.h,
/// BashCompletion.h, ZshCompletion.h and FishCompletion.h.
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

/// An option or argument, to say more of it. Borrows what its word owns.
class Option
{
public:
    explicit Option(CLI::Option *option)
        : m_option(option)
    {}

    const Option &named(const std::string &value) const; // what its value is called in help: "SECONDS"
    const Option &required() const;
    const Option &exactly(int count) const; // so many values
    const Option &oneValueEach() const;     // what follows a value belongs to something else
    const Option &lastCounts() const;       // where it is given more than once
    const Option &partedByCommas() const;   // many values

    // What it takes. Completion knows it too.
    const Option &oneOf(const std::vector<std::string> &values) const;            // nothing else
    const Option &suggests(const std::vector<std::string> &values) const;         // anything else too
    const Option &between(double lowest, double highest) const;                   // a number, both ends included
    const Option &files(std::initializer_list<const char *> suffixes = {}) const; // a file's name; no suffixes: any
    const Option &folder() const;

private:
    const Option &check(const CLI::Validator &validator) const;

    CLI::Option *m_option;
};

/// A program's whole command line, or one word of it. Values go to variables that must live as long.
/// Owns: the words below it.
class Word
{
public:
    Word(); // a program's
    ~Word();
    Word(const Word &) = delete;
    Word &operator=(const Word &) = delete;

    void introduce(const std::string &program, const std::string &brief);
    /// Says more about it, and lets it show help in our form; so do the words that are added to it from then on.
    void explain(const Explanation &explanation);

    Word *addWord(const std::string &name, const std::string &brief);
    /// \param names  "-o,--output"; without dashes it is an argument
    template <class Value>
    Option add(const std::string &names, Value &value, const std::string &brief); // for those named in Word.cpp
    void addFlag(const std::string &names, bool &isGiven, const std::string &brief);
    void addVersion(const std::string &names = "--version", const std::string &text = {}); // empty: as version()

    void needsWord(bool isNeeded = true); // at most one of those below it, or just one
    void takesOptionsAbove();             // behind it, and behind the words that are added to it from then on

    bool isGiven() const; // on the command line that was parsed
    bool has(const std::string &option) const;

    CLI::App &app() const { return *m_app; }

private:
    explicit Word(CLI::App *app);

    std::unique_ptr<CLI::App> m_own; // of a program
    CLI::App *m_app;
    std::vector<std::unique_ptr<Word>> m_words;
};
} // namespace CommandLine
