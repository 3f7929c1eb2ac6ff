#include "tools/arkctl/commands/IrCommand.h"
#include "devices/linux/InfraredReceiver.h"
#include "tools/arkctl/Command.h"
#include "tools/arkctl/IrText.h"

#include <QEventLoop>
#include <QFile>
#include <QSaveFile>

#include <optional>
#include <set>

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

bool save(const QByteArray &bytes, const std::string &filePath) // whole, or not at all
{
    QSaveFile file(QString::fromStdString(filePath));
    const bool isSaved = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    if (!isSaved) {
        Console::complain("cannot write " + filePath + ": " + file.errorString().toStdString(), "check the folder");
    }
    return isSaved;
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
    if (!save(IrFile::written(contents), filePath)) {
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
/// "Power on", or "5=Power on" with its code number; without one it is the next.
std::optional<IrFile::Record> recordNamed(const std::string &text, int next)
{
    const QString name = QString::fromStdString(text);
    IrFile::Record record;
    bool isNumber = false;
    record.codeNumber = name.section(QLatin1Char('='), 0, 0).toInt(&isNumber);
    record.name = isNumber && name.contains(QLatin1Char('=')) ? name.section(QLatin1Char('='), 1) : name;
    if (record.name.size() == name.size()) {
        record.codeNumber = next;
    }
    const bool fits = record.codeNumber >= 0 && record.codeNumber <= IrFile::kLastCodeNumber;
    return fits ? std::optional(record) : std::nullopt;
}

/// The next code that the device hears; nothing when the device goes away, or somebody interrupts.
std::optional<IrCode> heard(InfraredReceiver &receiver, Console &console)
{
    std::optional<IrCode> code;
    QEventLoop loop;
    QObject::connect(&receiver, &InfraredReceiver::learned, &loop, [&](const IrCode &each) {
        code = each;
        loop.quit();
    });
    QObject::connect(&receiver, &InfraredReceiver::lost, &loop, [&](const QString &reason) {
        Console::complain("the infrared device has gone: " + reason.toStdString(), "plug it in and start again");
        loop.quit();
    });
    QObject::connect(&console, &Console::stopRequested, &loop, &QEventLoop::quit);
    loop.exec();
    return code;
}
} // namespace

Outcome IrCommand::learn(const Remote &remote, const std::string &filePath, const std::vector<std::string> &names)
{
    IrFile::Contents contents;
    std::set<int> numbers;
    for (const std::string &each : names) {
        const auto record = recordNamed(each, contents.records.empty() ? 0 : contents.records.back().codeNumber + 1);
        if (!record || !numbers.insert(record->codeNumber).second) {
            return wrongUse("no code number of its own from 0 to 255: " + each);
        }
        contents.records.push_back(*record);
    }
    Console console;
    InfraredReceiver receiver(QString::fromStdString(remote.device), remote.carrierHz);
    if (const std::optional<QString> reason = receiver.open()) {
        Console::complain(reason->toStdString(), "ls /dev/lirc* shows those of this machine");
        return Outcome::Failed;
    }
    for (IrFile::Record &record : contents.records) {
        console.print("Press \"" + record.name.toStdString() + "\" for a moment.");
        const std::optional<IrCode> code = heard(receiver, console);
        if (!code) {
            return Outcome::Failed; // nothing is written
        }
        record.code = code->written();
        console.print("  " + std::to_string(code->once.size()) + " durations at " + std::to_string(code->carrierHz) +
                      " Hz");
    }
    const bool isBinary = QString::fromStdString(filePath).endsWith(QLatin1String(".ir"));
    return save(isBinary ? IrFile::written(contents) : IrText::written(contents), filePath) ? Outcome::Done
                                                                                            : Outcome::Failed;
}

namespace {
struct IrArguments
{
    std::string inputPath;
    std::string outputPath;
    IrCommand::Remote remote;
    std::vector<std::string> names;
};
} // namespace

Command irCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("ir", "Make and show IR code files (needs no controller)");
    word->needsWord();
    word->explain({ "The readable form has a code in each line, for example: 5 \"Power on\" nec 0x04FB. "
                    "A code is a scancode (nec, necx, rc5, rc6, rc6-mce, sony12, sony15 or sony20 and a "
                    "hexadecimal number), Pronto hex (pronto 0000 006D ...), pulses and spaces behind their "
                    "carrier (raw 38000 9000 4500 560), or an emitter's own bytes (00 6D 22 02).",
                    { { "arkctl ir build tv.txt -o ir1.ir", "then: arkctl upload ir1.ir" },
                      { "arkctl ir learn -o tv.txt \"Power on\" \"Power off\"", "from a remote control" },
                      { "arkctl ir show ir1.ir > tv.txt", "back again" } } });
    const auto arguments = std::make_shared<IrArguments>();
    CommandLine::Word *const build = word->addWord("build", "Make an IR code file from its readable form");
    build->add("TEXT", arguments->inputPath, "A code a line: NUMBER \"NAME\" CODE").required().files();
    build->add("-o", arguments->outputPath, "The file to make: ir1.ir to ir8.ir by emitter")
        .named("FILE")
        .required()
        .files({ "ir" });
    CommandLine::Word *const show = word->addWord("show", "Print an IR code file in the form that build reads");
    show->add("FILE", arguments->inputPath, "For example ir1.ir").required().files({ "ir" });
    CommandLine::Word *const learn = word->addWord("learn", "Learn the codes of a remote control, button by button");
    learn->add("--device", arguments->remote.device, "The infrared receiver of this machine (/dev/lirc0)")
        .named("FILE");
    learn->add("--carrier", arguments->remote.carrierHz, "The carrier of the remote control (38000)")
        .named("HZ")
        .between(10000, 1000000);
    learn->add("-o", arguments->outputPath, "The file to make: in the form that build reads, or NAME.ir")
        .named("FILE")
        .required();
    learn->add("NAME", arguments->names, "What to call each button; \"5=Power on\" with its code number").required();
    const auto run = [build, learn, arguments](const RunOptions &) {
        if (learn->isGiven()) {
            return IrCommand::learn(arguments->remote, arguments->outputPath, arguments->names);
        }
        return build->isGiven() ? IrCommand::build(arguments->inputPath, arguments->outputPath)
                                : IrCommand::show(arguments->inputPath);
    };
    return { word, run, false };
}
