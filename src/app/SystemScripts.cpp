#include "app/SystemScripts.h"

#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>
#include <QFile>
#include <QProcess>

#include <unistd.h>

namespace {
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

void tellFailure(const QString &name, const QString &reason)
{
    const QString text =
        translated(QT_TRANSLATE_NOOP("messages", "The system script %1 failed: %2")).arg(name, reason.trimmed());
    qWarning().noquote() << text;
    monitorLog(MonitorMessageType::Error, text);
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
    run({ QStringLiteral("datetime.sh") }, { text });
}

void SystemScripts::useDhcp(const QString &interfaceName)
{
    run({ QStringLiteral("dhcp-client.sh"), QStringLiteral("dhcp.sh") }, {}, interfaceName);
}

void SystemScripts::useStaticAddress(const QString &interfaceName, const QString &address, const QString &netmask,
                                     const QString &gateway, const QString &nameServer)
{
    run({ QStringLiteral("dhcp-client.sh"), QStringLiteral("static.sh") }, { address, netmask, gateway, nameServer },
        interfaceName);
}

void SystemScripts::run(const QStringList &names, const QStringList &arguments, const QString &interfaceName)
{
    const QString &name = names.last();
    if (!isAllowed()) {
        monitorLog(MonitorMessageType::Warning,
                   translated(QT_TRANSLATE_NOOP("messages", "System changes are off: network and date stay")));
        return;
    }
    auto *process = new QProcess(this);
    if (!interfaceName.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("INTERFACE"), interfaceName);
        process->setProcessEnvironment(environment);
    }
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), process,
            [process, name](int status, QProcess::ExitStatus how) {
                const QString said = QString::fromLocal8Bit(process->readAllStandardError());
                if (how != QProcess::NormalExit || status != 0) {
                    tellFailure(name, said);
                } else if (!said.trimmed().isEmpty()) {
                    monitorLog(MonitorMessageType::Warning, said.trimmed());
                }
                process->deleteLater();
            });
    connect(process, &QProcess::errorOccurred, process, [process, name](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            tellFailure(name, process->errorString());
            process->deleteLater();
        }
    });
    // "sh -c TEXT NAME ARGUMENTS": the arguments stay arguments, whatever is in them.
    process->start(QStringLiteral("/bin/sh"), QStringList{ QStringLiteral("-c"), scriptText(names), name } + arguments);
    process->closeWriteChannel();
}
