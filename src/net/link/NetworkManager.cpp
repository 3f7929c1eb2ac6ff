#include "net/link/NetworkManager.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/MonitorHistory.h"
#include "base/Overloaded.h"
#include "base/SystemNumber.h"
#include "io/ListenSocket.h"
#include "net/link/LinkCodes.h"
#include "net/link/MonitorPast.h"
#include <QDateTime>

#include <algorithm>
#include <limits>

#include <sys/resource.h>

namespace {
constexpr int kNoHandlersNumber = 100; // tools and controllers: no online event, no snapshot
constexpr int kMaxPropertyBody = 4076; // panels take a message of 4096 bytes, 20 of them around the body
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

void sayFailed(SocketClient &client, const LinkServices::Problem &problem)
{
    if (problem) {
        client.sendPlain(LinkCode::kTextReply, "failed:" + problem->toUtf8());
    }
}

/// The parts joined by ":".
template <class First, class... More>
QByteArray fields(const First &first, const More &...more)
{
    const auto text = [](const auto &part) {
        if constexpr (std::is_convertible_v<decltype(part), QByteArray>) {
            return QByteArray(part);
        } else {
            return QByteArray::number(part);
        }
    };
    QByteArray joined = text(first);
    ((joined += ':', joined += text(more)), ...);
    return joined;
}

template <class Number>
QByteArray joinedNumbers(const QVector<Number> &numbers)
{
    QByteArray joined;
    for (const Number number : numbers) {
        if (!joined.isEmpty()) {
            joined += ',';
        }
        joined += QByteArray::number(number);
    }
    return joined;
}

/// Key and value in turn, all joined by ":"; a value that is missing is 0.
QByteArray joinedPairs(const QVector<qint64> &keys, const QVector<qint64> &values)
{
    QByteArray joined;
    for (int index = 0; index < keys.size(); ++index) {
        if (index > 0) {
            joined += ':';
        }
        joined += fields(keys.at(index), values.value(index));
    }
    return joined;
}

QByteArray propertyText(PropertyKind kind, const QByteArray &name, const QVariant &value)
{
    return panelPropertyType(kind, name) == PropertyType::Text ? value.toByteArray()
                                                               : QByteArray::number(value.toLongLong());
}

void notify(const QString &text)
{
    monitorLog(MonitorMessageType::Connection, text);
}
} // namespace

NetworkManager::NetworkManager(const LinkHooks &hooks, QObject *parent)
    : QObject(parent)
    , m_hooks(hooks)
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
    m_history = &history;
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
    ListenSocket::Result listening =
        ListenSocket::open(options.bindAddress, options.port, first.loop(),
                           [this](int socket, const QString &peerAddress) { accept(socket, peerAddress); });
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

void NetworkManager::queryButtonStatus(int deviceId, int channelCode)
{
    sendPlain(deviceId, LinkCode::kStatusQuery, fields(channelCode));
}

void NetworkManager::queryButtonText(int deviceId, int channelCode, int stateIndex)
{
    sendPlain(deviceId, LinkCode::kTextQuery, fields("text", channelCode, stateIndex));
}

void NetworkManager::queryButtonProperty(int deviceId, int channelCode, const QByteArray &name)
{
    sendPlain(deviceId, LinkCode::kPropertyQuery, fields("property", channelCode, name));
}

void NetworkManager::queryButtonStateProperty(int deviceId, int channelCode, int stateIndex, const QByteArray &name)
{
    sendPlain(deviceId, LinkCode::kStatePropertyQuery, fields("stateproperty", channelCode, stateIndex, name));
}

void NetworkManager::queryPageProperty(int deviceId, const QByteArray &page, const QByteArray &name)
{
    sendPlain(deviceId, LinkCode::kPagePropertyQuery, fields("pageproperty", page, name));
}

void NetworkManager::setRangeButtonStatus(int deviceId, int channelCode, int status, int first, int last)
{
    const QByteArray range = QByteArray::number(first) + '-' + QByteArray::number(last);
    sendMessage(deviceId, LinkCode::kChannelStatus, fields(channelCode, status, range));
}

void NetworkManager::setRangeButtonStatusVals(int deviceId, const QVector<qint64> &channelCodes,
                                              const QVector<qint64> &statuses)
{
    if (channelCodes.size() == 1) {
        sendMessage(deviceId, LinkCode::kChannelStatus, fields(channelCodes.first(), statuses.value(0), "0-0"));
    } else if (!channelCodes.isEmpty()) {
        sendMessage(deviceId, LinkCode::kChannelStatus, joinedPairs(channelCodes, statuses));
    }
}

void NetworkManager::setListButtonStatus(int deviceId, int channelCode, int status, const QVector<int> &buttons)
{
    sendMessage(deviceId, LinkCode::kListStatus, fields(channelCode, status, joinedNumbers(buttons)));
}

void NetworkManager::sendLevel(int deviceId, int levelCode, int level)
{
    m_registry.visitNumber(deviceId, [&](SocketClient &client) { client.sendLevel(levelCode, level); });
}

void NetworkManager::sendLevels(int deviceId, const QVector<qint64> &levelCodes, const QVector<qint64> &levels)
{
    sendMessage(deviceId, LinkCode::kLevel, joinedPairs(levelCodes, levels));
}

void NetworkManager::sendCommand(int deviceId, const QByteArray &data)
{
    sendMessage(deviceId, LinkCode::kCommand, data);
}

void NetworkManager::setButtonProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                                       const QVariant &value)
{
    const QByteArray body = fields("setproperty", joinedNumbers(channelCodes), name,
                                   propertyText(PropertyKind::SettableButton, name, value));
    if (isSendable(body, QT_TRANSLATE_NOOP("messages", "Too long message in set_button_property function"))) {
        sendMessage(deviceId, LinkCode::kSetProperty, body);
    }
}

void NetworkManager::setButtonStateProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                                            int stateIndex, const QVariant &value)
{
    const QByteArray body = fields("setstateproperty", joinedNumbers(channelCodes), name, stateIndex,
                                   propertyText(PropertyKind::State, name, value));
    if (isSendable(body, QT_TRANSLATE_NOOP("messages", "Too long message in set_button_state_property function"))) {
        sendMessage(deviceId, LinkCode::kSetStateProperty, body);
    }
}

void NetworkManager::setPageProperty(int deviceId, const QByteArray &page, const QByteArray &name,
                                     const QVariant &value)
{
    sendMessage(deviceId, LinkCode::kSetPageProperty,
                fields("setpageproperty", page, name, propertyText(PropertyKind::SettablePage, name, value)));
}

void NetworkManager::setContainerProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                                          const QByteArray &data)
{
    const QByteArray body = fields("setcontainerproperty", joinedNumbers(channelCodes), name, data);
    if (isSendable(body, QT_TRANSLATE_NOOP("messages", "Too long message in set_container_property function"))) {
        sendMessage(deviceId, LinkCode::kSetContainerProperty, body);
    }
}

void NetworkManager::containerCall(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &method,
                                   const QByteArray &data)
{
    const QByteArray body = fields("containercall", joinedNumbers(channelCodes), method, data);
    if (isSendable(body, QT_TRANSLATE_NOOP("messages", "Too long message in container_call function"))) {
        sendMessage(deviceId, LinkCode::kContainerCall, body);
    }
}

LinkServices::Problem NetworkManager::changeSystemNumber(int number)
{
    if (!isSystemNumber(number)) {
        return std::nullopt;
    }
    const LinkServices::Problem problem = m_hooks.services.setSystemNumber(number);
    m_registry.visitType(PeerType::kController, [](SocketClient &client) { client.close(); });
    return problem;
}

void NetworkManager::makeStaticIp(const QString &ip, const QString &netmask, const QString &gateway, const QString &dns,
                                  const QString &mac)
{
    changeNetwork({ false, ip, netmask, gateway, dns }, mac, LinkServices::Trial::Wanted);
}

void NetworkManager::makeDHCP(const QString &mac)
{
    changeNetwork({}, mac, LinkServices::Trial::Wanted);
}

void NetworkManager::changeNetwork(const HostNetwork &network, const QString &mac, LinkServices::Trial trial,
                                   const std::weak_ptr<SocketClient> &asker)
{
    m_hooks.services.setNetwork(network, mac, trial, [this, asker](const QString &problem) {
        if (problem.isEmpty()) {
            rebootUnless(std::nullopt);
            return;
        }
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "The network stays as it was: %1")).arg(problem));
        if (const auto client = asker.lock()) {
            client->sendPlain(LinkCode::kTextReply, "network:" + problem.toUtf8());
        }
    });
}

LinkServices::Problem NetworkManager::setMacAddress(const QString &mac)
{
    return rebootUnless(m_hooks.services.setMac(mac));
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

void NetworkManager::accept(int socket, const QString &peerAddress)
{
    IoThread &thread = nextThread();
    const auto client =
        std::make_shared<SocketClient>(socket, peerAddress, thread, static_cast<LinkEventSink &>(*this));
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
    if (report.isPressed) {
        m_hooks.events.buttonPressed(device, report.channel, client.gatherUntilHandled());
    } else {
        m_hooks.events.buttonReleased(device, report.channel, client.gatherUntilHandled());
    }
    pauseWhenFull(client);
    if (isMonitored()) {
        const char *const text =
            report.isPressed
                ? QT_TRANSLATE_NOOP("messages", "Button pressed: device id %1, channel code %2, level code %3")
                : QT_TRANSLATE_NOOP("messages", "Button released: device id %1, channel code %2, level code %3");
        notify(translated(text).arg(report.device).arg(report.channel).arg(report.level));
    }
}

void NetworkManager::take(SocketClient &client, const LevelReport &report)
{
    m_hooks.events.levelChanged(static_cast<quint16>(report.device), report.level, report.value,
                                client.gatherUntilHandled());
    pauseWhenFull(client);
    if (isMonitored()) {
        notify(translated(QT_TRANSLATE_NOOP("messages",
                                            "level changed: device id %1, channel code %2, level code %3, level %4"))
                   .arg(report.device)
                   .arg(report.channel)
                   .arg(report.level)
                   .arg(report.value));
    }
}

void NetworkManager::pauseWhenFull(SocketClient &client) const
{
    if (isFull()) { // a panel that pushes faster than the program can follow, or a program in an endless loop
        client.pause();
    }
}

void NetworkManager::take(SocketClient &client, const StatusReply &reply)
{
    onMainThread(client, Backlog::Kind::Answer, 0,
                 [this, reply] { m_hooks.replies.gotButtonStatus(reply.device, reply.channel, reply.status); });
}

void NetworkManager::take(SocketClient &client, const ButtonTextReply &reply)
{
    const int bytes = reply.text.size();
    onMainThread(client, Backlog::Kind::Answer, bytes, [this, reply, number = client.deviceNumber()] {
        m_hooks.replies.gotButtonText(number, reply.channel, reply.stateIndex, reply.text);
    });
}

void NetworkManager::take(SocketClient &client, const PropertyReply &reply)
{
    const int bytes = reply.page.size() + reply.value.toByteArray().size();
    onMainThread(client, Backlog::Kind::Answer, bytes, [this, reply, number = client.deviceNumber()] {
        PanelReplies &replies = m_hooks.replies;
        if (reply.kind == PropertyKind::Page) {
            replies.gotPageProperty(number, reply.page, reply.name, reply.value);
        } else if (reply.kind == PropertyKind::State) {
            replies.gotButtonStateProperty(number, reply.channel, reply.stateIndex, reply.name, reply.value);
        } else {
            replies.gotButtonProperty(number, reply.channel, reply.name, reply.value);
        }
    });
}

void NetworkManager::take(SocketClient &client, const InformationRequest &)
{
    client.sendPlain(LinkCode::kInformation, m_hooks.services.informationString());
}

void NetworkManager::take(SocketClient &client, const TextCommand &command)
{
    if (const std::optional<Management::Command> known = Management::parse(command.text)) {
        perform(client, *known);
    }
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

void NetworkManager::perform(SocketClient &client, const Management::Command &command)
{
    using namespace Management;
    const auto reply = [&client](const QByteArray &text) { client.sendPlain(LinkCode::kTextReply, text); };
    const auto trialOf = [](bool isTried) {
        return isTried ? LinkServices::Trial::Wanted : LinkServices::Trial::Never;
    };
    const auto replyWhenFailed = [&client](const LinkServices::Problem &problem) { sayFailed(client, problem); };
    const auto request = [this, &client](int textBytes, auto job) {
        onMainThread(client, Backlog::Kind::Request, textBytes, std::move(job));
    };
    const Overloaded performers{
        [&](const SetSystemNumber &set) {
            notify(translated(QT_TRANSLATE_NOOP("messages", "Set system number")));
            replyWhenFailed(changeSystemNumber(set.number));
        },
        [&](const Reboot &) {
            notify(translated(QT_TRANSLATE_NOOP("messages", "Reboot device")));
            m_hooks.services.reboot();
        },
        [&](const UseDhcp &use) {
            notify(translated(QT_TRANSLATE_NOOP("messages", "Change to DHCP mode")));
            changeNetwork({}, use.mac, trialOf(use.isTried), client.weak_from_this());
        },
        [&](const UseStaticIp &use) {
            notify(translated(QT_TRANSLATE_NOOP("messages", "Set ip address: %1")).arg(use.ip));
            changeNetwork({ false, use.ip, use.netmask, use.gateway, use.dns }, use.mac, trialOf(use.isTried),
                          client.weak_from_this());
        },
        [&](const AskDateTime &) {
            const QDateTime now = QDateTime::currentDateTime();
            reply("datetime:" + now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toLatin1());
        },
        [&](const SetDateTime &set) {
            request(set.text.size(), [this, text = set.text] { m_hooks.services.setDateTime(text); });
            reply("datetimeSet");
        },
        [&](const AskIrCode &ask) { request(0, [this, number = ask.number] { m_hooks.replies.queryIRCode(number); }); },
        [&](const AskListenAddresses &) {
            reply("listening:" + m_hooks.services.listenAddresses().join(QLatin1Char('\n')).toUtf8());
        },
        [&](const AskListenStatus &ask) {
            request(ask.text.size(), [this, weak = client.weak_from_this(), text = ask.text] {
                const LinkServices::Problem problem =
                    text.trimmed().isEmpty() ? std::nullopt
                                             : m_hooks.services.setListenAddresses(text.split(QLatin1Char('\n')));
                if (const auto asker = weak.lock()) {
                    sayFailed(*asker, problem);
                    asker->sendPlain(LinkCode::kTextReply, "listenstatus:" + m_hooks.services.listenStatus());
                }
            });
        },
        [&](const AskMonitorHistory &ask) { tellPast(client, ask.ageMs); },
    };
    std::visit(performers, command);
}

void NetworkManager::tellPast(SocketClient &client, qint64 ageMs) const
{
    const auto reply = [&client](const MonitorPast::Reply &told) {
        client.sendPlain(LinkCode::kTextReply, MonitorPast::encode(told));
    };
    if (!m_history) {
        reply(MonitorPast::NotKept());
        return;
    }
    // Only the seam is sent under the lock of the history: lines of other threads wait no longer than that.
    const MonitorHistory::Past past =
        m_history->since(QDateTime::currentMSecsSinceEpoch(), ageMs, [&reply](const MonitorHistory::Past &asked) {
            reply(MonitorPast::Seam{ asked.nowMs, asked.lostUntilMs });
        });
    for (const MonitorPast::Lines &page : MonitorPast::pages(past.lines)) {
        reply(page);
    }
    reply(MonitorPast::End());
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

LinkServices::Problem NetworkManager::rebootUnless(const Problem &problem)
{
    if (!problem) {
        monitorLog(MonitorMessageType::System, translated(QT_TRANSLATE_NOOP("messages", "Reboot device")));
        m_hooks.services.reboot();
    }
    return problem;
}

template <class Job>
bool NetworkManager::onMainThread(SocketClient &client, Backlog::Kind kind, int textBytes, Job job)
{
    return m_backlog.post(client.shared_from_this(), textBytes, kind, std::move(job));
}

void NetworkManager::sendPlain(int deviceId, quint8 code, const QByteArray &body)
{
    m_registry.visitNumber(deviceId, [&](SocketClient &client) { client.sendPlain(code, body); });
}

void NetworkManager::sendMessage(int deviceId, quint8 code, const QByteArray &body)
{
    m_registry.visitNumber(deviceId, [&](SocketClient &client) { client.sendMessage(code, body); });
}

bool NetworkManager::isSendable(const QByteArray &body, const char *errorText)
{
    if (body.size() <= kMaxPropertyBody) {
        return true;
    }
    Q_EMIT programError(translated(errorText));
    return false;
}
