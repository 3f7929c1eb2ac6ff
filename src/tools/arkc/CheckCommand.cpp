#include "compiler/Compiler.h"
#include "compiler/Sources.h"
#include "tools/arkc/Command.h"
#include "tools/arkc/Files.h"
#include "tools/arkc/Report.h"

namespace arkc {
namespace {
struct CheckArguments
{
    std::vector<std::string> sources;
    std::string standardInputName;
    std::string format = "text";
};

std::vector<Diagnostic> diagnosticsOf(const Input &input)
{
    if (const auto problem = sourceProblem(input, Emptiness::Refused)) {
        return { *problem };
    }
    return compileSource(decodeSource(input.bytes).text, input.name).diagnostics;
}

Outcome check(const CheckArguments &arguments)
{
    Report report(formOf(arguments.format));
    int errors = 0;
    for (const std::string &source : arguments.sources) {
        const std::vector<Diagnostic> diagnostics = diagnosticsOf(
            readInput(QString::fromStdString(source), QString::fromStdString(arguments.standardInputName)));
        errors += errorCount(diagnostics);
        report.add(diagnostics);
    }
    return report.finish() && errors == 0 ? Outcome::Done : Outcome::Failed;
}
} // namespace

Command checkCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("check", "Report errors and warnings, write nothing");
    const auto arguments = std::make_shared<CheckArguments>();
    word->add("SOURCE", arguments->sources, "Source files, each a program of its own; - is standard input")
        .required()
        .files({ "src" });
    word->add("--stdin-name", arguments->standardInputName,
              "The file that standard input stands for: in messages, and for what it includes")
        .named("FILE");
    addFormatOption(*word, arguments->format);
    word->explain({ "With --format json, standard output gets an object with the list \"diagnostics\". Each has "
                    "file, line, column, endLine, endColumn (from 1, the end is behind the last character; "
                    "0: the file as a whole), severity (error or warning), code (docs/language.md explains each) and "
                    "message.",
                    { { "arkc check room.src lobby.src", "two programs" },
                      { "arkc check room.src --format json", "for an editor" },
                      { "arkc check - --stdin-name room.src < text", "one that is not saved yet" } },
                    {},
                    { { "0", "there is no error" },
                      { "1", "there are errors, or a file cannot be read" },
                      { "2", "called wrongly" } } });
    return { word, [arguments] { return check(*arguments); } };
}
} // namespace arkc
