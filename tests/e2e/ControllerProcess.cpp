#include "ControllerProcess.h"

#include "compiler/Compiler.h"

#include <QCoreApplication>
#include <QFile>

#include <csignal>

namespace {
/// 127.64.0.0 to 127.127.255.255, told apart by process and by count, so that tests of several builds can run at once.
QString freshAddress()
{
    static int count = 0;
    const qint64 process = QCoreApplication::applicationPid();
    return QStringLiteral("127.%1.%2.%3").arg(64 + process % 64).arg((process / 64) % 256).arg(++count);
}
} // namespace

ControllerProcess::ControllerProcess()
    : m_address(freshAddress())
{
    m_process.setProcessEnvironment(environment());
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                     [this] { m_output += m_process.readAllStandardOutput(); });
    QObject::connect(&m_process, &QProcess::readyReadStandardError, &m_process,
                     [this] { m_errors += m_process.readAllStandardError(); });
}

ControllerProcess::~ControllerProcess()
{
    m_process.kill();
    m_process.waitForFinished();
}

QString ControllerProcess::install(const char *source, const QString &name)
{
    const CompileResult result = compileSource(QString::fromUtf8(source));
    if (!result.isGood()) {
        return result.text();
    }
    QFile file(filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(result.objectFile) != result.objectFile.size()) {
        return file.errorString();
    }
    return {};
}

QStringList ControllerProcess::standardArguments() const
{
    return { QStringLiteral("--data-dir"), m_directory.path(),
             QStringLiteral("--bind"),     m_address,
             QStringLiteral("--monitor"),  QStringLiteral("--no-system-changes") };
}

QProcessEnvironment ControllerProcess::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), m_directory.path()); // the supervisor's socket too
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return environment;
}

void ControllerProcess::start(const QStringList &moreArguments)
{
    startWith(QStringLiteral(ARKIVON_PROGRAM), standardArguments() + moreArguments);
}

void ControllerProcess::startWith(const QString &program, const QStringList &arguments)
{
    m_process.setWorkingDirectory(m_directory.path());
    m_process.start(program, arguments);
}

void ControllerProcess::signal(int number)
{
    ::kill(static_cast<pid_t>(m_process.processId()), number);
}
