#include "tools/arkctl/MonitorCommand.h"
#include "tools/arkctl/PanelCommand.h"
#include "tools/arkctl/TransferCommands.h"
#include <QCoreApplication>
#include <QFile>

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
    std::vector<std::string> uploadFiles;
    std::optional<int> irNumber;
    std::string downloadKind;
    std::string outputFile;
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
               "  arkctl upload room.pobj site.zip               send files; the controller restarts with the program\n"
               "  arkctl download source -o room.src             fetch the source file");
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

CLI::App *addUpload(CLI::App &app, Arguments &arguments)
{
    CLI::App *const upload = app.add_subcommand("upload", "Send files: a program, its source, a panel design, a web "
                                                          "archive, infrared codes");
    upload->add_option("FILE", arguments.uploadFiles, ".pobj, .src, .dtp, .zip or .ir; what each is, its suffix says")
        ->required();
    upload->add_option("--ir", arguments.irNumber, "Which infrared code file, where the name does not end in it")
        ->type_name("NUMBER")
        ->check(CLI::Range(1, 8));
    upload->add_flag("--json", arguments.wantsJson, "One JSON object per file: file, state, bytes, seconds, text");
    return upload;
}

CLI::App *addDownload(CLI::App &app, Arguments &arguments)
{
    CLI::App *const download = app.add_subcommand("download", "Fetch a file that was sent before");
    download->add_option("KIND", arguments.downloadKind, "source | ui | ir1 to ir8")->required();
    download
        ->add_option("-o,--output", arguments.outputFile,
                     "Write it there, in place of an older one (source.src, ui.dtp, ir1.ir: only a new one)")
        ->type_name("FILE");
    download->add_flag("--json", arguments.wantsJson, "A JSON object: file, state, bytes, seconds, text");
    return download;
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

int runUpload(const Arguments &arguments, const RunOptions &options)
{
    auto plan = planUploads(arguments.uploadFiles, arguments.irNumber);
    if (const auto *fault = std::get_if<std::string>(&plan)) {
        return wrongUse(*fault);
    }
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    auto items = std::move(std::get<std::vector<UploadItem>>(plan));
    return static_cast<int>(UploadCommand(options, std::move(items), form, ARKCTL_VERSION).run());
}

int runDownload(const Arguments &arguments, const RunOptions &options)
{
    const std::optional<DownloadItem> item = planDownload(arguments.downloadKind);
    if (!item) {
        return wrongUse("nothing to download is called " + arguments.downloadKind);
    }
    const QString path = QFile::decodeName(arguments.outputFile.c_str());
    if (path.isEmpty() && QFile::exists(item->fileName)) {
        return wrongUse(item->fileName.toStdString() + " is here already: -o " + item->fileName.toStdString() +
                        " replaces it");
    }
    const auto form = arguments.wantsJson ? Rendering::Form::Json : Rendering::Form::Text;
    return static_cast<int>(
        DownloadCommand(options, *item, path.isEmpty() ? item->fileName : path, form, ARKCTL_VERSION).run());
}
} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Speaks to a controller over its link, as the management tool or as a touch panel.", "arkctl");
    Arguments arguments;
    describe(app, arguments);
    CLI::App *const monitor = addMonitor(app, arguments);
    addPanel(app, arguments);
    CLI::App *const upload = addUpload(app, arguments);
    CLI::App *const download = addDownload(app, arguments);
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
    if (*upload) {
        return runUpload(arguments, options);
    }
    if (*download) {
        return runDownload(arguments, options);
    }
    return *monitor ? runMonitor(arguments, options) : runPanel(arguments, options);
}
