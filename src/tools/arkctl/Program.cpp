#include "tools/arkctl/Program.h"
#include "base/StandardStreams.h"

#include <QCoreApplication>

namespace {
constexpr auto kAllCommands = {
    monitorCommand,  panelCommand,        infoCommand,   discoverCommand, networkCommand, macCommand,
    dateTimeCommand, systemNumberCommand, listenCommand, rebootCommand,   uploadCommand,  downloadCommand,
    portTestCommand, irCommand,           portsCommand,  traceCommand,    whyCommand,     getCommand,
    setCommand,      watchCommand,        varsCommand,
};

CommandLine::Explanation explanation()
{
    return {
        {},
        { { "arkctl discover", "which controllers are there" },
          { "arkctl --host 192.168.1.2 monitor", "what one of them does" },
          { "arkctl upload room.pobj", "give it a program" } },
        {},
        { { "0", "done" }, { "1", "failed" }, { "2", "called wrongly" } },
        { { "arkivon", "8" }, { "arkc", "1" } },
    };
}

Outcome run(const Command &command, const CommonOptions &common)
{
    if (!command.needsController) {
        return command.run({});
    }
    const std::optional<Endpoint> endpoint = parseEndpoint(QString::fromStdString(common.host));
    if (!endpoint) {
        return wrongUse("not an address such as 10.0.0.5 or 10.0.0.5:6139: \"" + common.host + '"');
    }
    return command.run({ *endpoint, static_cast<int>(common.timeoutSeconds * 1000) });
}
} // namespace

std::vector<Command> describeProgram(CommandLine::Word &app, CommonOptions &common)
{
    app.introduce("arkctl", "Speaks to a controller over its link, as the management tool or as a touch panel");
    app.explain(explanation());
    app.addVersion();
    app.add("--host", common.host, "The controller (127.0.0.1:6139)").named("ADDRESS[:PORT]");
    app.add("--timeout", common.timeoutSeconds, "How long to wait for an answer (5)")
        .named("SECONDS")
        .between(0.1, 3600);
    app.takesOptionsAbove();
    app.needsWord(false);
    std::vector<Command> commands;
    for (const auto describeCommand : kAllCommands) {
        commands.push_back(describeCommand(app));
    }
    return commands;
}

int runProgram(int argc, char **argv)
{
    keepStandardStreams();
    CommandLine::Word app;
    CommonOptions common;
    const std::vector<Command> commands = describeProgram(app, common);
    const auto refuse = [](const std::string &what) { return static_cast<int>(wrongUse(what)); };
    if (const std::optional<int> status = CommandLine::parse(app, argc, argv, refuse)) {
        return *status;
    }
    QCoreApplication application(argc, argv);
    for (const Command &command : commands) {
        if (command.word->isGiven()) {
            return static_cast<int>(run(command, common));
        }
    }
    return static_cast<int>(wrongUse("no command given"));
}
