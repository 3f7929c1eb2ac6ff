#include "app/Options.h"

#include "app/Translations.h"
#include "base/MonitorHistory.h"
#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

namespace {
constexpr char kLanguages[] = "en and zh_CN";

/// The words of the command line as they stand there.
struct Words
{
    std::vector<std::string> files;
    std::string dataDirectory;
    std::string bind;
    std::string httpPort;
    std::string language;
    std::string historyLines;
    bool hasMonitor = false;
    bool noSystemChanges = false;
};

CommandLine::Explanation explanation()
{
    return {
        R"(Loads a control program and runs it: serves its touch panels, ports, sockets and web pages, and the management
tool. filename is the object file; without one it is program.pobj in the data folder, and without that too the controller
waits for an upload. It runs until SIGTERM or SIGINT; after a new program or a reboot it ends and wants to be started
again, which arkhost does.)",
        { { "arkivon --data-dir /var/lib/room --monitor room.pobj", "" },
          { "arkivon --bind 192.168.1.2 --monitor-history 5000", "" } },
        { { "program.pobj, settings.ini, web/, ...", "in the data folder; docs/operating.md has the list" } },
        { { "0", "it was ended, or is to be started again" }, { "2", "it cannot do what the command line asks for" } },
        { { "arkctl", "1" }, { "arkc", "1" }, { "arkhost", "1" } },
    };
}

/// Given twice, the last one counts.
void addText(CLI::App &app, const char *name, std::string &text, const char *typeName, const char *description,
             const CLI::Validator &hint = CommandLine::suggests({}))
{
    app.add_option(name, text, description)->type_name(typeName)->take_last()->check(hint);
}

void describe(CLI::App &app, Words &words)
{
    app.name("arkivon");
    app.description("Central controller program.");
    CommandLine::explain(app, explanation());
    app.set_version_flag("-v,--version",
                         [] {
                             return (QCoreApplication::applicationName() + QLatin1Char(' ') +
                                     QCoreApplication::applicationVersion())
                                 .toStdString();
                         })
        ->description("Show the version");
    app.add_option("filename", words.files, "Object file full path")->check(CommandLine::files({ "pobj" }));
    addText(app, "--data-dir", words.dataDirectory, "FOLDER", "Keep program, stores and settings there",
            CommandLine::folder());
    addText(app, "--bind", words.bind, "ADDRESS", "Serve on one address only");
    addText(app, "--http-port", words.httpPort, "NUMBER", "Serve web pages on this TCP port; 0 takes a free one");
    addText(app, "--language", words.language, "CODE", "Language of messages: en or zh_CN",
            CommandLine::suggests({ "en", "zh_CN" }));
    app.add_flag("--monitor", words.hasMonitor, "Print monitor lines on standard output too");
    addText(app, "--monitor-history", words.historyLines, "LINES",
            "Keep the newest monitor lines, 10000 at most, for arkctl monitor --since; 0, as without: none");
    app.add_flag("--no-system-changes", words.noSystemChanges, "Never change the system's date or network");
}

OptionsEnd refused(const QString &why)
{
    return { why, kUsageStatus };
}

QString text(const std::string &word)
{
    return QString::fromStdString(word);
}

std::variant<Options, OptionsEnd> collect(const CLI::App &app, const Words &words)
{
    Options options;
    // Two or more are as good as none: the default program is meant.
    if (words.files.size() == 1) {
        options.objectFilePath = text(words.files.front());
    }
    options.dataDirectory = text(words.dataDirectory);
    if (app.count("--data-dir") > 0 && options.dataDirectory.isEmpty()) {
        return refused(QStringLiteral("--data-dir needs a directory."));
    }
    if (app.count("--bind") > 0 && !options.bindAddress.setAddress(text(words.bind))) {
        return refused(QStringLiteral("\"%1\" is no address to bind to.").arg(text(words.bind)));
    }
    if (app.count("--http-port") > 0) {
        bool isPort = false;
        options.httpPort = text(words.httpPort).toUShort(&isPort);
        if (!isPort) {
            return refused(QStringLiteral("\"%1\" is no TCP port.").arg(text(words.httpPort)));
        }
    }
    options.language = text(words.language);
    if (app.count("--language") > 0 && !Translations::isKnown(options.language)) {
        return refused(QStringLiteral("Unknown language \"%1\": %2 are known.")
                           .arg(options.language, QString::fromLatin1(kLanguages)));
    }
    if (app.count("--monitor-history") > 0) {
        bool isNumber = false;
        options.monitorHistory = text(words.historyLines).toInt(&isNumber);
        if (!isNumber || options.monitorHistory < 0 || options.monitorHistory > MonitorHistory::kMostLines) {
            return refused(QStringLiteral("\"%1\" is no number of lines from 0 to %2.")
                               .arg(text(words.historyLines))
                               .arg(MonitorHistory::kMostLines));
        }
    }
    options.hasMonitor = words.hasMonitor;
    options.mayChangeSystem = !words.noSystemChanges;
    return options;
}
} // namespace

void describeController(CLI::App &app)
{
    static Words words; // read by nobody: this is for the pages
    describe(app, words);
}

std::variant<Options, OptionsEnd> parseOptions(const QStringList &arguments)
{
    CLI::App app;
    Words words;
    describe(app, words);
    std::vector<std::string> reversed; // as the library wants it
    for (int index = arguments.size() - 1; index > 0; --index) {
        reversed.push_back(arguments.at(index).toStdString());
    }
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp &) {
        return OptionsEnd{ text(app.help()).trimmed() };
    } catch (const CLI::Success &version) {
        return OptionsEnd{ QString::fromLocal8Bit(version.what()) };
    } catch (const CLI::ParseError &error) {
        return refused(text(error.what()));
    }
    return collect(app, words);
}
