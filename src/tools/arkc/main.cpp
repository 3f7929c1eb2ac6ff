#include "base/StandardStreams.h"
#include "tools/arkc/Command.h"

#include <QCoreApplication>

namespace {
int run(int argc, char **argv)
{
    keepStandardStreams();
    CLI::App app;
    const std::vector<arkc::Command> commands = arkc::describeCommandLine(app);
    const auto refuse = [](const std::string &what) { return static_cast<int>(arkc::wrongUse(what)); };
    if (const std::optional<int> status = CommandLine::parse(app, argc, argv, refuse)) {
        return *status;
    }
    QCoreApplication application(argc, argv);
    for (const arkc::Command &command : commands) {
        if (*command.word) {
            return static_cast<int>(command.run());
        }
    }
    return static_cast<int>(arkc::wrongUse("no command given"));
}
} // namespace

int main(int argc, char **argv)
{
    return CommandLine::guarded("arkc", [=] { return run(argc, argv); });
}
