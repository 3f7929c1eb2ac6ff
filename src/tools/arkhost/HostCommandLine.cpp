#include "tools/arkhost/HostCommandLine.h"

#include "tools/arkhost/HostDisplay.h"

#include <CLI/CLI.hpp>

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

void describeStatus(CLI::App &app, HostCommandLine &line)
{
    CLI::App *const word = app.add_subcommand("status", "Ask the supervisor that runs how its controller is");
    word->add_flag("--json", line.wantsJson, "One JSON object on one line");
    word->add_option("--timeout", line.timeoutSeconds, "How long to wait for an answer (2)")
        ->type_name("SECONDS")
        ->check(CommandLine::between(0.1, 3600));
    CommandLine::explain(*word, statusExplanation());
    word->callback([&line] { line.wantsStatus = true; });
}
} // namespace

void describeHost(CLI::App &app, HostCommandLine &line)
{
    app.name("arkhost");
    app.description("Runs the controller, starts it again when it ends, and shows its LEDs");
    CommandLine::explain(app, explanation());
    CommandLine::addVersion(app);
    app.add_flag("--ports", line.showsPorts, "Show what goes to the port hardware, too");
    app.add_flag("--plain", line.isPlain, "Lines only, also on a terminal: no status line at the bottom");
    app.add_option("--reports", line.reports, "Folder of the crash reports (crash-reports in the data folder)")
        ->type_name("DIR")
        ->check(CommandLine::folder());
    app.add_option("--keep-reports", line.keptReports, "How many crash reports are kept, the newest (20)")
        ->type_name("NUMBER")
        ->check(CommandLine::between(1, kMostReports));
    app.add_option("--watchdog", line.watchdogSeconds,
                   "A controller whose main thread is busy for so long hangs, and is started again (60); 0: never")
        ->type_name("SECONDS")
        ->check(CommandLine::between(0, 3600));
    app.add_option("--controller", line.controller, "The controller's program (arkivon in the folder of arkhost)")
        ->type_name("PROGRAM")
        ->check(CommandLine::files());
    app.add_option("ARGUMENTS", line.arguments, "Arguments of the controller; options of it behind --")
        ->check(CommandLine::files({ "pobj" }));
    app.require_subcommand(0, 1);
    describeStatus(app, line);
}

std::variant<HostCommandLine, int> parseHost(const std::vector<std::string> &arguments)
{
    CLI::App app;
    HostCommandLine line;
    describeHost(app, line);
    const auto dashes = std::find(arguments.begin(), arguments.end(), "--");
    std::vector<std::string> own(arguments.begin(), dashes);
    std::reverse(own.begin(), own.end()); // as the parser wants them
    try {
        app.parse(own);
    } catch (const CLI::Success &help) {
        return CommandLine::show(app, help);
    } catch (const CLI::ExtrasError &error) {
        HostDisplay::complain(QString::fromLocal8Bit(error.what()) +
                              QStringLiteral("; the controller's options stand behind --, see arkhost --help"));
        return kWrongUse;
    } catch (const CLI::ParseError &error) {
        HostDisplay::complain(QString::fromLocal8Bit(error.what()) + QStringLiteral("; see arkhost --help"));
        return kWrongUse;
    }
    if (dashes != arguments.end()) {
        line.arguments.insert(line.arguments.end(), dashes + 1, arguments.end());
    }
    return line;
}
