#include "app/MainApplication.h"

#include "admin/ConfigManager.h"
#include "admin/DataFolder.h"
#include "admin/SerialPortWorker.h"
#include "admin/SettingManager.h"
#include "app/ControllerBridge.h"
#include "app/DaemonWorker.h"
#include "app/ExecManager.h"
#include "app/InterfaceWatch.h"
#include "app/NetworkSetup.h"
#include "app/PanelBridge.h"
#include "app/ProgramStop.h"
#include "app/ServiceBridge.h"
#include "app/ServiceManagerLink.h"
#include "app/SystemScripts.h"
#include "app/TerminalMonitor.h"
#include "app/Translations.h"
#include "app/Uploads.h"
#include "app/WebPages.h"
#include "base/FileReplacement.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/MonitorHistory.h"
#include "base/StopSignals.h"
#include "devices/ConfiguredPorts.h"
#include "devices/DeviceManager.h"
#include "inspect/Questions.h"
#include "net/controllers/ControllerLinks.h"
#include "net/link/NetworkManager.h"
#include "net/sockets/OneShotSends.h"
#include "runtime/ControlProgram.h"

#include <QAbstractSocket>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {
void sayOnStandardError(const QString &text)
{
    std::fputs((text + QLatin1Char('\n')).toLocal8Bit().constData(), stderr);
}

int refuse(const QString &why)
{
    sayOnStandardError(why);
    return kUsageStatus;
}

void reportEverywhere(const QString &text)
{
    sayOnStandardError(text);
    monitorLog(MonitorMessageType::Error, translated(QT_TRANSLATE_NOOP("messages", "Error:%1")).arg(text));
}

/// A setting that only an editor makes. "portLink": the device file of the line to the port hardware, which is
/// simulated without it. "consolePort": of a tool's line. "webSocketOrigins": pages of other hosts that may come.
QVariant setting(const SettingManager::Location &location, const char *name)
{
    const QString key = QString::fromLatin1(name);
    return QSettings(location.settingsFile, QSettings::IniFormat).value(key);
}
} // namespace

/// In order of construction; they end in reverse.
struct MainApplication::Parts
{
    Parts(const Options &options, const SettingManager::Location &where)
        : location(where)
        , settings(location)
        , scripts(options.mayChangeSystem ? SystemScripts::Permission::AsRoot : SystemScripts::Permission::Never)
    {
        QObject::connect(&interfaces, &InterfaceWatch::changed, &networkSetup, &NetworkSetup::look);
    }

    QString serviceStatus() const;

    const SettingManager::Location location;
    Translations translations;
    SettingManager settings;
    SystemScripts scripts;
    NetworkSetup networkSetup{ settings, scripts };
    InterfaceWatch interfaces;
    std::unique_ptr<TerminalMonitor> monitor;
    std::unique_ptr<MonitorHistory> history; // nullptr: none is kept
    ConfiguredPorts *ports = nullptr;        // borrowed
    std::unique_ptr<DeviceManager> devices;
    QThread daemonThread;
    DaemonWorker *daemon = nullptr; // deleted when its thread finishes
    std::unique_ptr<PanelBridge> panels;
    std::unique_ptr<ControllerBridge> controllers;
    std::unique_ptr<ServiceBridge> services;
    std::unique_ptr<ExecManager> exec;
    std::unique_ptr<Uploads> uploads;
    QThread consoleThread;                   // its worker is deleted when it finishes
    std::unique_ptr<NetworkManager> network; // its threads end before the program does
    std::unique_ptr<ControllerLinks> links;
    std::unique_ptr<WebPages> web;
    std::unique_ptr<StopSignals> signalsToStop;
    ServiceManagerLink serviceManager{ [this] { return serviceStatus(); } };
};

/// One line about what runs here.
QString MainApplication::Parts::serviceStatus() const
{
    const int number = settings.systemNumber();
    return exec->program() ? translated(QT_TRANSLATE_NOOP("messages", "Program %1, system %2"))
                                 .arg(QFileInfo(exec->objectFilePath()).fileName())
                                 .arg(number)
                           : translated(QT_TRANSLATE_NOOP("messages", "No program, system %1")).arg(number);
}

MainApplication::MainApplication(int &argc, char **argv)
    : QCoreApplication(argc, argv)
{
    const ConfigManager identity;
    setApplicationName(identity.role());
    setApplicationVersion(identity.version());
    setOrganizationName(identity.organisation());
    setOrganizationDomain(identity.applicationId());
    qRegisterMetaType<QAbstractSocket::SocketError>("SocketError"); // travels in queued signals
}

MainApplication::~MainApplication()
{
    endParts();
}

std::optional<int> MainApplication::start()
{
    const auto parsed = parseOptions(arguments());
    if (const auto *end = std::get_if<OptionsEnd>(&parsed)) {
        if (end->status != 0) {
            sayOnStandardError(end->text);
        } else if (std::puts(end->text.toLocal8Bit().constData()) < 0 || std::fflush(stdout) != 0) {
            sayOnStandardError(QStringLiteral("arkivon: cannot write the output: ") +
                               QString::fromLocal8Bit(std::strerror(errno)));
            return 1;
        }
        return end->status;
    }
    return startParts(std::get<Options>(parsed));
}

int MainApplication::run()
{
    int status = 0;
    const SettingManager &settings = m_parts->settings;
    do {
        status = exec(); // a quit that nobody has given a reason for goes back to work
    } while (!settings.isRebootRequested() && !settings.isRestartRequested() && !ProgramStop::isEndRequested());

    const bool comesBack = settings.isRebootRequested() || settings.isRestartRequested();
    m_parts->serviceManager.stopping(comesBack ? translated(QT_TRANSLATE_NOOP("messages", "Starting again"))
                                               : translated(QT_TRANSLATE_NOOP("messages", "Ending")));
    if (m_parts->uploads->hasNewProgram()) {
        m_parts->exec->forgetValues();
    }
    PortManager &ports = m_parts->devices->ports();
    if (settings.isRebootRequested()) {
        ports.writeClosingFrame();
    }
    ports.writeClosingFrame();
    endParts();
    return status;
}

std::optional<int> MainApplication::startParts(const Options &options)
{
    if (!options.dataDirectory.isEmpty() && !QDir().mkpath(options.dataDirectory)) {
        return refuse(QStringLiteral("Cannot make the data directory %1.").arg(options.dataDirectory));
    }
    const QString directory = options.dataDirectory.isEmpty() ? QString() : QDir(options.dataDirectory).absolutePath();
    const SettingManager::Location location = SettingManager::locationIn(directory);
    m_folder = std::make_unique<DataFolder>(location.dataDirectory);
    if (const std::optional<QString> problem = m_folder->take()) {
        return refuse(*problem);
    }
    m_parts = std::make_unique<Parts>(options, location);
    Parts &parts = *m_parts;
    if (!options.objectFilePath.isEmpty()) { // may lie elsewhere
        FileReplacement::removeLeftoverOf(options.objectFilePath);
    }
    parts.translations.install(options.language.isEmpty() ? parts.settings.language() : options.language);
    parts.signalsToStop = std::make_unique<StopSignals>(ProgramStop::requestEnd);
    connect(parts.signalsToStop.get(), &StopSignals::received, this, [this] {
        m_parts->exec->stopProgram();
        quit();
    });
    if (options.hasMonitor) {
        parts.monitor = std::make_unique<TerminalMonitor>();
    }
    if (options.monitorHistory > 0) {
        parts.history = std::make_unique<MonitorHistory>(options.monitorHistory);
    }

    parts.networkSetup.start(); // first of all: what follows wants its address, and the program the network

    auto hardware = std::make_unique<ConfiguredPorts>(parts.location.dataDirectory + QStringLiteral("/ports.ini"),
                                                      setting(parts.location, "portLink").toString());
    parts.ports = hardware.get();
    parts.devices = std::make_unique<DeviceManager>(std::move(hardware));
    parts.devices->ports().open();
    startSupervisorLink();

    parts.panels = std::make_unique<PanelBridge>(*parts.devices);
    parts.controllers = std::make_unique<ControllerBridge>(*parts.devices);
    parts.devices->setControllerLink(parts.controllers.get());
    parts.services = std::make_unique<ServiceBridge>(parts.settings, parts.scripts, parts.networkSetup, [this] {
        QMetaObject::invokeMethod(
            this, [] { quit(); }, Qt::QueuedConnection);
    });
    parts.services->setPorts(parts.ports);
    parts.devices->setReboot([services = parts.services.get()] { services->reboot(); });
    parts.exec = std::make_unique<ExecManager>(parts.location.dataDirectory, *parts.devices);
    ExecManager &exec = *parts.exec;
    exec.setTraceBytes(options.traceMegabytes * 1024LL * 1024LL);
    parts.services->setQuestions(
        [&exec](const QByteArray &question) { return answerQuestion(exec.program(), question); });
    exec.setOwnAddress([&settings = parts.settings] { return settings.ownAddress(); });
    parts.devices->ports().setIrFilePath([&exec](int port) { return exec.irFilePath(port); });

    loadProgram(options);
    parts.networkSetup.waitUntilUsed();
    if (const std::optional<int> status = startNetwork(options)) {
        return status;
    }
    if (options.httpPort) { // when it cannot be had, the process ends before the program has done anything
        if (const std::optional<int> status = startWebServer(options)) {
            return status;
        }
    }
    if (!parts.scripts.isAllowed()) {
        monitorLog(MonitorMessageType::System,
                   translated(QT_TRANSLATE_NOOP("messages", "System changes are off: network and date stay")));
    }
    exec.runStart();
    exec.startMainline();
    if (!options.httpPort) {
        startWebServer(options); // without pages it goes on
    }
    parts.serviceManager.ready();
    return std::nullopt;
}

void MainApplication::startSupervisorLink()
{
    Parts &parts = *m_parts;
    parts.daemon = new DaemonWorker;
    connect(&parts.devices->ports(), &PortManager::sendLedInfo, parts.daemon, &DaemonWorker::sendLed);
    connect(parts.ports, &ConfiguredPorts::frameWritten, parts.daemon, &DaemonWorker::sendPortFrame);
    connect(parts.daemon, &DaemonWorker::shouldQuit, this, &MainApplication::quitOnSupervisorsWish);
    // The wish itself must reach a program in an endless loop too, so its flag is set on the worker's thread.
    connect(parts.daemon, &DaemonWorker::shouldQuit, parts.daemon, ProgramStop::requestEnd);
    parts.daemon->moveToThread(&parts.daemonThread);
    connect(&parts.daemonThread, &QThread::finished, parts.daemon, &QObject::deleteLater);
    const StopSignals::Blocked blocked;
    parts.daemonThread.start();
}

void MainApplication::loadProgram(const Options &options)
{
    ExecManager &exec = *m_parts->exec;
    connect(&exec, &ExecManager::programGoingAway, this, [this] {
        m_parts->panels->setProgram(nullptr);
        m_parts->controllers->setProgram(nullptr);
    });
    if (!options.objectFilePath.isEmpty()) {
        exec.setObjectFilePath(options.objectFilePath);
    }
    exec.setWebSocketOrigins(setting(m_parts->location, "webSocketOrigins").toStringList());
    if (const std::optional<QString> problem = m_folder->whyNotWritable()) {
        reportEverywhere(*problem); // a room that keeps no values still has to work
    }
    QString problem;
    switch (exec.loadProgram()) {
    case ExecManager::Load::Done:
        break;
    case ExecManager::Load::NoFile:
        if (!options.objectFilePath.isEmpty()) { // no default program is the state of a new controller
            problem = translated(QT_TRANSLATE_NOOP("messages", "Object file %1 does not exist"));
        }
        break;
    case ExecManager::Load::CannotCopy:
        problem = translated(QT_TRANSLATE_NOOP("messages", "Object file %1 cannot be read"));
        break;
    case ExecManager::Load::Damaged:
        problem = translated(QT_TRANSLATE_NOOP("messages", "Object file %1 is damaged or no program"));
        break;
    }
    if (!problem.isEmpty()) {
        reportEverywhere(problem.arg(exec.objectFilePath()));
    }
    m_parts->panels->setProgram(exec.program());
    m_parts->controllers->setProgram(exec.program());
}

std::optional<int> MainApplication::startNetwork(const Options &options)
{
    Parts &parts = *m_parts;
    parts.network =
        std::make_unique<NetworkManager>(LinkHooks{ *parts.panels, *parts.panels, *parts.panels, *parts.services });
    NetworkManager &network = *parts.network;
    if (parts.history) {
        network.setMonitorHistory(*parts.history);
    }
    serveUploads();
    connect(&network, &NetworkManager::programError, this, [this](const QString &text) {
        if (ControlProgram *program = m_parts->exec->program()) {
            program->tree().reportError(text);
        }
    });
    connect(parts.devices.get(), &DeviceManager::gotIRCode, &network, &NetworkManager::sendIrCode);
    parts.devices->setPanelLink(&network);
    parts.controllers->setNetwork(&network);
    network.setControllerMessageHook(
        [controllers = parts.controllers.get()](SocketClient &peer, const QByteArray &body) {
            return controllers->takeRequest(peer, body);
        });
    LinkOptions link;
    link.bindAddress = options.bindAddress;
    if (const std::optional<QString> problem = network.start(link)) {
        return refuse(*problem);
    }
    monitorLog(MonitorMessageType::System, translated(QT_TRANSLATE_NOOP("messages", "Network started.")));
    if (const QString waits = parts.interfaces.expect(options.bindAddress); !waits.isEmpty()) {
        sayOnStandardError(waits);
    }
    startControllerLinks(options);
    serveConsolePort();
    return std::nullopt;
}

std::optional<int> MainApplication::startWebServer(const Options &options)
{
    auto &web = m_parts->web;
    web = std::make_unique<WebPages>(m_parts->location.dataDirectory, options);
    return options.httpPort && !web->error().isEmpty() ? std::optional(refuse(web->error())) : std::nullopt;
}

void MainApplication::startControllerLinks(const Options &options)
{
    Parts &parts = *m_parts;
    ListenerOptions listener;
    listener.bindAddress = options.bindAddress;
    listener.handshake = QStringLiteral("3:100:%1:%2").arg(applicationName(), applicationVersion()).toUtf8();
    parts.links = std::make_unique<ControllerLinks>(
        listener, [network = parts.network.get()]() -> IoThread & { return network->nextThread(); });
    parts.controllers->setLinks(parts.links.get());
    parts.services->setLinks(parts.links.get());
}

void MainApplication::serveUploads()
{
    Parts &parts = *m_parts;
    const ExecManager &exec = *parts.exec;
    const TransferPaths paths{ exec.objectFilePath(), exec.sourceFilePath(), exec.uiFilePath(), exec.webArchivePath(),
                               exec.irFilePattern() };
    const Uploads::Actions actions{ [this] { m_parts->exec->stopProgram(); },
                                    [this] {
                                        m_parts->settings.requestRestart();
                                        quit();
                                    },
                                    [this] {
                                        m_parts->settings.requestReboot();
                                        quit();
                                    } };
    parts.uploads = std::make_unique<Uploads>(paths, exec.webFolder(), actions, *parts.daemon);
    parts.network->setFileTransfers(&parts.uploads->service());
}

void MainApplication::serveConsolePort()
{
    Parts &parts = *m_parts;
    const QString device = setting(parts.location, "consolePort").toString();
    if (device.isEmpty()) {
        return;
    }
    LinkRequests &requests = parts.network->requests();
    SerialPortWorker::Actions actions;
    actions.setNetwork = [&requests](const Console::SetNetwork &set) {
        requests.changeNetwork(set.isDhcp ? HostNetwork()
                                          : HostNetwork{ false, set.ip, set.netmask, set.gateway, set.nameServer });
    };
    actions.setSystemNumber = [&requests](int number) { return requests.changeSystemNumber(number); };
    actions.setMac = [&requests](const QString &mac) { return requests.setMacAddress(mac); };
    actions.setDateTime = [this](const QString &text) {
        QMetaObject::invokeMethod(
            this, [this, text] { m_parts->services->setDateTime(text); }, Qt::QueuedConnection);
    };
    auto *worker = new SerialPortWorker(device, parts.settings, actions, parts.uploads->files());
    worker->moveToThread(&parts.consoleThread);
    connect(&parts.consoleThread, &QThread::started, worker, &SerialPortWorker::start);
    connect(&parts.consoleThread, &QThread::finished, worker, &QObject::deleteLater);
    const StopSignals::Blocked blocked;
    parts.consoleThread.start();
}

void MainApplication::quitOnSupervisorsWish()
{
    m_parts->exec->stopProgram();
    m_parts->settings.requestReboot();
    quit();
}

void MainApplication::endParts()
{
    if (!m_parts) {
        return;
    }
    Parts &parts = *m_parts;
    parts.consoleThread.quit();
    parts.consoleThread.wait();
    parts.web.reset();
    if (parts.links) {
        parts.controllers->setLinks(nullptr);
        parts.services->setLinks(nullptr);
        parts.links.reset();
    }
    parts.networkSetup.endTrial();
    if (parts.network) {
        parts.devices->setPanelLink(nullptr);
        parts.controllers->setNetwork(nullptr);
        parts.network.reset(); // with its threads: from here on only the main thread knows the program
    }
    if (parts.daemonThread.isRunning()) { // let it send what is queued for it
        QMetaObject::invokeMethod(parts.daemon, &DaemonWorker::finish, Qt::BlockingQueuedConnection);
    }
    parts.daemonThread.quit();
    parts.daemonThread.wait();
    parts.signalsToStop.reset();
    if (parts.exec) {
        parts.exec->unloadProgram();
    }
    constexpr int kLastSendsMs = 500;
    OneShotSends::instance().finish(kLastSendsMs); // what the program wanted to say before a restart
    m_parts.reset();
}
