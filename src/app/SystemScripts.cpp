#include "app/SystemScripts.h"

#include <QFile>
#include <QProcess>
#include <QStringList>

#include <unistd.h>

void SystemScripts::setDateTime(const QString &text) const
{
    run(QStringLiteral("datetime.sh"), { text });
}

void SystemScripts::run(const QString &name, const QStringList &arguments) const
{
    if (m_permission == Permission::Never || ::geteuid() != 0) {
        return;
    }
    QFile script(QStringLiteral(":/scripts/") + name);
    if (!script.open(QIODevice::ReadOnly)) {
        return;
    }
    const QString text = QString::fromUtf8(script.readAll());
    // "sh -c TEXT NAME ARGUMENTS": the arguments stay arguments, whatever is in them.
    QProcess::startDetached(QStringLiteral("/bin/sh"), QStringList{ QStringLiteral("-c"), text, name } + arguments);
}
