#include "net/link/NetworkManager.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/MonitorHistory.h"
#include "io/ListenSocket.h"
#include "net/link/LinkTable.h"

#include <algorithm>
#include <limits>

#include <sys/resource.h>

namespace {
constexpr int kNoHandlersNumber = 100; // tools and controllers: no online event, no snapshot
constexpr int kFirstPanelNumber = 9001;
constexpr int kLastPanelNumber = 32767;

/// As many descriptors as the system lets us have: each panel takes one, and the usual 1024 is soon used up.
/// Returns how many of them connections may take: without one left the program's values could not be stored.
int allowManyDescriptors()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return std::numeric_limits<int>::max();
    }
    if (limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, std::numeric_limits<int>::max()) / 4 * 3);
}

void notify(const QString &text)
{
    monitorLog(MonitorMessageType::Connection, text);
}
} // namespace

NetworkManager::NetworkManager(const LinkHooks &hooks, QObject *parent)
    : QObject(parent)
    , m_hooks(hooks)
    , m_requests(hooks, m_registry, m_backlog)
{
    // Direct: a line reaches the tools also while a program keeps the main thread busy.
    connect(&NotificationCenter::instance(), &NotificationCenter::line, this, &NetworkManager::sendMonitorLine,
            Qt::DirectConnection);
}

NetworkManager::~NetworkManager()
{
    stop();
}

void NetworkManager::setMonitorHistory(MonitorHistory &history)
{
    m_requests.setMonitorHistory(history);
    disconnect(&NotificationCenter::instance(), nullptr, this, nullptr);
    connect(&history, &MonitorHistory::line, this, &NetworkManager::sendMonitorLine, Qt::DirectConnection);
}

std::optional<QString> NetworkManager::start(const LinkOptions &options)
{
    Q_ASSERT(m_threads.empty());
    m_isStopping = false;
    m_registry.setLimits(std::min(options.mostConnections, allowManyDescriptors()), options.mostOfOneAddress);
    m_portTests = std::make_unique<PortTests>();
    const int threadCount = options.ioThreads > 0 ? options.ioThreads : usableCores();
    for (int count = 0; count < threadCount; ++count) {
        m_threads.push_back(std::make_unique<IoThread>());
        if (!m_threads.back()->start()) {
            stop();
            return translated(QT_TRANSLATE_NOOP("messages", "Cannot start the network threads"));
        }
    }
    IoThread &first = *m_threads.front();
    ListenSocket::Result listening = ListenSocket::open(
        options.bindAddress, options.port, first.loop(),
        [this](Descriptor socket, const QString &peerAddress) { accept(std::move(socket), peerAddress); });
    if (!listening.socket) {
        stop();
        return listening.error;
    }
    m_port = listening.socket->port();
    first.add(std::move(listening.socket));
    if (options.discovery) {
        Discovery::start(*m_threads.back(), m_hooks.services, options.bindAddress, options.discoveryPorts);
    }
    return std::nullopt;
}

void NetworkManager::stop()
{
    m_isStopping = true;
    for (const std::unique_ptr<IoThread> &thread : m_threads) { // all, before one goes: the first deals out to others
        thread->stop();
    }
    m_threads.clear();
    m_portTests.reset();
    m_port = 0;
}

void NetworkManager::askPanel(int deviceId, const PanelQuestion &question)
{
    send(deviceId, PanelMessages::question(question));
}

void NetworkManager::setOnPanel(int deviceId, const PanelSetting &setting)
{
    const PanelMessages::Message message = PanelMessages::setting(setting);
    if (const char *const problem = PanelMessages::problemOf(setting, message)) {
        Q_EMIT programError(translated(problem));
    } else {
        send(deviceId, message);
    }
}

void NetworkManager::setButtonStatusRange(int deviceId, int channel, int status, int first, int last)
{
    send(deviceId, PanelMessages::statusRange(channel, status, first, last));
}

void NetworkManager::setButtonStatusList(int deviceId, int channel, int status, const QVector<int> &channels)
{
    send(deviceId, PanelMessages::statusList(channel, status, channels));
}

void NetworkManager::setButtonStatuses(int deviceId, const QVector<qint64> &channels, const QVector<qint64> &statuses)
{
    if (!channels.isEmpty()) {
        send(deviceId, PanelMessages::statuses(channels, statuses));
    }
}

void NetworkManager::sendLevel(int deviceId, int levelCode, int level)
{
    m_registry.visitNumber(deviceId, [&](SocketClient &client) { client.sendLevel(levelCode, level); });
}

void NetworkManager::sendLevels(int deviceId, const QVector<qint64> &codes, const QVector<qint64> &levels)
{
    send(deviceId, PanelMessages::levels(codes, levels));
}

void NetworkManager::sendCommand(int deviceId, const QByteArray &data)
{
    send(deviceId, { LinkCode::kCommand, data });
}

void NetworkManager::sendIrCode(int number, const QByteArray &code)
{
    const QByteArray frame =
        frameBytes(LinkCode::kTextReply, QByteArrayLiteral("ir:") + static_cast<char>(number) + code);
    m_registry.visitAll([&](SocketClient &client) { client.sendFrame(frame); });
}

void NetworkManager::sendInternalMsg(const QByteArray &body)
{
    m_registry.visitType(PeerType::kController,
                         [&](SocketClient &client) { client.sendMessage(LinkCode::kController, body); });
}

void NetworkManager::takeEvent(SocketClient &client, LinkEvent &event)
{
    std::visit([&](const auto &told) { take(client, told); }, event);
}

void NetworkManager::clientClosed(SocketClient &client)
{
    m_registry.remove(client);
    m_portTests->peerClosed(client);
    if (m_transfers) {
        m_transfers->peerGone(client);
    }
    if (m_isStopping) {
        return;
    }
    if (client.end() == LinkSocket::End::DoesNotRead) {
        notify(translated(QT_TRANSLATE_NOOP("messages", "Closed the connection with %1: it does not read"))
                   .arg(client.peerAddress()));
    } else if (client.end() == LinkSocket::End::TakesTooMuch) {
        notify(translated(QT_TRANSLATE_NOOP("messages", "Closed the connection with %1: peers take too much memory"))
                   .arg(client.peerAddress()));
    }
    notify(translated(QT_TRANSLATE_NOOP("messages", "Disconnected from %1")).arg(client.peerAddress()));
    if (const int number = client.deviceNumber(); number >= 0) {
        onMainThread(client, Backlog::Kind::NeverRefuse, 0, [this, number] { m_hooks.presence.peerOffline(number); });
    }
}

void NetworkManager::accept(Descriptor socket, const QString &peerAddress)
{
    IoThread &thread = nextThread();
    const auto client =
        std::make_shared<SocketClient>(std::move(socket), peerAddress, thread, static_cast<LinkEventSink &>(*this));
    if (!m_registry.add(*client)) {
        constexpr qint64 kTellAgainMs = 1000;
        if (const qint64 nowMs = linkClockMs(); nowMs - m_refusedAtMs >= kTellAgainMs) {
            m_refusedAtMs = nowMs;
            notify(translated(QT_TRANSLATE_NOOP("messages", "Refused a connection of %1: there are too many"))
                       .arg(peerAddress));
        }
        return;
    }
    notify(translated(QT_TRANSLATE_NOOP("messages", "connected with %1")).arg(peerAddress));
    client->begin();
    thread.add(client);
}

void NetworkManager::take(SocketClient &client, const PeerIntroduced &peer)
{
    m_registry.introduce(client, peer.type, peer.deviceNumber);
    if (peer.deviceNumber == kNoHandlersNumber) {
        return;
    }
    if (!onMainThread(client, Backlog::Kind::Request, 0,
                      [this, weak = client.weak_from_this(), number = peer.deviceNumber] { welcome(weak, number); })) {
        client.turnAway(peer.formerNumber); // the program has been busy for long: the panel comes back
        return;
    }
    notify(translated(QT_TRANSLATE_NOOP("messages", "Connected with device: %1, version %2, id %3"))
               .arg(QString::fromUtf8(peer.name), QString::fromUtf8(peer.version), QString::number(peer.deviceNumber)));
}

void NetworkManager::take(SocketClient &client, const ButtonReport &report)
{
    const auto device = static_cast<quint16>(report.device);
    if (isMonitored()) { // the line stands before what comes of it
        const char *const text =
            report.isPressed
                ? QT_TRANSLATE_NOOP("messages", "Button pressed: device id %1, channel code %2, level code %3")
                : QT_TRANSLATE_NOOP("messages", "Button released: device id %1, channel code %2, level code %3");
        notify(translated(text).arg(report.device).arg(report.channel).arg(report.level));
    }
    if (report.isPressed) {
        m_hooks.events.buttonPressed(device, report.channel, client.gatherUntilHandled());
    } else {
        m_hooks.events.buttonReleased(device, report.channel, client.gatherUntilHandled());
    }
    pauseWhenFull(client);
}

void NetworkManager::take(SocketClient &client, const LevelReport &report)
{
    if (isMonitored()) {
        notify(translated(QT_TRANSLATE_NOOP("messages",
                                            "level changed: device id %1, channel code %2, level code %3, level %4"))
                   .arg(report.device)
                   .arg(report.channel)
                   .arg(report.level)
                   .arg(report.value));
    }
    m_hooks.events.levelChanged(static_cast<quint16>(report.device), report.level, report.value,
                                client.gatherUntilHandled());
    pauseWhenFull(client);
}

void NetworkManager::pauseWhenFull(SocketClient &client) const
{
    if (isFull()) { // a panel that pushes faster than the program can follow, or a program in an endless loop
        client.pause();
    }
}

void NetworkManager::take(SocketClient &client, const PanelAnswer &answer)
{
    const int bytes = answer.question.page.size() + answer.value.toByteArray().size();
    const int device = answer.device >= 0 ? answer.device : client.deviceNumber();
    onMainThread(client, Backlog::Kind::Answer, bytes,
                 [this, answer, device] { m_hooks.replies.panelAnswered(device, answer.question, answer.value); });
}

void NetworkManager::take(SocketClient &client, const InformationRequest &)
{
    client.sendPlain(LinkCode::kInformation, m_hooks.services.informationString());
}

void NetworkManager::take(SocketClient &client, const TextCommand &command)
{
    m_requests.take(client, command.text);
}

void NetworkManager::take(SocketClient &client, const ControllerMessage &message)
{
    if (std::function<void()> job = m_controllerMessage ? m_controllerMessage(client, message.body) : nullptr) {
        onMainThread(client, Backlog::Kind::Request, message.body.size(), std::move(job));
    }
}

void NetworkManager::take(SocketClient &client, const OtherFrame &other)
{
    const quint8 code = other.frame.code;
    if (m_transfers && LinkCode::isTransfer(code)) {
        m_transfers->take(client.shared_from_this(), other.frame);
    } else if (code == LinkCode::kPortTestRequest || code == LinkCode::kPortTestReport) {
        m_portTests->request(client, other.frame.body);
    }
}

void NetworkManager::welcome(const std::weak_ptr<SocketClient> &client, int deviceNumber)
{
    // The snapshot goes first: what the online handlers show then comes on top of it.
    if (deviceNumber >= kFirstPanelNumber && deviceNumber <= kLastPanelNumber) {
        const QByteArray snapshot = m_hooks.presence.buttonStatusSnapshot(deviceNumber);
        if (const auto panel = snapshot.isEmpty() ? nullptr : client.lock()) {
            panel->sendPlain(LinkCode::kSnapshot, snapshot);
        }
    }
    m_hooks.presence.peerOnline(deviceNumber);
}

void NetworkManager::sendMonitorLine(int type, const QString &text)
{
    QByteArray frame; // made when the first tool is met: --monitor on the terminal needs none
    m_registry.visitType(PeerType::kManagementTool, [&](SocketClient &client) {
        if (frame.isEmpty()) {
            frame = frameBytes(LinkCode::kMonitorLine, static_cast<char>(type) + text.toUtf8());
        }
        client.sendFrame(frame);
    });
}

template <class Job>
bool NetworkManager::onMainThread(SocketClient &client, Backlog::Kind kind, int textBytes, Job job)
{
    return m_backlog.post(client.shared_from_this(), textBytes, kind, std::move(job));
}

void NetworkManager::send(int deviceId, const PanelMessages::Message &message)
{
    const bool isMessage = isConfirmed<LinkMessageRow::To::Peer>(message.code);
    m_registry.visitNumber(deviceId, [&](SocketClient &client) {
        isMessage ? client.sendMessage(message.code, message.body) : client.sendPlain(message.code, message.body);
    });
}
