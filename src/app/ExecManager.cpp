#include "app/ExecManager.h"

#include "admin/ConfigManager.h"
#include "app/ProgramStop.h"
#include "base/Clock.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/DeviceManager.h"
#include "devices/SwitchNotice.h"
#include "interp/nodes/Statements.h"
#include "net/sockets/IpMonitor.h"
#include "net/sockets/ProgramSockets.h"
#include "runtime/ControlProgram.h"

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QThread>

namespace {
constexpr qint64 kCopyBlock = 4096; // bytes
constexpr int kMainlineMs = 100;

bool copyWhole(QFile &source, QIODevice &copy)
{
    qint64 copied = 0;
    while (true) {
        const QByteArray block = source.read(kCopyBlock);
        if (block.isEmpty()) {
            return copied == source.size();
        }
        if (copy.write(block) != block.size()) {
            return false;
        }
        copied += block.size();
    }
}

/// An open temporary file in the working directory, else in the system's; nullptr when neither takes one.
std::unique_ptr<QTemporaryFile> openTemporaryFile(const QString &name)
{
    const QString pattern = QStringLiteral("%1_temp.XXXXXX").arg(name);
    for (const QString &path : { pattern, QDir::tempPath() + QLatin1Char('/') + pattern }) {
        auto file = std::make_unique<QTemporaryFile>(path);
        if (file->open()) {
            return file;
        }
    }
    return nullptr;
}

std::unique_ptr<QTemporaryFile> temporaryCopy(QFile &source)
{
    std::unique_ptr<QTemporaryFile> copy = openTemporaryFile(QFileInfo(source).fileName());
    const bool isWhole = copy && source.open(QIODevice::ReadOnly) && copyWhole(source, *copy) && copy->seek(0);
    return isWhole ? std::move(copy) : nullptr;
}
} // namespace

ExecManager::ExecManager(const QString &directory, DeviceManager &devices, QObject *parent)
    : QObject(parent)
    , m_directory(directory)
    , m_devices(devices)
    , m_objectFilePath(inDirectory(QStringLiteral("program.pobj")))
{
    QDir().mkpath(directory);
}

ExecManager::~ExecManager()
{
    unloadProgram();
}

QString ExecManager::irFilePath(int port) const
{
    return Port::isIr(port) ? irFilePattern().arg(Port::emitterOf(port)) : QString();
}

bool ExecManager::stopRequested() const
{
    return m_program && m_program->state().stopRequested();
}

ExecManager::Load ExecManager::loadProgram()
{
    QFile file(m_objectFilePath);
    if (!file.exists()) {
        return Load::NoFile;
    }
    const std::unique_ptr<QTemporaryFile> copy = temporaryCopy(file);
    if (!copy) {
        return Load::CannotCopy;
    }
    unloadProgram();
    m_program = std::make_unique<ControlProgram>(m_directory, m_traceBytes);
    ProgramStop::watch(&m_program->state());
    m_program->setDevices(&m_devices);
    m_devices.setProgram(&m_program->state(), &m_program->dispatcher());
    makeSockets();
    connectReports();
    QDataStream stream(copy.get());
    return m_program->load(stream) ? Load::Done : Load::Damaged;
}

void ExecManager::runStart()
{
    if (!m_program) {
        return;
    }
    m_program->dispatcher().runStartBlock();
    const int ports = ConfigManager().onlinePorts();
    for (int port = 1; port <= ports && !stopRequested(); ++port) {
        m_devices.raiseOnline(port, 0);
    }
}

void ExecManager::startMainline()
{
    if (m_mainlineTicket != 0 || stopRequested() || !hasMainline()) {
        return;
    }
    m_mainlineTicket = Clock::instance().every(kMainlineMs, [this] { m_program->dispatcher().runMainlinePass(); });
}

void ExecManager::stopProgram()
{
    ProgramStop::stop();
    if (QThread::currentThread() == thread()) {
        stopMainline();
    } else {
        QMetaObject::invokeMethod(
            this, [this] { stopMainline(); }, Qt::QueuedConnection);
    }
}

void ExecManager::forgetValues()
{
    if (m_program) {
        m_program->state().storage().reloadVariables();
    } else {
        StorageManager(m_directory).reloadVariables();
    }
}

void ExecManager::unloadProgram()
{
    if (!m_program) {
        return;
    }
    Q_EMIT programGoingAway();
    stopMainline();
    ProgramStop::watch(nullptr);
    m_devices.setSocketOutputs(nullptr);
    m_ipMonitor.reset();
    m_sockets.reset();
    m_devices.setProgram(nullptr, nullptr);
    m_program.reset();
}

void ExecManager::connectReports()
{
    m_program->onReport = [](ErrorReports::Kind kind, const QString &text) {
        switch (kind) {
        case ErrorReports::Kind::Error:
            monitorLog(MonitorMessageType::Error, translated(QT_TRANSLATE_NOOP("messages", "Error:%1")).arg(text));
            break;
        case ErrorReports::Kind::Warning:
            monitorLog(MonitorMessageType::Warning, translated(QT_TRANSLATE_NOOP("messages", "Warning:%1")).arg(text));
            break;
        case ErrorReports::Kind::LogError:
            monitorLog(MonitorMessageType::Error, text);
            break;
        case ErrorReports::Kind::LogWarning:
            monitorLog(MonitorMessageType::Warning, text);
            break;
        case ErrorReports::Kind::LogInfo:
        case ErrorReports::Kind::LogDebug:
            monitorLog(MonitorMessageType::System, text);
            break;
        }
    };
    connect(&m_program->tree(), &AST::info, this,
            [](int type, const QString &text) { monitorLog(static_cast<MonitorMessageType>(type), text); });
}

void ExecManager::makeSockets()
{
    m_sockets = std::make_unique<ProgramSockets>(m_program->state(), m_program->dispatcher());
    m_sockets->setWebSocketOrigins(m_webSocketOrigins);
    m_devices.setSocketOutputs(m_sockets.get());
    m_ipMonitor = std::make_unique<IpMonitor>(m_ownAddress);
    m_program->setSockets(m_sockets.get());
    connect(m_ipMonitor.get(), &IpMonitor::changed, this, [this] { m_sockets->restartAll(); });
}

bool ExecManager::hasMainline() const
{
    const auto *block = m_program ? as<StatementList>(m_program->tree().mainlineBlock.get()) : nullptr;
    return block && !block->statements.empty();
}

void ExecManager::stopMainline()
{
    Clock::instance().cancel(std::exchange(m_mainlineTicket, 0));
    if (m_program) {
        m_program->dispatcher().dropPendingMainline();
    }
}
