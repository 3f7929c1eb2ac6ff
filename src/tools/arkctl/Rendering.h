#pragma once
#include "net/LinkMessage.h"
#include "net/porttest/PortTestMessage.h"

#include <string>

class QDateTime;

/// How the tool shows what came in: a line for people, or a JSON object on one line for programs.
/// Control characters are escaped in both: one message is one line, and none reaches the terminal's commands.
namespace Rendering {
enum class Form { Text, Json };

std::string monitorLine(Form form, const QDateTime &when, const LinkMessage &message);
std::string panelMessage(Form form, const QDateTime &when, const LinkMessage &message);
std::string portTestReport(Form form, const QDateTime &when, const PortTest::Report &report);
} // namespace Rendering
