#include "tools/arkc/Command.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    CLI::App app("", "arkc");
    const std::vector<arkc::Command> commands = arkc::describeCommandLine(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return app.exit(help);
    } catch (const CLI::ParseError &error) {
        return static_cast<int>(arkc::wrongUse(error.what()));
    }
    QCoreApplication application(argc, argv);
    for (const arkc::Command &command : commands) {
        if (*command.word) {
            try {
                return static_cast<int>(command.run());
            } catch (const std::exception &error) { // of the libraries
                return static_cast<int>(arkc::wrongUse(error.what()));
            }
        }
    }
    return static_cast<int>(arkc::wrongUse("no command given"));
}
