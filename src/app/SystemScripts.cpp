#include "app/SystemScripts.h"

#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>
#include <QFile>
#include <QProcess>

#include <unistd.h>

namespace {
struct Script
{
    QStringList names; // run one behind the other as one script, which has the name of the last
    QStringList arguments;
    QString interfaceName; // empty: it is not about the network
};

enum class Purpose { Use, Try };

Script networkScript(const QString &interfaceName, const HostNetwork &network, Purpose purpose)
{
    const QString name = QStringLiteral("%1%2.sh").arg(QLatin1String(purpose == Purpose::Try ? "try-" : ""),
                                                       QLatin1String(network.isDhcp ? "dhcp" : "static"));
    QStringList arguments;
    if (!network.isDhcp) {
        arguments << network.ip << QString::number(prefixLength(network.netmask))
                  << (network.hasGateway() ? network.gateway : QString()) << network.nameServer;
    }
    return { { QStringLiteral("dhcp-client.sh"), name }, arguments, interfaceName };
}

QString scriptText(const QStringList &names)
{
    QString text;
    for (const QString &name : names) {
        QFile file(QStringLiteral(":/scripts/") + name);
        [[maybe_unused]] const bool isOpen = file.open(QIODevice::ReadOnly);
        Q_ASSERT(isOpen);
        text += QString::fromUtf8(file.readAll()) + QLatin1Char('\n');
    }
    return text;
}

void start(QProcess &process, const Script &script)
{
    if (!script.interfaceName.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("INTERFACE"), script.interfaceName);
        process.setProcessEnvironment(environment);
    }
    // "sh -c TEXT NAME ARGUMENTS": the arguments stay arguments, whatever is in them.
    process.start(QStringLiteral("/bin/sh"),
                  QStringList{ QStringLiteral("-c"), scriptText(script.names), script.names.last() } +
                      script.arguments);
    process.closeWriteChannel();
}

void tellFailure(const QString &name, const QString &reason)
{
    const QString text =
        translated(QT_TRANSLATE_NOOP("messages", "The system script %1 failed: %2")).arg(name, reason.trimmed());
    qWarning().noquote() << text;
    monitorLog(MonitorMessageType::Error, text);
}
/// A script whose failure is told, and whose process goes when it has ended.
template <class Ended>
QProcess *startWatched(const Script &script, QObject *parent, Ended ended)
{
    auto *process = new QProcess(parent);
    const QString name = script.names.last();
    QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), process,
                     [process, name, ended](int status, QProcess::ExitStatus how) {
                         const QString said = QString::fromLocal8Bit(process->readAllStandardError()).trimmed();
                         const bool isDone = how == QProcess::NormalExit && status == 0;
                         if (!isDone) {
                             tellFailure(name, said);
                         } else if (!said.isEmpty()) {
                             monitorLog(MonitorMessageType::Warning, said);
                         }
                         process->deleteLater();
                         ended(isDone);
                     });
    QObject::connect(process, &QProcess::errorOccurred, process, [process, name, ended](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            tellFailure(name, process->errorString());
            process->deleteLater();
            ended(false);
        }
    });
    start(*process, script);
    return process;
}
} // namespace

SystemScripts::SystemScripts(Permission permission, QObject *parent)
    : QObject(parent)
    , m_permission(permission)
{}

bool SystemScripts::isAllowed() const
{
    return m_permission == Permission::AsRoot && ::geteuid() == 0;
}

void SystemScripts::setDateTime(const QString &text)
{
    if (isAllowed()) {
        startWatched({ { QStringLiteral("datetime.sh") }, { text }, {} }, this, [](bool) {});
    } else {
        monitorLog(MonitorMessageType::Warning,
                   translated(QT_TRANSLATE_NOOP("messages", "System changes are off: network and date stay")));
    }
}

void SystemScripts::useNetwork(const QString &interfaceName, const HostNetwork &network)
{
    m_network = startWatched(networkScript(interfaceName, network, Purpose::Use), this, [this](bool isDone) {
        m_network = nullptr;
        Q_EMIT networkGiven(isDone);
    });
}

void SystemScripts::waitForNetwork(int ms)
{
    if (m_network) {
        m_network->waitForFinished(ms);
    }
}

QString SystemScripts::tryNetwork(const QString &interfaceName, const HostNetwork &network,
                                  const std::atomic<bool> &isCancelled)
{
    constexpr int kLookMs = 50; // for who cancels it
    QProcess process;
    start(process, networkScript(interfaceName, network, Purpose::Try));
    if (!process.waitForStarted()) {
        return process.errorString();
    }
    while (process.state() != QProcess::NotRunning && !process.waitForFinished(kLookMs)) {
        if (isCancelled) {
            process.terminate(); // it takes back what it has done
        }
    }
    const bool isDone = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    const QString said = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
    return isDone ? QString() : said.isEmpty() ? process.errorString() : said;
}
