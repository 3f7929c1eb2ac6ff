#include "cli/ManPage.h"

#include <algorithm>

namespace CommandLine {
namespace {
/// Text in which nothing is meant for the formatter.
std::string roff(const std::string &text)
{
    std::string safe;
    for (const char letter : text) {
        switch (letter) {
        case '\\':
            safe += "\\e";
            break;
        case '-':
            safe += "\\-";
            break;
        case '\'':
            safe += "\\(aq";
            break;
        case '^':
            safe += "\\(ha";
            break;
        case '~':
            safe += "\\(ti";
            break;
        case '`':
            safe += "\\(ga";
            break;
        default:
            safe += letter;
        }
    }
    return !safe.empty() && safe.front() == '.' ? "\\&" + safe : safe;
}

std::string inQuotes(const std::string &text)
{
    std::string safe = roff(text);
    for (size_t at = safe.find('"'); at != std::string::npos; at = safe.find('"', at + 4)) {
        safe.replace(at, 1, "\\(dq");
    }
    return '"' + safe + '"';
}

std::string bold(const std::string &text)
{
    return "\\fB" + roff(text) + "\\fR";
}

std::string heading(const char *name)
{
    return std::string(".SH ") + name + '\n';
}

std::string entry(const std::string &head, const std::string &description)
{
    return ".TP\n" + head + '\n' + roff(description) + '\n';
}

std::string optionHead(const OptionText &option)
{
    std::string text;
    for (const std::string &name : option.names) {
        text += (text.empty() ? "" : ", ") + bold(name);
    }
    return option.value.empty() ? text : text + " \\fI" + roff(option.value) + "\\fR";
}

std::string described(const OptionText &option)
{
    std::string values;
    for (const std::string &value : option.completion.values) {
        values += (values.empty() ? "" : ", ") + value;
    }
    // Where the description does not name them.
    const bool isNamed =
        values.empty() || option.description.find(option.completion.values.back()) != std::string::npos;
    return isNamed ? option.description : option.description + ": " + values;
}

std::string entries(const std::vector<OptionText> &options)
{
    std::string text;
    for (const OptionText &option : options) {
        text += entry(optionHead(option), described(option));
    }
    return text;
}

std::string pageName(const CommandText &command)
{
    std::string name = command.line;
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string rowsSection(const char *name, const std::vector<Row> &rows)
{
    std::string text = rows.empty() ? std::string() : heading(name);
    for (const auto &[head, description] : rows) {
        text += entry(bold(head), description);
    }
    return text;
}

/// Commands with a page of their own are named; others are told here as a whole.
std::string commandsSection(const CommandText &command, bool haveOwnPages)
{
    std::string text = command.commands.empty() ? std::string() : heading("COMMANDS");
    for (const CommandText &below : command.commands) {
        if (haveOwnPages) {
            text += entry(bold(below.line.substr(command.line.size() + 1)),
                          below.brief + "; see " + pageName(below) + "(1)");
        } else {
            text += ".SS " + inQuotes(below.usage()) + '\n' + roff(below.brief) + '\n' + entries(below.arguments) +
                    entries(below.options);
        }
    }
    return text;
}

std::string examplesSection(const CommandText &command)
{
    if (!command.footer.empty()) {
        std::string text = heading("NOTES") + ".nf\n";
        for (size_t at = 0; at <= command.footer.size();) {
            const size_t end = std::min(command.footer.find('\n', at), command.footer.size());
            text += roff(command.footer.substr(at, end - at)) + '\n';
            at = end + 1;
        }
        return text + ".fi\n";
    }
    return rowsSection("EXAMPLES", command.explanation.examples);
}

std::string seeAlsoSection(const CommandText &command, const CommandText &program, int section)
{
    std::vector<Row> pages = program.explanation.seeAlso;
    if (&command != &program) {
        pages.insert(pages.begin(), { program.line, std::to_string(section) });
    } else {
        for (const CommandText &below : program.commands) {
            pages.emplace_back(pageName(below), std::to_string(section));
        }
    }
    std::string text;
    for (const auto &[name, number] : pages) {
        text += (text.empty() ? "" : ",\n") + bold(name) + '(' + number + ')';
    }
    return text.empty() ? text : heading("SEE ALSO") + text + '\n';
}

std::string pageText(const CommandText &command, const CommandText &program, int section, const std::string &system)
{
    std::string title = pageName(command);
    std::transform(title.begin(), title.end(), title.begin(), [](unsigned char c) { return std::toupper(c); });
    std::string text =
        ".TH " + inQuotes(title) + ' ' + std::to_string(section) + " \"\" " + inQuotes(system) + " \"\"\n";
    text += heading("NAME") + roff(pageName(command)) + " \\- " + roff(command.brief) + '\n';
    const std::string usage = command.usage();
    text += heading("SYNOPSIS") + bold(command.line) + roff(usage.substr(command.line.size())) + '\n';
    text += heading("DESCRIPTION") + roff(command.brief) + (command.brief.ends_with('.') ? "\n" : ".\n");
    for (const std::string &paragraph : command.paragraphs) {
        text += ".PP\n" + roff(paragraph) + '\n';
    }
    if (!command.arguments.empty()) {
        text += heading("ARGUMENTS") + entries(command.arguments);
    }
    text += heading("OPTIONS") + entries(command.options) + entries(command.optionsAbove);
    text += commandsSection(command, &command == &program);
    text += examplesSection(command);
    text += rowsSection("EXIT STATUS", command.explanation.exits);
    text += rowsSection("FILES", command.explanation.files);
    return text + seeAlsoSection(command, program, section);
}
} // namespace

std::vector<ManPage> manPages(const CommandText &program, int section, const std::string &system)
{
    const std::string suffix = '.' + std::to_string(section);
    std::vector<ManPage> pages{ { pageName(program) + suffix, pageText(program, program, section, system) } };
    for (const CommandText &command : program.commands) {
        pages.push_back({ pageName(command) + suffix, pageText(command, program, section, system) });
    }
    return pages;
}
} // namespace CommandLine
