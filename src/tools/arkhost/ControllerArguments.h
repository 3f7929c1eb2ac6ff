#pragma once
#include <QString>
#include <QStringList>

/// What the supervisor reads from the arguments that it hands to the controller. They are the controller's to judge:
/// whatever is odd about them counts as not said.
namespace ControllerArguments {
/// What --data-dir names, else the controller's own default.
QString dataDirectory(const QStringList &arguments);

/// The one argument that is a file, else the default program in the data directory.
QString objectFile(const QStringList &arguments);
} // namespace ControllerArguments
