#include "cli/HelpText.h"

#include <algorithm>

namespace CommandLine {
namespace {
constexpr size_t kColumns = 80;
constexpr size_t kWidestHead = 30;
constexpr size_t kIndent = 2;

std::string padded(std::string text, size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

/// Rows in two columns; a head that is too wide for the first has a line of its own.
std::string table(const char *title, const std::vector<Row> &rows, size_t widestHead = kWidestHead)
{
    if (rows.empty()) {
        return {};
    }
    size_t width = 0;
    for (const Row &row : rows) {
        width = row.first.size() <= widestHead ? std::max(width, row.first.size()) : width;
    }
    const size_t start = kIndent + width + 2;
    std::string text = std::string("\n") + title + ":\n";
    for (const auto &[head, description] : rows) {
        const std::vector<std::string> lines = wrapped(description, kColumns - start);
        std::string line = padded(std::string(kIndent, ' ') + head, start);
        if (head.size() > width && !description.empty()) {
            text += std::string(kIndent, ' ') + head + '\n';
            line = std::string(start, ' ');
        }
        for (const std::string &part : lines) {
            text += line + part;
            text.erase(text.find_last_not_of(' ') + 1);
            text += '\n';
            line = std::string(start, ' ');
        }
    }
    return text;
}

std::vector<Row> rowsOf(const std::vector<OptionText> &options)
{
    std::vector<Row> rows;
    rows.reserve(options.size());
    for (const OptionText &option : options) {
        rows.emplace_back(option.head(), option.description);
    }
    return rows;
}

std::vector<Row> rowsOf(const CommandText &above)
{
    std::vector<Row> rows;
    for (const CommandText &command : above.commands) {
        std::string head = command.line.substr(above.line.size() + 1);
        if (command.commands.empty() && above.line.find(' ') != std::string::npos) {
            for (const OptionText &argument : command.arguments) { // it has no page of its own
                head += ' ' + argument.names.front() + (argument.isMany ? "..." : "");
            }
        }
        rows.emplace_back(head, command.brief);
    }
    return rows;
}

std::string optionsAbove(const CommandText &command)
{
    if (command.optionsAbove.empty()) {
        return {};
    }
    std::string also;
    for (const OptionText &option : command.optionsAbove) {
        also += (also.empty() ? "" : ", ") + option.head();
    }
    const std::string program = command.line.substr(0, command.line.find(' '));
    return "Also " + also + ": see " + program + " --help.\n";
}

std::string exitText(const Explanation &explanation)
{
    std::string text;
    for (const auto &[status, meaning] : explanation.exits) {
        text += text.empty() ? "\nExit status: " : "; ";
        text.append(status).append(1, ' ').append(meaning);
    }
    std::string lines;
    for (const std::string &line : wrapped(text, kColumns)) {
        lines += line + '\n';
    }
    return text.empty() ? std::string() : '\n' + lines.substr(0, lines.size() - 1) + ".\n";
}
} // namespace

std::string helpText(const CommandText &command)
{
    std::string text = "Usage: " + command.usage() + '\n' + command.brief + '\n';
    for (const std::string &paragraph : command.paragraphs) {
        for (const std::string &line : wrapped(paragraph, kColumns)) {
            text += line + '\n';
        }
    }
    text += table("Arguments", rowsOf(command.arguments));
    text += table("Commands", rowsOf(command));
    text += table("Options", rowsOf(command.options));
    text += optionsAbove(command);
    text += table("Files", command.explanation.files);
    text += table("Examples", command.explanation.examples, kColumns);
    text += exitText(command.explanation);
    return command.footer.empty() ? text : text + '\n' + command.footer + '\n';
}
} // namespace CommandLine
