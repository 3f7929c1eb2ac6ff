#include "tools/arkctl/ListenCommand.h"
#include "tools/arkctl/MonitorCommand.h"
#include "tools/arkctl/PanelCommand.h"
#include <QCoreApplication>
#include <QHostAddress>

#include <CLI/CLI.hpp>

namespace {
struct Arguments
{
    std::string host = "127.0.0.1";
    double timeoutSeconds = 5;
    bool wantsJson = false;
    int device = 0;
    std::vector<std::string> panelWords;
    std::optional<double> watchSeconds;
    std::vector<std::string> listenAddresses;
    int systemNumber = 0;
};

int wrongUse(const std::string &what)
{
    Console::complain(what, "see arkctl --help");
    return static_cast<int>(Outcome::WrongUse);
}

int milliseconds(double seconds)
{
    return static_cast<int>(seconds * 1000);
}

void describe(CLI::App &app, Arguments &arguments)
{
    app.set_version_flag("--version", "arkctl " ARKCTL_VERSION);
    app.add_option("--host", arguments.host, "The controller (127.0.0.1:6139)")->type_name("ADDRESS[:PORT]");
    app.add_option("--timeout", arguments.timeoutSeconds, "How long to wait for an answer (5)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 3600.0));
    app.fallthrough();
    app.footer("Ends with 0 when all is done, 1 when it failed, 2 when it was called wrongly.\n\n"
               "Examples:\n"
               "  arkctl monitor                                 what the controller reports, until Ctrl-C\n"
               "  arkctl monitor --json --host 192.168.1.2       the same for a program to read\n"
               "  arkctl panel 10001 press 5                     push and release button 5 of panel 10001\n"
               "  arkctl panel 10001 push 5 watch --for 10       then show what the controller sends for 10 s\n"
               "  arkctl panel 10001 level 1 200 watch           move slider 1, then watch until Ctrl-C\n"
               "  arkctl listen add 10.0.0.7                     listen to another controller's ports too\n"
               "  arkctl sysnum 2                                be system number 2 for other controllers");
}

CLI::App *addMonitor(CLI::App &app, Arguments &arguments)
{
    CLI::App *const monitor = app.add_subcommand("monitor", "Show the controller's monitor lines as they come");
    monitor->add_flag("--json", arguments.wantsJson, "One JSON object per line: time, type, name, text");
    return monitor;
}

CLI::App *addPanel(CLI::App &app, Arguments &arguments)
{
    CLI::App *const panel = app.add_subcommand("panel", "Act as a touch panel: one action after the other");
    panel->add_option("DEVICE", arguments.device, "The panel's device number")->required()->check(CLI::Range(1, 65535));
    panel
        ->add_option("ACTION", arguments.panelWords,
                     "push CHANNEL | release CHANNEL | press CHANNEL | level LEVEL VALUE | watch")
        ->required();
    panel->add_option("--for", arguments.watchSeconds, "Watch no longer than this")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    panel->add_flag("--json", arguments.wantsJson, "Show what comes as one JSON object per line");
    return panel;
}

struct ListenWords
{
    CLI::App *listen = nullptr;
    CLI::App *add = nullptr;
    CLI::App *remove = nullptr;
};

ListenWords addListen(CLI::App &app, Arguments &arguments)
{
    ListenWords words;
    words.listen = app.add_subcommand("listen", "Show, or change, the controllers whose ports this one listens to");
    words.listen->require_subcommand(0, 1);
    words.listen->add_flag("--json", arguments.wantsJson, "One JSON object per line: address, status, state");
    words.add = words.listen->add_subcommand("add", "Listen to these too");
    words.remove = words.listen->add_subcommand("remove", "Listen to these no longer");
    for (CLI::App *change : { words.add, words.remove }) {
        change->add_option("ADDRESS", arguments.listenAddresses, "IPv4 addresses")->required();
        change->fallthrough();
    }
    return words;
}

CLI::App *addSystemNumber(CLI::App &app, Arguments &arguments)
{
    CLI::App *const command = app.add_subcommand("sysnum", "Set the controller's system number");
    command->add_option("NUMBER", arguments.systemNumber, "From 1")->required()->check(CLI::Range(1, 65535));
    return command;
}

int runListen(const Arguments &arguments, const ListenWords &words, const RunOptions &options)
{
    ListChange change;
    if (*words.add) {
        change.kind = ListChange::Kind::Add;
    } else if (*words.remove) {
        change.kind = ListChange::Kind::Remove;
    }
    for (const std::string &text : arguments.listenAddresses) {
        const QString address = QString::fromStdString(text);
        const QHostAddress parsed(address);
        if (parsed.protocol() != QAbstractSocket::IPv4Protocol || parsed.toString() != address) {
            return wrongUse("not an IPv4 address: " + text);
        }
        change.addresses << address;
    }
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    return static_cast<int>(ListenCommand(options, change, form, ARKCTL_VERSION).run());
}

int runMonitor(const Arguments &arguments, const RunOptions &options)
{
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    return static_cast<int>(MonitorCommand(options, form, ARKCTL_VERSION).run());
}

int runPanel(const Arguments &arguments, const RunOptions &options)
{
    const auto parsed = parsePanelScript(arguments.panelWords);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return wrongUse(*fault);
    }
    const PanelScript &script = std::get<PanelScript>(parsed);
    if (arguments.watchSeconds && !script.watches) {
        return wrongUse("--for needs the action watch");
    }
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    const auto watchMs = arguments.watchSeconds ? std::optional(milliseconds(*arguments.watchSeconds)) : std::nullopt;
    return static_cast<int>(PanelCommand(options, arguments.device, script, watchMs, form, ARKCTL_VERSION).run());
}
} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Speaks to a controller over its link, as the management tool or as a touch panel.", "arkctl");
    Arguments arguments;
    describe(app, arguments);
    CLI::App *const monitor = addMonitor(app, arguments);
    addPanel(app, arguments);
    const ListenWords listen = addListen(app, arguments);
    CLI::App *const systemNumber = addSystemNumber(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return app.exit(help);
    } catch (const CLI::ParseError &error) {
        return wrongUse(error.what());
    }
    if (app.get_subcommands().empty()) {
        return wrongUse("no command given");
    }
    const std::optional<Endpoint> endpoint = parseEndpoint(QString::fromStdString(arguments.host));
    if (!endpoint) {
        return wrongUse("not an address: " + arguments.host);
    }
    QCoreApplication application(argc, argv);
    const RunOptions options{ *endpoint, milliseconds(arguments.timeoutSeconds) };
    if (*monitor) {
        return runMonitor(arguments, options);
    }
    if (*listen.listen) {
        return runListen(arguments, listen, options);
    }
    if (*systemNumber) {
        return static_cast<int>(SystemNumberCommand(options, arguments.systemNumber, ARKCTL_VERSION).run());
    }
    return runPanel(arguments, options);
}
