#pragma once
#include <QHostAddress>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace CommandLine {
class Word;
}

/// What the command line asks of the controller.
struct Options
{
    QString objectFilePath; // empty: the default one
    QString dataDirectory;  // empty: the application's own
    QString language;       // empty: the setting's, else the environment's
    QHostAddress bindAddress = QHostAddress(QHostAddress::Any);
    std::optional<quint16> httpPort; // nothing: the one of the web settings; 0: any free one
    int monitorHistory = 0;          // lines kept; 0: none
    int traceMegabytes = 4;          // of memory for the trace; 0: none
    bool hasMonitor = false;
    bool mayChangeSystem = true;
};

/// A command line that is not to be run: a text for standard output or error, and the status to end with.
struct OptionsEnd
{
    QString text;
    int status = 0;
};

constexpr int kUsageStatus = 2; // something that the command line asks for cannot be done

/// The command line alone, for the manual page and completion.
void describeController(CommandLine::Word &app);

/// \param arguments  the program's name first
std::variant<Options, OptionsEnd> parseOptions(const QStringList &arguments);
