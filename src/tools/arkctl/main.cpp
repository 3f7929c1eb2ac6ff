#include "tools/arkctl/IrCommand.h"
#include "tools/arkctl/MonitorCommand.h"
#include "tools/arkctl/PanelCommand.h"
#include "tools/arkctl/PortTestCommand.h"
#include <QCoreApplication>

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
    std::vector<std::string> portTestWords;
    std::vector<std::string> texts;
    std::string inputPath;
    std::string outputPath;
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
               "  arkctl ir build projector.txt -o ir1.ir        an IR code file from its readable form\n"
               "  arkctl porttest tcp-client 10.0.0.9 23         can the controller reach that device?");
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

CLI::App *addPortTest(CLI::App &app, Arguments &arguments)
{
    CLI::App *const portTest =
        app.add_subcommand("porttest", "Let the controller be a client or server, to check a network");
    portTest
        ->add_option("TEST", arguments.portTestWords,
                     "tcp-client HOST PORT | tcp-server PORT | udp-client HOST PORT | udp-server PORT")
        ->required();
    portTest->add_option("--send", arguments.texts, "Send this once it works; \\r \\n \\t \\xHH stand for bytes")
        ->type_name("TEXT")
        ->allow_extra_args(false);
    portTest->add_option("--for", arguments.watchSeconds, "End after this; else at Ctrl-C or when the peer hangs up")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    portTest->add_flag("--json", arguments.wantsJson, "One JSON object per line: time, event, text, hex");
    return portTest;
}

CLI::App *addIr(CLI::App &app, Arguments &arguments)
{
    CLI::App *const ir = app.add_subcommand("ir", "Make and show IR code files (needs no controller)");
    ir->require_subcommand(1);
    CLI::App *const build = ir->add_subcommand("build", "Make an IR code file from its readable form");
    build->add_option("TEXT", arguments.inputPath, "A code a line: NUMBER \"NAME\" BYTES in hexadecimal")->required();
    build->add_option("-o", arguments.outputPath, "The file to make: ir1.ir to ir8.ir by emitter")
        ->type_name("FILE")
        ->required();
    CLI::App *const show = ir->add_subcommand("show", "Print an IR code file in the form that build reads");
    show->add_option("FILE", arguments.inputPath, "For example ir1.ir")->required();
    return ir;
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

int runIr(const CLI::App &ir, const Arguments &arguments)
{
    return static_cast<int>(ir.got_subcommand("build") ? IrCommand::build(arguments.inputPath, arguments.outputPath)
                                                       : IrCommand::show(arguments.inputPath));
}

int runPortTest(const Arguments &arguments, const RunOptions &options)
{
    auto parsed = parsePortTest(arguments.portTestWords, arguments.texts);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return wrongUse(*fault);
    }
    PortTestPlan &plan = std::get<PortTestPlan>(parsed);
    plan.watchMs = arguments.watchSeconds ? std::optional(milliseconds(*arguments.watchSeconds)) : std::nullopt;
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    return static_cast<int>(PortTestCommand(options, plan, form, ARKCTL_VERSION).run());
}
} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Speaks to a controller over its link, as the management tool or as a touch panel.", "arkctl");
    Arguments arguments;
    describe(app, arguments);
    CLI::App *const monitor = addMonitor(app, arguments);
    CLI::App *const portTest = addPortTest(app, arguments);
    CLI::App *const ir = addIr(app, arguments);
    addPanel(app, arguments);
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
    if (*ir) {
        return runIr(*ir, arguments);
    }
    const std::optional<Endpoint> endpoint = parseEndpoint(QString::fromStdString(arguments.host));
    if (!endpoint) {
        return wrongUse("not an address: " + arguments.host);
    }
    QCoreApplication application(argc, argv);
    const RunOptions options{ *endpoint, milliseconds(arguments.timeoutSeconds) };
    if (*portTest) {
        return runPortTest(arguments, options);
    }
    return *monitor ? runMonitor(arguments, options) : runPanel(arguments, options);
}
