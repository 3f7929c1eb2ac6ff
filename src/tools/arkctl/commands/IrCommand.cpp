#include "tools/arkctl/commands/IrCommand.h"
#include "tools/arkctl/Command.h"
#include "tools/arkctl/IrText.h"

#include <CLI/CLI.hpp>
#include <QFile>
#include <QSaveFile>

#include <optional>

namespace {
std::optional<QByteArray> contentsOf(const std::string &path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        Console::complain("cannot read " + path + ": " + file.errorString().toStdString(), "check its name");
        return std::nullopt;
    }
    return file.readAll();
}

Outcome outcomeOf(Console::Written written)
{
    return written == Console::Written::Failed ? Outcome::Failed : Outcome::Done;
}
} // namespace

Outcome IrCommand::build(const std::string &textPath, const std::string &filePath)
{
    const std::optional<QByteArray> text = contentsOf(textPath);
    if (!text) {
        return Outcome::Failed;
    }
    const auto parsed = IrText::parse(*text);
    if (const auto *fault = std::get_if<IrText::Fault>(&parsed)) {
        Console::complain(textPath + ":" + std::to_string(fault->line) + ": " + fault->what,
                          R"(a line reads like this: 5 "Power on" 00 6D 22 02)");
        return Outcome::Failed;
    }
    const IrFile::Contents &contents = std::get<IrFile::Contents>(parsed);
    QSaveFile file(QString::fromStdString(filePath));
    const QByteArray bytes = IrFile::written(contents);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        Console::complain("cannot write " + filePath + ": " + file.errorString().toStdString(), "check the folder");
        return Outcome::Failed;
    }
    return outcomeOf(Console::write(filePath + ": " + std::to_string(contents.records.size()) +
                                    " codes, IR channels are the code numbers + " +
                                    std::to_string(IrFile::kFirstChannel) + '\n'));
}

Outcome IrCommand::show(const std::string &filePath)
{
    const std::optional<QByteArray> bytes = contentsOf(filePath);
    if (!bytes) {
        return Outcome::Failed;
    }
    const std::optional<IrFile::Contents> contents = IrFile::read(*bytes);
    if (!contents) {
        Console::complain(filePath + " is no IR code file, or damaged", "arkctl ir build makes one");
        return Outcome::Failed;
    }
    return outcomeOf(Console::write(IrText::written(*contents).toStdString()));
}

namespace {
struct IrArguments
{
    std::string inputPath;
    std::string outputPath;
};
} // namespace

Command irCommand(CLI::App &app)
{
    CLI::App *const word = app.add_subcommand("ir", "Make and show IR code files (needs no controller)");
    word->require_subcommand(1);
    CommandLine::explain(*word, { R"(The readable form has a code in each line, for example: 5 "Power on" 00 6D 22 02)",
                                  { { "arkctl ir build tv.txt -o ir1.ir", "then: arkctl upload ir1.ir" },
                                    { "arkctl ir show ir1.ir > tv.txt", "back again" } } });
    const auto arguments = std::make_shared<IrArguments>();
    CLI::App *const build = word->add_subcommand("build", "Make an IR code file from its readable form");
    build->add_option("TEXT", arguments->inputPath, "A code a line: NUMBER \"NAME\" BYTES in hexadecimal")
        ->required()
        ->check(CommandLine::files());
    build->add_option("-o", arguments->outputPath, "The file to make: ir1.ir to ir8.ir by emitter")
        ->type_name("FILE")
        ->required()
        ->check(CommandLine::files({ "ir" }));
    CLI::App *const show = word->add_subcommand("show", "Print an IR code file in the form that build reads");
    show->add_option("FILE", arguments->inputPath, "For example ir1.ir")
        ->required()
        ->check(CommandLine::files({ "ir" }));
    const auto run = [build, arguments](const RunOptions &) {
        return *build ? IrCommand::build(arguments->inputPath, arguments->outputPath)
                      : IrCommand::show(arguments->inputPath);
    };
    return { word, run, false };
}
