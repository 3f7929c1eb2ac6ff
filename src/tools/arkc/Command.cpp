#include "tools/arkc/Command.h"
#include "base/StandardStreams.h"

#include <QCoreApplication>

namespace arkc {
std::vector<Command> describeCommandLine(CommandLine::Word &app)
{
    app.introduce("arkc", "Compiles control programs, checks and lays out their sources");
    app.explain({ "Sources become object files, which a controller runs, and object files become sources again.",
                  { { "arkc build room.src", "writes room.pobj beside the source" },
                    { "arkc check room.src", "the same checks, nothing is written" },
                    { "arkc fmt room.src projector.src", "the sources in the one common layout" },
                    { "arkc dump program.pobj > room.src", "an object file back as source" } },
                  {},
                  { { "0", "done" },
                    { "1", "a source has errors, or a file cannot be read" },
                    { "2", "called wrongly, or the result cannot be written" } },
                  { { "arkctl", "1" }, { "arkivon", "8" } } });
    app.addVersion();
    app.needsWord(false);
    return { buildCommand(app), checkCommand(app), dumpCommand(app), formatCommand(app), lspCommand(app) };
}

Outcome wrongUse(const std::string &what)
{
    complain(QString::fromStdString(what), QStringLiteral("see arkc --help"));
    return Outcome::WrongUse;
}
int run(int argc, char **argv)
{
    keepStandardStreams();
    CommandLine::Word app;
    const std::vector<Command> commands = describeCommandLine(app);
    const auto refuse = [](const std::string &what) { return static_cast<int>(wrongUse(what)); };
    if (const std::optional<int> status = CommandLine::parse(app, argc, argv, refuse)) {
        return *status;
    }
    QCoreApplication application(argc, argv);
    for (const Command &command : commands) {
        if (command.word->isGiven()) {
            return static_cast<int>(command.run());
        }
    }
    return static_cast<int>(wrongUse("no command given"));
}
} // namespace arkc
