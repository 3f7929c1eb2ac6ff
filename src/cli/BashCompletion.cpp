#include "cli/BashCompletion.h"

namespace CommandLine {
namespace {
/// What a completion sets: the words to choose from, and which files.
std::string actions(const Completion &completion, bool isCommaList)
{
    std::string text;
    if (!completion.values.empty()) {
        text += " values='" + joined(completion.values) + "'";
    }
    if (isCommaList) {
        text += " list=yes";
    }
    if (completion.isFile || completion.isFolder) {
        text += completion.isFolder           ? " files='/'"
                : completion.suffixes.empty() ? " files='*'"
                                              : " files='" + joined(completion.suffixes) + "'";
    }
    return text;
}

/// The rows of the three tables of the script, for a command and those below it.
struct Tables
{
    std::string commands; // which word leads to which command
    std::string options;  // which options have a value, and which
    std::string words;    // what may stand at a place of no option's value

    void add(const CommandText &command);
};

void Tables::add(const CommandText &command)
{
    const std::string start = '\'' + command.line;
    std::vector<std::string> names;
    for (const OptionText &option : command.allOptions()) {
        names.insert(names.end(), option.names.begin(), option.names.end());
        if (option.value.empty()) {
            continue;
        }
        std::string pattern;
        for (const std::string &name : option.names) {
            pattern += pattern.empty() ? "" : " | ";
            pattern.append(start).append(1, ' ').append(name).append(1, '\'');
        }
        options += "    " + pattern + ")" + actions(option.completion, option.isCommaList) + " ;;\n";
    }
    Completion places;
    for (const OptionText &argument : command.arguments) {
        const Completion &more = argument.completion;
        places.values.insert(places.values.end(), more.values.begin(), more.values.end());
        places.suffixes.insert(places.suffixes.end(), more.suffixes.begin(), more.suffixes.end());
        places.isFile = places.isFile || more.isFile;
    }
    for (const CommandText &below : command.commands) {
        places.values.push_back(below.word());
        commands += "        '" + below.line + "') command='" + below.line + "' ;;\n";
    }
    words += "    " + start + "') options='" + joined(names) + "'" + actions(places, false) + " ;;\n";
    for (const CommandText &below : command.commands) {
        add(below);
    }
}

/// The options with a value alone, for the walk over the words before the cursor.
std::string patternsOf(const CommandText &command)
{
    std::string text;
    for (const OptionText &option : command.allOptions()) {
        for (const std::string &name : option.value.empty() ? std::vector<std::string>() : option.names) {
            text += "        '" + command.line + ' ' + name + "') option=$word ;;\n";
        }
    }
    for (const CommandText &below : command.commands) {
        text += patternsOf(below);
    }
    return text;
}

constexpr char kEnd[] = R"(    esac
    COMPREPLY=()
    if [[ -z $option && ( $current == -* || -z $values$files ) ]]; then
        values=$options files=
    fi
    local before=
    if [[ -n $list && $current == *,* ]]; then
        before=${current%,*},
    fi
    for word in $values; do
        if [[ $before$word == "$current"* ]]; then
            COMPREPLY+=("$before$word")
        fi
    done
    if [[ -n $files ]]; then
        local name
        compopt -o filenames 2>/dev/null
        while IFS= read -r name; do
            if [[ -d $name ]]; then
                COMPREPLY+=("$name")
                continue
            fi
            for word in ${files//[*\/]/}; do
                if [[ ${name,,} == *."$word" ]]; then
                    COMPREPLY+=("$name")
                fi
            done
            if [[ $files == '*' ]]; then
                COMPREPLY+=("$name")
            fi
        done < <(compgen -f -- "$current")
    fi
}
)";
} // namespace

std::string bashCompletion(const CommandText &program)
{
    Tables tables;
    tables.add(program);
    return "# bash completion of " + program.line + R"(, made from its command line.
# shellcheck shell=bash
_)" + program.line +
           R"(()
{
    local current=${COMP_WORDS[COMP_CWORD]} command=')" +
           program.line + R"(' option='' word index
    local values='' options='' files='' list=''
    for ((index = 1; index < COMP_CWORD; index++)); do
        word=${COMP_WORDS[index]}
        if [[ $word == = ]]; then
            continue
        fi
        if [[ -n $option ]]; then
            option=
            continue
        fi
        case "$command $word" in
)" + tables.commands +
           patternsOf(program) + R"(        esac
    done
    if [[ $current == = ]]; then
        current=
    fi
    case "$command${option:+ $option}" in
)" + tables.words +
           tables.options + kEnd + "complete -F _" + program.line + ' ' + program.line + '\n';
}
} // namespace CommandLine
