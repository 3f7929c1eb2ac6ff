#include "tools/arkhost/ControllerArguments.h"

#include "admin/ConfigManager.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace {
/// Where the controller keeps its data when nothing else is said: the user's folder for it, by maker and role.
QString defaultDirectory()
{
    const ConfigManager identity;
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QStringLiteral("%1/%2/%3").arg(base, identity.organisation(), identity.role());
}
} // namespace

QString ControllerArguments::dataDirectory(const QStringList &arguments)
{
    const QString option = QStringLiteral("--data-dir");
    for (int index = 0; index < arguments.size(); ++index) {
        const QString &argument = arguments.at(index);
        if (argument == option) {
            return QDir(arguments.value(index + 1)).absolutePath();
        }
        if (argument.startsWith(option + QLatin1Char('='))) {
            return QDir(argument.mid(option.size() + 1)).absolutePath();
        }
    }
    return defaultDirectory();
}

QString ControllerArguments::objectFile(const QStringList &arguments)
{
    QStringList files = arguments;
    const auto isNoFile = [](const QString &argument) {
        return argument.startsWith(QLatin1Char('-')) || !QFileInfo(argument).isFile();
    };
    files.erase(std::remove_if(files.begin(), files.end(), isNoFile), files.end());
    return files.size() == 1 ? QFileInfo(files.first()).absoluteFilePath()
                             : dataDirectory(arguments) + QStringLiteral("/program.pobj");
}
