#include "cli/CommandText.h"

#include "cli/WordLibrary.h"

#include <sstream>

namespace CommandLine {
namespace {
std::vector<std::string> paragraphsOf(const std::string &text)
{
    std::vector<std::string> paragraphs;
    std::istringstream lines(text);
    std::string paragraph;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() && !paragraph.empty()) {
            paragraphs.push_back(std::exchange(paragraph, {}));
        } else {
            paragraph += (paragraph.empty() ? "" : " ") + line;
        }
    }
    if (!paragraph.empty()) {
        paragraphs.push_back(paragraph);
    }
    return paragraphs;
}

OptionText optionText(const CLI::Option &option)
{
    OptionText text;
    if (option.get_positional()) {
        text.names = { option.get_name(true) };
    }
    for (const std::string &name : option.get_snames()) {
        text.names.push_back('-' + name);
    }
    for (const std::string &name : option.get_lnames()) {
        text.names.push_back("--" + name);
    }
    const bool isFlag = option.get_items_expected_max() == 0;
    text.value = isFlag || option.get_positional() ? std::string() : valueName(option);
    text.description = option.get_description();
    text.completion = completionOf(option);
    text.isRequired = option.get_required();
    text.isMany = option.get_expected_max() > 1;
    text.isCommaList = option.get_delimiter() != '\0';
    return text;
}

/// In the order in which they were added; help comes first there.
void addOptions(const CLI::App &word, std::vector<OptionText> &options, std::vector<OptionText> *arguments)
{
    for (const CLI::Option *option : word.get_options({})) {
        if (!option->get_positional()) {
            options.push_back(optionText(*option));
        } else if (arguments) {
            arguments->push_back(optionText(*option));
        }
    }
}

/// The explanation of the word, with the exit statuses of the nearest word above where it names none.
Explanation wholeExplanation(const CLI::App &word)
{
    Explanation explanation;
    if (const Explanation *own = explanationOf(word)) {
        explanation = *own;
    }
    for (const CLI::App *above = word.get_parent(); above && explanation.exits.empty(); above = above->get_parent()) {
        if (const Explanation *theirs = explanationOf(*above)) {
            explanation.exits = theirs->exits;
        }
    }
    return explanation;
}

void addOptionsAbove(const CLI::App &word, std::vector<OptionText> &options)
{
    for (const CLI::App *lower = &word; lower->get_parent() && lower->get_fallthrough(); lower = lower->get_parent()) {
        std::vector<OptionText> all;
        addOptions(*lower->get_parent(), all, nullptr);
        for (OptionText &option : all) {
            const std::string &name = option.names.back();
            if (name != "--help" && name != "--version") {
                options.push_back(std::move(option));
            }
        }
    }
}
} // namespace

std::string OptionText::head() const
{
    std::string text;
    for (const std::string &name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return value.empty() ? text : text + ' ' + value;
}

std::string CommandText::usage() const
{
    std::string text = line;
    if (!options.empty()) {
        text += " [OPTIONS]";
    }
    for (const OptionText &argument : arguments) {
        const std::string name = argument.names.front() + (argument.isMany ? "..." : "");
        text += ' ' + (argument.isRequired ? name : '[' + name + ']');
    }
    if (!commands.empty()) {
        text += needsCommand ? " COMMAND" : " [COMMAND]";
    }
    return text;
}

std::string joined(const std::vector<std::string> &words, const char *between)
{
    std::string text;
    for (const std::string &word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::string CommandText::word() const
{
    return line.substr(line.rfind(' ') + 1);
}

std::vector<OptionText> CommandText::allOptions() const
{
    std::vector<OptionText> all = options;
    all.insert(all.end(), optionsAbove.begin(), optionsAbove.end());
    return all;
}

CommandText describe(const CLI::App &word)
{
    CommandText text;
    for (const CLI::App *part = &word; part; part = part->get_parent()) {
        text.line = part->get_name() + (text.line.empty() ? "" : ' ' + text.line);
    }
    text.explanation = wholeExplanation(word);
    text.paragraphs = paragraphsOf(text.explanation.description);
    std::vector<std::string> own = paragraphsOf(word.get_description());
    if (!own.empty()) {
        text.brief = own.front();
        text.paragraphs.insert(text.paragraphs.begin(), own.begin() + 1, own.end());
    }
    addOptions(word, text.options, &text.arguments);
    addOptionsAbove(word, text.optionsAbove);
    for (const CLI::App *below : word.get_subcommands([](const CLI::App *) { return true; })) {
        text.commands.push_back(describe(*below));
    }
    text.footer = explanationOf(word) || (word.get_parent() && word.get_parent()->get_footer() == word.get_footer())
                      ? std::string()
                      : word.get_footer();
    text.needsCommand = word.get_require_subcommand_min() > 0;
    return text;
}

CommandText describe(const Word &word)
{
    return describe(word.app());
}

std::vector<std::string> wrapped(const std::string &text, size_t columns)
{
    std::vector<std::string> lines{ "" };
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string &last = lines.back();
        if (last.empty()) {
            last = word;
        } else if (last.size() + 1 + word.size() <= columns) {
            last += ' ' + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}
} // namespace CommandLine
