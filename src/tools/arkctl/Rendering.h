#pragma once
#include "net/client/LinkMessage.h"
#include "net/porttest/PortTestMessage.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

class QDateTime;

/// How the tool shows what came in: a line for people, or a JSON object on one line for programs.
/// Control characters are escaped in both: one message is one line, and none reaches the terminal's commands.
namespace Rendering {
enum class Form { Text, Json };

std::vector<std::string> monitorTypeNames(); // by MonitorMessageType
/// For people, data that is text with line ends is shown as such, in place of its bytes in hexadecimal or before them.
enum class Hex { WhereNoText, Too };
std::string monitorLine(Form form, const QDateTime &when, int type, const QString &text, Hex hex = Hex::WhereNoText);
std::string panelMessage(Form form, const QDateTime &when, const LinkMessage &message);
std::string escaped(const QByteArray &bytes);     // as text that does nothing to a terminal
std::string quotedStart(const QByteArray &bytes); // the first line of what a stranger says
std::string portTestReport(Form form, const QDateTime &when, const PortTest::Report &report);

/// The link of a controller to one that it listens to.
struct LinkState
{
    QString address;
    int status = 0; // 0 unconnected, 1 connected, 2 its system number is known too
};

/// Reads what follows "listenstatus:"; nothing when it is something else.
std::optional<std::vector<LinkState>> linkStates(const QByteArray &statusStream);
std::string linkState(Form form, const LinkState &state);

/// Reads what follows "ports:", a line a port; nothing when it is something else.
std::optional<std::vector<std::string>> ports(Form form, const QByteArray &json);
/// The same of what follows "portdetect:", a line a device.
std::optional<std::vector<std::string>> detectedDevices(Form form, const QByteArray &json);
} // namespace Rendering
