#include "tools/arkhost/HostCommandLine.h"

#include "tools/arkhost/HostDisplay.h"

#include <algorithm>

namespace {
constexpr int kWrongUse = 2;
constexpr int kMostReports = 1000;

CommandLine::Explanation explanation()
{
    return { "What stands behind -- goes to the controller as it is. On a terminal a line at the bottom shows state, "
             "uptime, starts, crashes and LEDs. After a crash the controller is started again in 1 s, then 2, 4 and so "
             "on up to 60 s; once it has run for a minute the pauses begin anew. So is one that hangs. Each crash "
             "leaves a report in a file.",
             { { "arkhost", "the controller with its default program" },
               { "arkhost -- --data-dir /srv/room", "a room of its own" },
               { "arkhost --ports -- room.pobj", "show what goes to the ports, too" },
               { "arkhost status", "how is it?" } },
             { { "DATA-FOLDER/crash-reports", "the reports of the newest crashes" } },
             { { "0", "ended by SIGTERM, SIGINT or SIGHUP" },
               { "2",
                 "called wrongly, the controller cannot be started or refuses its arguments, or another supervisor "
                 "runs" } },
             { { "arkivon", "8" }, { "arkctl", "1" } } };
}

CommandLine::Explanation statusExplanation()
{
    return {
        {},
        { { "arkhost status", "state, process, uptime, starts, crashes, last end" },
          { "arkhost status --json", "the same as one JSON object, for programs" } },
        {},
        { { "0", "the controller runs" }, { "1", "it does not, or there is no supervisor" }, { "2", "called wrongly" } }
    };
}

const CommandLine::Word *describeStatus(CommandLine::Word &app, HostCommandLine &line)
{
    CommandLine::Word *const word = app.addWord("status", "Ask the supervisor that runs how its controller is");
    word->addFlag("--json", line.wantsJson, "One JSON object on one line");
    word->add("--timeout", line.timeoutSeconds, "How long to wait for an answer (2)")
        .named("SECONDS")
        .between(0.1, 3600);
    word->explain(statusExplanation());
    return word;
}
} // namespace

const CommandLine::Word *describeHost(CommandLine::Word &app, HostCommandLine &line)
{
    app.introduce("arkhost", "Runs the controller, starts it again when it ends, and shows its LEDs");
    app.explain(explanation());
    app.addVersion();
    app.addFlag("--ports", line.showsPorts, "Show what goes to the port hardware, too");
    app.addFlag("--plain", line.isPlain, "Lines only, also on a terminal: no status line at the bottom");
    app.add("--reports", line.reports, "Folder of the crash reports (crash-reports in the data folder)")
        .named("DIR")
        .folder();
    app.add("--keep-reports", line.keptReports, "How many crash reports are kept, the newest (20)")
        .named("NUMBER")
        .between(1, kMostReports);
    app.add("--watchdog", line.watchdogSeconds,
            "A controller whose main thread is busy for so long hangs, and is started again (60); 0: never")
        .named("SECONDS")
        .between(0, 3600);
    app.add("--controller", line.controller, "The controller's program (arkivon in the folder of arkhost)")
        .named("PROGRAM")
        .files();
    app.add("ARGUMENTS", line.arguments, "Arguments of the controller; options of it behind --").files({ "pobj" });
    app.needsWord(false);
    return describeStatus(app, line);
}

std::variant<HostCommandLine, int> parseHost(const std::vector<std::string> &arguments)
{
    CommandLine::Word app;
    HostCommandLine line;
    const CommandLine::Word *const status = describeHost(app, line);
    const auto dashes = std::find(arguments.begin(), arguments.end(), "--");
    const std::vector<std::string> own(arguments.begin(), dashes);
    const auto outcome = CommandLine::read(app, own);
    if (const auto *shown = std::get_if<CommandLine::Shown>(&outcome)) {
        return CommandLine::show(app, *shown);
    }
    if (const auto *misuse = std::get_if<CommandLine::Misuse>(&outcome)) {
        HostDisplay::complain(QString::fromStdString(misuse->what) +
                              (misuse->isUnknownWord
                                   ? QStringLiteral("; the controller's options stand behind --, see arkhost --help")
                                   : QStringLiteral("; see arkhost --help")));
        return kWrongUse;
    }
    line.wantsStatus = status->isGiven();
    if (dashes != arguments.end()) {
        line.arguments.insert(line.arguments.end(), dashes + 1, arguments.end());
    }
    return line;
}
