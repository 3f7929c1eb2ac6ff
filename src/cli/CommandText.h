#pragma once
#include "cli/Word.h"

namespace CommandLine {
/// The values that an option's checks name, and the suffixes; empty where there are none.
struct Completion
{
    std::vector<std::string> values;
    std::vector<std::string> suffixes;
    bool isFile = false;
    bool isFolder = false;
};

/// One option or positional argument, as it is shown.
struct OptionText
{
    std::vector<std::string> names; // "-o", "--output"; of an argument its one name
    std::string value;              // what its value is called; empty: it has none
    std::string description;
    Completion completion;
    bool isRequired = false;
    bool isMany = false;
    bool isCommaList = false;

    std::string head() const; // "-o,--output FILE"
};

/// A program, or one word of its command line, with all that is known of it.
struct CommandText
{
    std::string line;  // "arkctl listen"
    std::string brief; // one line
    std::vector<std::string> paragraphs;
    std::vector<OptionText> options;
    std::vector<OptionText> arguments;
    std::vector<OptionText> optionsAbove; // of the words above, which may stand here too
    std::vector<CommandText> commands;
    Explanation explanation;
    std::string footer; // of a word that is not explained
    bool needsCommand = false;

    std::string usage() const;
    std::string word() const;                   // "listen"
    std::vector<OptionText> allOptions() const; // its own, then those of the words above
};

CommandText describe(const Word &word);

std::string joined(const std::vector<std::string> &words, const char *between = " ");

/// The words of a text in lines of at most so many columns.
std::vector<std::string> wrapped(const std::string &text, size_t columns);
} // namespace CommandLine
