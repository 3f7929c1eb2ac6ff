#include "cli/ZshCompletion.h"

namespace CommandLine {
namespace {
std::string escaped(const std::string &text, const std::string &special)
{
    std::string result;
    for (const char letter : text) {
        result += special.find(letter) == std::string::npos ? "" : "\\";
        result += letter;
    }
    return result;
}

std::string zshQuoted(const std::string &text)
{
    std::string result = "'";
    for (const char letter : text) {
        result += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return result + '\'';
}

std::string filesAction(const Completion &completion)
{
    if (completion.isFolder) {
        return "_files -/";
    }
    if (completion.suffixes.empty()) {
        return "_files";
    }
    const std::string suffixes = joined(completion.suffixes, "|");
    // zsh would take one suffix in parentheses for conditions on the file.
    return "_files -g \"(#i)*." + (completion.suffixes.size() == 1 ? suffixes : '(' + suffixes + ')') + '"';
}

/// The two last parts of what _arguments is told of a value: what it is called, and what completes it.
std::string valueSpec(const std::string &name, const OptionText &option)
{
    const Completion &completion = option.completion;
    const std::string values = joined(completion.values, " ");
    const bool hasFiles = completion.isFile || completion.isFolder;
    std::string action = " ";
    if (option.isCommaList && !values.empty()) {
        action = " _values -s , " + name + ' ' + values;
    } else if (!values.empty() && hasFiles) {
        action = "_alternative \"values:value:(" + values + ")\" " + zshQuoted("files:file:" + filesAction(completion));
    } else if (!values.empty()) {
        action = '(' + values + ')';
    } else if (hasFiles) {
        action = filesAction(completion);
    }
    return ':' + escaped(name, ":\\") + ':' + action;
}

std::string optionSpecs(const OptionText &option)
{
    std::string lines;
    for (const std::string &name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        const std::string sign = option.value.empty() ? "" : isLong ? "=" : "+";
        std::string spec = option.isMany ? "*" : '(' + joined(option.names, " ") + ')';
        spec += name + sign + '[' + escaped(option.description, "[]\\") + ']';
        lines += "        " + zshQuoted(spec + (sign.empty() ? "" : valueSpec(option.value, option))) + " \\\n";
    }
    return lines;
}

std::string functionName(const CommandText &command)
{
    std::string name = '_' + command.line;
    for (char &letter : name) {
        letter = letter == ' ' ? '_' : letter;
    }
    return name;
}

/// What stands behind the options: the arguments, or the words below.
std::string placeSpecs(const CommandText &command)
{
    if (!command.commands.empty()) {
        return "        '1: :->word' '*:: :->below'\n";
    }
    std::string lines;
    for (size_t index = 0; index < command.arguments.size(); ++index) {
        const OptionText &argument = command.arguments[index];
        const std::string place = argument.isMany ? "*" : std::to_string(index + 1);
        lines += "        " + zshQuoted(place + valueSpec(argument.names.front(), argument)) + " \\\n";
    }
    return lines + "        && return\n";
}

/// The words below, and how it goes on behind one. A word that is none of them is an argument.
std::string choiceBelow(const CommandText &command)
{
    std::string words;
    std::string cases;
    std::string arguments;
    for (const CommandText &below : command.commands) {
        words += "            " + zshQuoted(below.word() + ':' + below.brief) + '\n';
        cases += "        " + below.word() + ") " + functionName(below) + " ;;\n";
    }
    for (const OptionText &argument : command.arguments) {
        arguments += argument.completion.isFile ? "        " + filesAction(argument.completion) + '\n' : "";
    }
    if (!arguments.empty()) {
        cases += "        *)\n" + arguments + "        ;;\n";
    }
    return "    case $state in\n    word)\n        local -a commands=(\n" + words +
           "        )\n        _describe -t commands command commands\n" + arguments +
           "        ;;\n    below)\n        case $words[1] in\n" + cases + "        esac\n        ;;\n    esac\n";
}

std::string functionsBelow(const CommandText &command);

std::string functions(const CommandText &command)
{
    std::string text = functionName(command) + "()\n{\n    local context state state_descr line\n" +
                       "    typeset -A opt_args\n    _arguments -C -S \\\n";
    for (const OptionText &option : command.allOptions()) {
        text += optionSpecs(option);
    }
    text += placeSpecs(command);
    return text + (command.commands.empty() ? "" : choiceBelow(command)) + "}\n\n" + functionsBelow(command);
}

std::string functionsBelow(const CommandText &command)
{
    std::string text;
    for (const CommandText &below : command.commands) {
        text += functions(below);
    }
    return text;
}
} // namespace

std::string zshCompletion(const CommandText &program)
{
    const std::string name = functionName(program);
    return "#compdef " + program.line + "\n# zsh completion of " + program.line + ", made from its command line.\n\n" +
           functions(program) + "if [ \"$funcstack[1]\" = " + name +
           " ]; then # zsh has found this file by itself\n    " + name + " \"$@\"\nelse\n    compdef " + name + ' ' +
           program.line + "\nfi\n";
}
} // namespace CommandLine
