#include "compiler/Compiler.h"
#include "compiler/Sources.h"
#include "tools/arkc/Command.h"
#include "tools/arkc/Files.h"
#include "tools/arkc/Report.h"

#include <QFileInfo>

#include <algorithm>

namespace arkc {
namespace {
struct BuildArguments
{
    std::string source;
    std::string output;
    std::string format = "text";
    bool withoutPlaces = false;
};

QString besideSource(const QString &source)
{
    const QFileInfo info(source);
    return info.path() + QLatin1Char('/') + info.completeBaseName() + QStringLiteral(".pobj");
}

bool areSame(const QString &one, const QString &other)
{
    const QFileInfo first(one);
    const QFileInfo second(other);
    return first.absoluteFilePath() == second.absoluteFilePath() ||
           (first.exists() && first.canonicalFilePath() == second.canonicalFilePath());
}

Outcome refuseOutput(const QString &output)
{
    complain(QStringLiteral("the output %1 would overwrite the source").arg(output),
             QStringLiteral("name another with -o"));
    return Outcome::WrongUse;
}

Outcome build(const BuildArguments &arguments)
{
    const QString source = QString::fromStdString(arguments.source);
    if (source == kStandardInput && arguments.output.empty()) {
        return wrongUse("standard input has no name for the object file: give one with -o");
    }
    const QString output = arguments.output.empty() ? besideSource(source) : QString::fromStdString(arguments.output);
    if (areSame(source, output)) {
        return refuseOutput(output);
    }
    const Input input = readInput(source);
    Report report(formOf(arguments.format));
    CompileResult result;
    if (const auto problem = sourceProblem(input, Emptiness::Refused)) {
        result.diagnostics = { *problem };
    } else {
        result = compileSource(decodeSource(input.bytes).text, input.name);
    }
    report.add(result.diagnostics);
    if (!report.finish() || !result.isGood()) {
        return Outcome::Failed;
    }
    const auto isOutput = [&output](const QString &read) { return areSame(read, output); };
    if (std::any_of(result.files.begin(), result.files.end(), isOutput)) { // one that is included
        return refuseOutput(output);
    }
    const QByteArray places = arguments.withoutPlaces ? QByteArray() : result.places;
    return writeFile(output, result.objectFile + places) ? Outcome::Done : Outcome::WrongUse;
}
} // namespace

Command buildCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("build", "Compile a source into an object file");
    const auto arguments = std::make_shared<BuildArguments>();
    word->add("SOURCE", arguments->source,
              "The source file, - for standard input; what it includes is looked for beside it")
        .required()
        .files({ "src" });
    word->add("-o,--output", arguments->output, "The object file (the source's name with .pobj)")
        .named("FILE")
        .files({ "pobj" });
    word->addFlag("--no-places", arguments->withoutPlaces,
                  "Leave out where its statements stand: errors of the running program then name no line");
    addFormatOption(*word, arguments->format);
    word->explain({ "Reports errors and warnings. The object file is replaced only when there is no error.",
                    { { "arkc build room.src", "writes room.pobj beside the source" },
                      { "arkc build room.src -o program.pobj", "writes it elsewhere" } },
                    {},
                    { { "0", "the object file is written" },
                      { "1", "the source has errors or cannot be read" },
                      { "2", "called wrongly, or the object file cannot be written" } } });
    return { word, [arguments] { return build(*arguments); } };
}
} // namespace arkc
