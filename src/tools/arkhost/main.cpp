#include "base/StandardStreams.h"
#include "base/StopSignals.h"
#include "tools/arkhost/ControllerArguments.h"
#include "tools/arkhost/HostCommandLine.h"
#include "tools/arkhost/StatusCommand.h"
#include "tools/arkhost/Supervisor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <csignal>

namespace {
constexpr int kUsageStatus = 2;

Supervisor::Setup setupOf(const HostCommandLine &line)
{
    Supervisor::Setup setup;
    setup.controller = line.controller.empty()
                           ? QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("arkivon"))
                           : QFile::decodeName(line.controller.c_str());
    for (const std::string &argument : line.arguments) {
        setup.arguments << QFile::decodeName(argument.c_str());
    }
    setup.reports = line.reports.empty()
                        ? ControllerArguments::dataDirectory(setup.arguments) + QStringLiteral("/crash-reports")
                        : QDir(QFile::decodeName(line.reports.c_str())).absolutePath();
    setup.keptReports = line.keptReports;
    setup.watchdogMs = static_cast<int>(line.watchdogSeconds * 1000);
    setup.version = QString::fromStdString(CommandLine::version());
    setup.portFrames = line.showsPorts ? HostSocket::PortFrames::Show : HostSocket::PortFrames::Hide;
    setup.form = line.isPlain ? HostDisplay::Form::Plain : HostDisplay::Form::WithStatusLine;
    return setup;
}

int supervise(const HostCommandLine &line)
{
    Supervisor supervisor(setupOf(line));
    const StopSignals signalsToStop;
    QObject::connect(&signalsToStop, &StopSignals::received, &supervisor, &Supervisor::end);
    QObject::connect(
        &supervisor, &Supervisor::ended, &supervisor, [](int status) { QCoreApplication::exit(status); },
        Qt::QueuedConnection);
    if (const std::optional<QString> problem = supervisor.start()) {
        HostDisplay::complain(*problem);
        return kUsageStatus;
    }
    return QCoreApplication::exec();
}

int run(int argc, char **argv)
{
    keepStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // a terminal that has gone is no reason to end
    const auto parsed = parseHost({ argv + 1, argv + argc });
    if (const int *status = std::get_if<int>(&parsed)) {
        return *status;
    }
    const auto &line = std::get<HostCommandLine>(parsed);
    QCoreApplication application(argc, argv);
    return line.wantsStatus ? runStatusCommand(line.wantsJson, static_cast<int>(line.timeoutSeconds * 1000))
                            : supervise(line);
}
} // namespace

int main(int argc, char **argv)
{
    return CommandLine::guarded("arkhost", [=] { return run(argc, argv); });
}
