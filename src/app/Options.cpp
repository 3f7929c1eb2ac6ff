#include "app/Options.h"

#include "app/Translations.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {
struct Switches
{
    QCommandLineOption dataDirectory{ QStringLiteral("data-dir"),
                                      QStringLiteral("Keep program, stores and settings in <directory>."),
                                      QStringLiteral("directory") };
    QCommandLineOption bind{ QStringLiteral("bind"), QStringLiteral("Serve on one <address> only."),
                             QStringLiteral("address") };
    QCommandLineOption httpPort{ QStringLiteral("http-port"),
                                 QStringLiteral("Serve web pages on TCP port <number>; 0 takes a free one."),
                                 QStringLiteral("number") };
    QCommandLineOption language{ QStringLiteral("language"), QStringLiteral("Language of messages: en or zh_CN."),
                                 QStringLiteral("code") };
    QCommandLineOption monitor{ QStringLiteral("monitor"), QStringLiteral("Print monitor lines too.") };
    QCommandLineOption noSystemChanges{ QStringLiteral("no-system-changes"),
                                        QStringLiteral("Never change the system's date or network.") };
};

OptionsEnd refused(const QString &why)
{
    return { why, kUsageStatus };
}

std::variant<Options, OptionsEnd> collect(const QCommandLineParser &parser, const Switches &switches)
{
    Options options;
    // Two or more are as good as none: the default program is meant.
    const QStringList positional = parser.positionalArguments();
    if (positional.size() == 1) {
        options.objectFilePath = positional.first();
    }
    if (parser.isSet(switches.dataDirectory)) {
        options.dataDirectory = parser.value(switches.dataDirectory);
        if (options.dataDirectory.isEmpty()) {
            return refused(QStringLiteral("--data-dir needs a directory."));
        }
    }
    if (parser.isSet(switches.bind) && !options.bindAddress.setAddress(parser.value(switches.bind))) {
        return refused(QStringLiteral("\"%1\" is no address to bind to.").arg(parser.value(switches.bind)));
    }
    if (parser.isSet(switches.httpPort)) {
        bool isPort = false;
        options.httpPort = parser.value(switches.httpPort).toUShort(&isPort);
        if (!isPort) {
            return refused(QStringLiteral("\"%1\" is no TCP port.").arg(parser.value(switches.httpPort)));
        }
    }
    if (parser.isSet(switches.language)) {
        options.language = parser.value(switches.language);
        if (!Translations::isKnown(options.language)) {
            return refused(QStringLiteral("Unknown language \"%1\": en and zh_CN are known.").arg(options.language));
        }
    }
    options.hasMonitor = parser.isSet(switches.monitor);
    options.mayChangeSystem = !parser.isSet(switches.noSystemChanges);
    return options;
}
} // namespace

std::variant<Options, OptionsEnd> parseOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Central controller program."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("filename"), QStringLiteral("Object file full path"),
                                 QStringLiteral(""));
    const Switches switches;
    parser.addOptions({ switches.dataDirectory, switches.bind, switches.httpPort, switches.language, switches.monitor,
                        switches.noSystemChanges });
    if (!parser.parse(arguments)) {
        return refused(parser.errorText());
    }
    if (parser.isSet(version)) {
        return OptionsEnd{ QCoreApplication::applicationName() + QLatin1Char(' ') +
                           QCoreApplication::applicationVersion() };
    }
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        return OptionsEnd{ parser.helpText().trimmed() };
    }
    return collect(parser, switches);
}
