#include "tools/arkctl/IrCommand.h"
#include "tools/arkctl/Command.h"
#include "tools/arkctl/IrText.h"
#include <QFile>
#include <QSaveFile>

#include <cstdio>
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
    std::printf("%s: %zu codes, IR channels are the code numbers + %d\n", filePath.c_str(), contents.records.size(),
                IrFile::kFirstChannel);
    return Outcome::Done;
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
    const QByteArray text = IrText::written(*contents);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    return std::fflush(stdout) == 0 ? Outcome::Done : Outcome::Failed;
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
    const auto arguments = std::make_shared<IrArguments>();
    CLI::App *const build = word->add_subcommand("build", "Make an IR code file from its readable form");
    build->add_option("TEXT", arguments->inputPath, "A code a line: NUMBER \"NAME\" BYTES in hexadecimal")->required();
    build->add_option("-o", arguments->outputPath, "The file to make: ir1.ir to ir8.ir by emitter")
        ->type_name("FILE")
        ->required();
    CLI::App *const show = word->add_subcommand("show", "Print an IR code file in the form that build reads");
    show->add_option("FILE", arguments->inputPath, "For example ir1.ir")->required();
    const auto run = [build, arguments](const RunOptions &) {
        return *build ? IrCommand::build(arguments->inputPath, arguments->outputPath)
                      : IrCommand::show(arguments->inputPath);
    };
    return { word, run, false };
}
