#include "cli/FishCompletion.h"

namespace CommandLine {
namespace {
std::string fishQuoted(const std::string &text)
{
    std::string result = "'";
    for (const char letter : text) {
        result += letter == '\'' || letter == '\\' ? "\\" : "";
        result += letter;
    }
    return result + '\'';
}

/// What completes a value; empty: nothing does.
std::string choices(const Completion &completion, bool isCommaList, const std::string &program)
{
    std::string text = joined(completion.values);
    if (isCommaList && !text.empty()) {
        text = "(__fish_complete_list , 'printf \"%s\\n\" " + text + "')";
    }
    if (completion.isFile || completion.isFolder) {
        text += (text.empty() ? "(__" : " (__") + program + "_files" +
                (completion.isFolder ? " /" : ' ' + joined(completion.suffixes)) + ')';
    }
    return text;
}

/// The lines of a command and those below it, in three groups.
struct Script
{
    std::string program;
    std::string words{};  // cases: which word leads to which command
    std::string values{}; // cases: which options have a value
    std::string rows{};   // what is completed where

    void add(const CommandText &command);
    void addOption(const std::string &row, const OptionText &option);
};

void Script::addOption(const std::string &row, const OptionText &option)
{
    rows += row;
    for (const std::string &name : option.names) {
        const bool isLong = name.compare(0, 2, "--") == 0;
        rows += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    rows += " -d " + fishQuoted(option.description);
    if (!option.value.empty()) {
        const std::string offered = choices(option.completion, option.isCommaList, program);
        rows += offered.empty() ? " -x" : " -x -a " + fishQuoted(offered);
    }
    rows += '\n';
}

void Script::add(const CommandText &command)
{
    const std::string row = "complete -c " + program + " -n " + fishQuoted("__" + program + "_at " + command.line);
    for (const OptionText &option : command.allOptions()) {
        addOption(row, option);
        for (const std::string &name : option.value.empty() ? std::vector<std::string>() : option.names) {
            values += ' ' + fishQuoted(command.line + ' ' + name);
        }
    }
    for (const OptionText &argument : command.arguments) {
        const std::string offered = choices(argument.completion, false, program);
        if (!offered.empty()) {
            rows += row + " -a " + fishQuoted(offered) + '\n';
        }
    }
    for (const CommandText &below : command.commands) {
        rows += row + " -a " + below.word() + " -d " + fishQuoted(below.brief) + '\n';
        words += ' ' + fishQuoted(below.line);
        add(below);
    }
}
} // namespace

std::string fishCompletion(const CommandText &program)
{
    Script script{ program.line };
    script.add(program);
    const std::string prefix = "function __" + program.line;
    return "# fish completion of " + program.line + ", made from its command line.\n\n" + prefix +
           R"(_at -d 'Whether the words before the cursor lead to this command'
    set -l command )" +
           program.line + R"(
    set -l isValue 0
    for word in (commandline -opc)[2..]
        if test $isValue = 1
            set isValue 0
            continue
        end
        switch "$command $word"
            case)" +
           (script.words.empty() ? " ''" : script.words) + R"(
                set command "$command $word"
            case)" +
           (script.values.empty() ? " ''" : script.values) + R"(
                set isValue 1
        end
    end
    test "$command" = "$argv"
end

)" + prefix +
           R"(_files -d 'Folders, and files with these suffixes; none: all files'
    set -l suffixes '[^/]*'
    set -q argv[1]; and set suffixes "[^/]*\\.(?:"(string join '|' -- $argv)')'
    test "$argv" = /; and set suffixes ''
    set -l token (string replace -r -- '^--?[^=]+=' '' (commandline -ct))
    __fish_complete_path $token | string match -ri -- "^(?:[^\\t]*/)?(?:$suffixes)?(?:\\t.*)?\$"
end

complete -c )" +
           program.line + " -f\n" + script.rows;
}
} // namespace CommandLine
