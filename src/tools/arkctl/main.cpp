#include "tools/arkctl/Command.h"
#include <QCoreApplication>

namespace {
constexpr auto kAllCommands = {
    monitorCommand, panelCommand,    infoCommand,         discoverCommand, networkCommand,
    macCommand,     dateTimeCommand, systemNumberCommand, listenCommand,   rebootCommand,
    uploadCommand,  downloadCommand, portTestCommand,     irCommand,
};

struct Common
{
    std::string host = "127.0.0.1";
    double timeoutSeconds = 5;
};

void describe(CLI::App &app, Common &common)
{
    app.set_version_flag("--version", "arkctl " ARKCTL_VERSION);
    app.add_option("--host", common.host, "The controller (127.0.0.1:6139)")->type_name("ADDRESS[:PORT]");
    app.add_option("--timeout", common.timeoutSeconds, "How long to wait for an answer (5)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 3600.0));
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.footer("Ends with 0 when all is done, 1 when it failed, 2 when it was called wrongly.\n\n"
               "Examples:\n"
               "  arkctl discover                                which controllers are there\n"
               "  arkctl monitor --json --host 192.168.1.2       what one reports, for a program to read\n"
               "  arkctl panel 10001 press 5                     push and release button 5 of panel 10001\n"
               "  arkctl panel 10001 level 1 200 watch           move slider 1, then watch until Ctrl-C\n"
               "  arkctl upload room.pobj site.zip               send files; the controller restarts with the program\n"
               "  arkctl datetime now                            set its clock to this machine's\n"
               "  arkctl listen add 10.0.0.7                     listen to another controller's ports too\n"
               "  arkctl porttest tcp-client 10.0.0.9 23         can the controller reach that device?");
}

Outcome run(const Command &command, const Common &common)
{
    if (!command.needsController) {
        return command.run({});
    }
    const std::optional<Endpoint> endpoint = parseEndpoint(QString::fromStdString(common.host));
    if (!endpoint) {
        return wrongUse("not an address: " + common.host);
    }
    return command.run({ *endpoint, static_cast<int>(common.timeoutSeconds * 1000) });
}
} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Speaks to a controller over its link, as the management tool or as a touch panel.", "arkctl");
    Common common;
    describe(app, common);
    std::vector<Command> commands;
    for (const auto describeCommand : kAllCommands) {
        commands.push_back(describeCommand(app));
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return app.exit(help);
    } catch (const CLI::ParseError &error) {
        return static_cast<int>(wrongUse(error.what()));
    }
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(ARKCTL_VERSION));
    for (const Command &command : commands) {
        if (*command.word) {
            return static_cast<int>(run(command, common));
        }
    }
    return static_cast<int>(wrongUse("no command given"));
}
