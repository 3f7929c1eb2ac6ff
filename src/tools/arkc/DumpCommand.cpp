#include "compiler/SourceWriter.h"
#include "tools/arkc/Command.h"
#include "tools/arkc/Files.h"

namespace arkc {
namespace {
struct DumpArguments
{
    std::string program;
    std::string output;
};

Outcome dump(const DumpArguments &arguments)
{
    const Input input = readInput(QString::fromStdString(arguments.program));
    if (!input.problem.isEmpty()) {
        std::fprintf(stderr, "arkc: %s %s\n", input.name.toUtf8().constData(), input.problem.toUtf8().constData());
        return Outcome::Failed;
    }
    const SourceText source = sourceOf(input.bytes);
    if (!source.problem.isEmpty()) {
        complain(QStringLiteral("%1: %2").arg(input.name, source.problem),
                 sourceProblem(input, Emptiness::Refused)
                     ? QStringLiteral("name a file that arkc build has made")
                     : QStringLiteral("it looks like a source: arkc build compiles it, arkc check checks it"));
        return Outcome::Failed;
    }
    if (arguments.output.empty()) {
        return print(source.text.toUtf8()) ? Outcome::Done : Outcome::WrongUse;
    }
    return writeFile(QString::fromStdString(arguments.output), source.text.toUtf8()) ? Outcome::Done
                                                                                     : Outcome::WrongUse;
}
} // namespace

Command dumpCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("dump", "Write an object file as source");
    const auto arguments = std::make_shared<DumpArguments>();
    word->add("PROGRAM", arguments->program, "The object file; - is standard input").required().files({ "pobj" });
    word->add("-o,--output", arguments->output, "The source file (standard output)").named("FILE").files({ "src" });
    word->explain({ "What arkc has built comes back to the same bytes when it is built again. What the source "
                    "form has no words for stands in comments.",
                    { { "arkc dump program.pobj", "on standard output" },
                      { "arkc dump program.pobj -o room.src", "into a file" } },
                    {},
                    { { "0", "the source is written" },
                      { "1", "the file cannot be read, or is no object file" },
                      { "2", "called wrongly, or the source cannot be written" } } });
    return { word, [arguments] { return dump(*arguments); } };
}
} // namespace arkc
