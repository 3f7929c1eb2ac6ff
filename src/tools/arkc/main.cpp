#include "compiler/Compiler.h"
#include "compiler/SourceWriter.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace {
enum ExitStatus : int { kDone = 0, kErrorsInSource = 1, kWrongUse = 2 };

constexpr const char *kExamples = R"(
Examples:
  arkc build room.src                     writes room.pobj beside the source
  arkc build room.src -o program.pobj
  arkc check room.src                     the same checks, nothing is written
  arkc check room.src --format json       for editors
  arkc dump program.pobj > room.src       an object file back as source

Exit status: 0 done, 1 errors in the source or in the object file, 2 wrong use.)";

struct Options
{
    std::string input;
    std::string output;
    std::string format = "text";
};

Colour wantedColour()
{
    return isatty(STDERR_FILENO) && !qEnvironmentVariableIsSet("NO_COLOR") ? Colour::Yes : Colour::No;
}

std::string utf8(const QString &text)
{
    return text.toStdString();
}

int complain(const QString &text, int status)
{
    std::cerr << "arkc: " << utf8(text) << '\n';
    return status;
}

void printText(const CompileResult &result)
{
    for (const Diagnostic &diagnostic : result.diagnostics) {
        std::cerr << utf8(textOf(diagnostic, wantedColour()));
    }
    const int errors = errorCount(result.diagnostics);
    const int warnings = static_cast<int>(result.diagnostics.size()) - errors;
    const auto counted = [](int count, const char *word) {
        return std::to_string(count) + ' ' + word + (count == 1 ? "" : "s");
    };
    if (errors + warnings > 0) {
        std::cerr << counted(errors, "error") << ", " << counted(warnings, "warning") << '\n';
    }
}

void printJson(const CompileResult &result)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Diagnostic &diagnostic : result.diagnostics) {
        list.push_back({ { "file", utf8(diagnostic.file) },
                         { "line", diagnostic.line },
                         { "column", diagnostic.column },
                         { "severity", diagnostic.isError() ? "error" : "warning" },
                         { "message", utf8(diagnostic.message) } });
    }
    std::cout << nlohmann::ordered_json{ { "diagnostics", list } }.dump(2) << '\n';
}

CompileResult compileAndReport(const Options &options)
{
    CompileResult result = compileFile(QString::fromStdString(options.input));
    if (options.format == "json") {
        printJson(result);
    } else {
        printText(result);
    }
    return result;
}

/// The output takes its place whole, or not at all.
bool writeWhole(const QString &path, const QByteArray &bytes, QString &problem)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit()) {
        return true;
    }
    problem = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
    return false;
}

int build(const Options &options)
{
    const QString input = QString::fromStdString(options.input);
    QString output = QString::fromStdString(options.output);
    if (output.isEmpty()) {
        const QFileInfo source(input);
        output = source.path() + QLatin1Char('/') + source.completeBaseName() + QStringLiteral(".pobj");
    }
    if (QFileInfo(output).absoluteFilePath() == QFileInfo(input).absoluteFilePath()) {
        return complain(QStringLiteral("the output would overwrite the source"), kWrongUse);
    }
    const CompileResult result = compileAndReport(options);
    if (!result.isGood()) {
        return kErrorsInSource;
    }
    QString problem;
    return writeWhole(output, result.objectFile, problem) ? kDone : complain(problem, kWrongUse);
}

int check(const Options &options)
{
    return compileAndReport(options).isGood() ? kDone : kErrorsInSource;
}

int dump(const Options &options)
{
    const QString input = QString::fromStdString(options.input);
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly)) {
        return complain(QStringLiteral("cannot read %1: %2").arg(input, file.errorString()), kErrorsInSource);
    }
    const SourceText source = sourceOf(file.readAll());
    if (!source.problem.isEmpty()) {
        return complain(QStringLiteral("%1: %2").arg(input, source.problem), kErrorsInSource);
    }
    if (options.output.empty()) {
        std::cout << utf8(source.text);
        return kDone;
    }
    QString problem;
    return writeWhole(QString::fromStdString(options.output), source.text.toUtf8(), problem)
               ? kDone
               : complain(problem, kWrongUse);
}
int run(int argc, char **argv)
{
    CLI::App app("arkc: compiles control programs into object files, and back into source.");
    app.footer(kExamples);
    app.require_subcommand(1);
    app.set_version_flag("--version", "arkc " ARKC_VERSION);
    Options options;

    CLI::App *const buildCommand = app.add_subcommand("build", "compile a source into an object file");
    buildCommand->add_option("source", options.input, "the source file")->required();
    buildCommand->add_option("-o,--output", options.output, "the object file (default: the source's name with .pobj)");
    CLI::App *const checkCommand = app.add_subcommand("check", "report errors and warnings, write nothing");
    checkCommand->add_option("source", options.input, "the source file")->required();
    for (CLI::App *const command : { buildCommand, checkCommand }) {
        command->add_option("--format", options.format, "text, or json on standard output")
            ->check(CLI::IsMember({ "text", "json" }));
    }
    CLI::App *const dumpCommand = app.add_subcommand("dump", "write an object file as source");
    dumpCommand->add_option("program", options.input, "the object file")->required();
    dumpCommand->add_option("-o,--output", options.output, "the source file (default: standard output)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kDone : kWrongUse;
    }
    if (buildCommand->parsed()) {
        return build(options);
    }
    return checkCommand->parsed() ? check(options) : dump(options);
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    try {
        return run(argc, argv);
    } catch (const std::exception &error) { // of the libraries
        std::fprintf(stderr, "arkc: %s\n", error.what());
        return kWrongUse;
    }
}
