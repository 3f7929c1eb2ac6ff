#include "compiler/format/Formatter.h"
#include "tools/arkc/Command.h"
#include "tools/arkc/Files.h"
#include "tools/arkc/LineDiff.h"
#include "tools/arkc/Report.h"

#include <QFileInfo>

namespace arkc {
namespace {
struct FormatArguments
{
    std::vector<std::string> sources;
    std::string standardInputName;
    bool checks = false;
    bool showsDiff = false;

    bool leavesFiles() const { return checks || showsDiff; }
};

/// What is done with a file's new form.
Outcome deliver(const FormatArguments &arguments, const QString &path, const Input &input, const QByteArray &formatted)
{
    const bool isChanged = formatted != input.bytes;
    if (arguments.leavesFiles()) {
        QByteArray text;
        if (isChanged && arguments.showsDiff) {
            text = lineDiff(QString::fromUtf8(input.bytes), QString::fromUtf8(formatted), input.name).toUtf8();
        } else if (isChanged) {
            text = input.name.toUtf8() + '\n';
        }
        return print(text) && !isChanged ? Outcome::Done : Outcome::Failed;
    }
    if (path == kStandardInput) {
        return print(formatted) ? Outcome::Done : Outcome::WrongUse;
    }
    return !isChanged || writeFile(path, formatted) ? Outcome::Done : Outcome::WrongUse;
}

Outcome formatOne(const FormatArguments &arguments, const QString &path)
{
    const Input input = readInput(path, QString::fromStdString(arguments.standardInputName));
    Report report(Report::Form::Text);
    if (const auto problem = sourceProblem(input, Emptiness::Allowed)) {
        report.add({ *problem });
        return Outcome::Failed;
    }
    if (path != kStandardInput && !arguments.leavesFiles() && !QFileInfo(path).isFile()) {
        complain(QStringLiteral("%1 is no plain file").arg(path), QStringLiteral("- reads standard input"));
        return Outcome::WrongUse;
    }
    const FormattedBytes formatted = formatBytes(input.bytes, input.name);
    report.add(formatted.diagnostics);
    return formatted.isGood() ? deliver(arguments, path, input, formatted.bytes) : Outcome::Failed;
}

Outcome format(const FormatArguments &arguments)
{
    Outcome outcome = Outcome::Done;
    for (const std::string &source : arguments.sources) {
        outcome = worse(outcome, formatOne(arguments, QString::fromStdString(source)));
    }
    return outcome;
}
} // namespace

Command formatCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("fmt", "Lay out sources in the one common way");
    const auto arguments = std::make_shared<FormatArguments>();
    word->add("SOURCE", arguments->sources,
              "Source files, rewritten in place; - reads standard input and writes standard output")
        .required()
        .files({ "src" });
    word->addFlag("--check", arguments->checks, "Change nothing; print the names of the files that would change");
    word->addFlag("--diff", arguments->showsDiff, "Change nothing; print what would change");
    word->add("--stdin-name", arguments->standardInputName, "The name of standard input in messages").named("FILE");
    word->explain({ "Changes blanks, line ends, the case of keywords and semicolons at line ends, so a program "
                    "compiles to the same bytes; comments stay. A file whose brackets do not match is left "
                    "as it is.",
                    { { "arkc fmt room.src projector.src", "rewrites both" },
                      { "arkc fmt --check *.src", "names those that would change" },
                      { "arkc fmt --diff room.src", "shows what would change" },
                      { "arkc fmt - < room.src", "for editors" } },
                    {},
                    { { "0", "done, or nothing would change" },
                      { "1", "one would change, cannot be read or is refused" },
                      { "2", "called wrongly, or a file cannot be written" } } });
    return { word, [arguments] { return format(*arguments); } };
}
} // namespace arkc
