#include "tools/arkctl/MonitorCommand.h"
#include "tools/arkctl/Command.h"
#include <QDateTime>

MonitorCommand::MonitorCommand(const RunOptions &options, Rendering::Form form)
    : LinkRun(tool(), options)
{
    connect(&client(), &LinkClient::received, this, [this, form](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::MonitorLine) {
            console().print(Rendering::monitorLine(form, QDateTime::currentDateTime(), message));
        }
    });
}

Command monitorCommand(CLI::App &app)
{
    CLI::App *const word = app.add_subcommand("monitor", "Show the controller's monitor lines as they come");
    const auto wantsJson = std::make_shared<bool>(false);
    addJsonFlag(*word, *wantsJson, "One JSON object per line: time, type, name, text");
    return { word,
             [wantsJson](const RunOptions &options) { return MonitorCommand(options, formOf(*wantsJson)).run(); } };
}
