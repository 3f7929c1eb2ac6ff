#include "Supervisor.h"
#include "base/StopSignals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Runs the controller, starts it again when it ends, and shows its LEDs."));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addHelpOption();
    const QCommandLineOption ports(QStringLiteral("ports"),
                                   QStringLiteral("Show what goes to the port hardware, too."));
    parser.addOption(ports);
    parser.addPositionalArgument(QStringLiteral("arguments"), QStringLiteral("Arguments of the controller."),
                                 QStringLiteral("-- [arguments...]"));
    parser.process(application);

    const QString controller = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("arkivon"));
    Supervisor supervisor(controller, parser.positionalArguments(),
                          parser.isSet(ports) ? Supervisor::PortFrames::Show : Supervisor::PortFrames::Hide);
    const StopSignals signalsToStop;
    QObject::connect(&signalsToStop, &StopSignals::received, &supervisor, &Supervisor::end);
    QObject::connect(
        &supervisor, &Supervisor::ended, &application, [](int status) { QCoreApplication::exit(status); },
        Qt::QueuedConnection);
    if (const std::optional<QString> problem = supervisor.start()) {
        std::fputs((*problem + QLatin1Char('\n')).toLocal8Bit().constData(), stderr);
        return 2;
    }
    return QCoreApplication::exec();
}
