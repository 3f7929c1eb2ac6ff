#include "tools/arkctl/MonitorCommand.h"
#include "net/LinkCodes.h"
#include <QDateTime>

namespace {
constexpr int kToolNumber = 100; // no device: the program's online handlers leave it alone
}

MonitorCommand::MonitorCommand(const RunOptions &options, Rendering::Form form, const QByteArray &version)
    : LinkRun({ PeerType::kManagementTool, kToolNumber, "arkctl", version }, options)
{
    connect(&client(), &LinkClient::received, this, [this, form](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::MonitorLine) {
            console().print(Rendering::monitorLine(form, QDateTime::currentDateTime(), message));
        }
    });
}
