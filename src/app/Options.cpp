#include "app/Options.h"

#include "app/Translations.h"
#include "base/MonitorHistory.h"
#include "cli/CommandLine.h"

#include <QCoreApplication>

namespace {
constexpr int kMostTraceMegabytes = 1024;

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
    std::string traceMegabytes;
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

void describe(CommandLine::Word &app, Words &words)
{
    app.introduce("arkivon", "Central controller program.");
    app.explain(explanation());
    app.addVersion("-v,--version",
                   (QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion())
                       .toStdString());
    app.add("filename", words.files, "Object file full path").files({ "pobj" });
    app.add("--data-dir", words.dataDirectory, "Keep program, stores and settings there")
        .named("FOLDER")
        .lastCounts()
        .folder();
    app.add("--bind", words.bind, "Serve on one address only").named("ADDRESS").lastCounts();
    app.add("--http-port", words.httpPort, "Serve web pages on this TCP port; 0 takes a free one")
        .named("NUMBER")
        .lastCounts();
    app.add("--language", words.language, "Language of messages: en or zh_CN")
        .named("CODE")
        .lastCounts()
        .suggests({ "en", "zh_CN" });
    app.addFlag("--monitor", words.hasMonitor, "Print monitor lines on standard output too");
    app.add("--monitor-history", words.historyLines,
            "Keep the newest monitor lines, 10000 at most, for arkctl monitor --since; 0, as without: none")
        .named("LINES")
        .lastCounts();
    app.add("--trace-memory", words.traceMegabytes,
            "Memory for the trace that arkctl trace and arkctl why read, 1024 at most (4); 0: no trace")
        .named("MEGABYTES");
    app.addFlag("--no-system-changes", words.noSystemChanges, "Never change the system's date or network");
}

OptionsEnd refused(const QString &why)
{
    return { why, kUsageStatus };
}

QString text(const std::string &word)
{
    return QString::fromStdString(word);
}

std::variant<Options, OptionsEnd> collect(const CommandLine::Word &app, const Words &words)
{
    Options options;
    // Two or more are as good as none: the default program is meant.
    if (words.files.size() == 1) {
        options.objectFilePath = text(words.files.front());
    }
    options.dataDirectory = text(words.dataDirectory);
    if (app.has("--data-dir") && options.dataDirectory.isEmpty()) {
        return refused(QStringLiteral("--data-dir needs a directory."));
    }
    if (app.has("--bind") && !options.bindAddress.setAddress(text(words.bind))) {
        return refused(QStringLiteral("\"%1\" is no address to bind to.").arg(text(words.bind)));
    }
    if (app.has("--http-port")) {
        bool isPort = false;
        options.httpPort = text(words.httpPort).toUShort(&isPort);
        if (!isPort) {
            return refused(QStringLiteral("\"%1\" is no TCP port.").arg(text(words.httpPort)));
        }
    }
    options.language = text(words.language);
    if (app.has("--language") && !Translations::isKnown(options.language)) {
        return refused(QStringLiteral("Unknown language \"%1\": %2 are known.")
                           .arg(options.language, QString::fromLatin1(kLanguages)));
    }
    const auto wholeNumber = [&app](const char *option, const std::string &word, int most, int &number) {
        bool isNumber = true;
        if (app.has(option)) {
            number = text(word).toInt(&isNumber);
        }
        return isNumber && number >= 0 && number <= most;
    };
    if (!wholeNumber("--monitor-history", words.historyLines, MonitorHistory::kMostLines, options.monitorHistory)) {
        return refused(QStringLiteral("\"%1\" is no number of lines from 0 to %2.")
                           .arg(text(words.historyLines))
                           .arg(MonitorHistory::kMostLines));
    }
    if (!wholeNumber("--trace-memory", words.traceMegabytes, kMostTraceMegabytes, options.traceMegabytes)) {
        return refused(QStringLiteral("\"%1\" is no number of megabytes from 0 to %2.")
                           .arg(text(words.traceMegabytes))
                           .arg(kMostTraceMegabytes));
    }
    options.hasMonitor = words.hasMonitor;
    options.mayChangeSystem = !words.noSystemChanges;
    return options;
}
} // namespace

void describeController(CommandLine::Word &app)
{
    static Words words; // read by nobody: this is for the pages
    describe(app, words);
}

std::variant<Options, OptionsEnd> parseOptions(const QStringList &arguments)
{
    CommandLine::Word app;
    Words words;
    describe(app, words);
    std::vector<std::string> given;
    for (const QString &argument : arguments.mid(1)) {
        given.push_back(argument.toStdString());
    }
    const auto outcome = CommandLine::read(app, given);
    if (const auto *shown = std::get_if<CommandLine::Shown>(&outcome)) {
        return OptionsEnd{ text(shown->text).trimmed() };
    }
    if (const auto *misuse = std::get_if<CommandLine::Misuse>(&outcome)) {
        return refused(text(misuse->what));
    }
    return collect(app, words);
}
