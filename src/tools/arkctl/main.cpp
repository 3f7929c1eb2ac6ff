#include "base/StandardStreams.h"
#include "tools/arkctl/Program.h"
#include <QCoreApplication>

namespace {
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

int run(int argc, char **argv)
{
    keepStandardStreams();
    CLI::App app;
    CommonOptions common;
    const std::vector<Command> commands = describeProgram(app, common);
    const auto refuse = [](const std::string &what) { return static_cast<int>(wrongUse(what)); };
    if (const std::optional<int> status = CommandLine::parse(app, argc, argv, refuse)) {
        return *status;
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
} // namespace

int main(int argc, char **argv)
{
    return CommandLine::guarded("arkctl", [=] { return run(argc, argv); });
}
