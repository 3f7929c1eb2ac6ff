#include "net/link/NetworkManager.h"
#include "base/Frame.h"
#include "base/Monitor.h"
#include "net/client/LinkClient.h"
#include "support/Loopback.h"
#include "support/Spoken.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QNetworkDatagram>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QUdpSocket>

#include <atomic>
#include <mutex>

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {
constexpr int kPanel = 10001;

/// The rest of the system: writes down what the link asks of it. Safe for the I/O threads.
class System : public PanelEvents, public PanelReplies, public PanelPresence, public LinkServices
{
public:
    QStringList told() const
    {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

    void forget()
    {
        const std::lock_guard lock(m_mutex);
        m_told.clear();
    }

    LinkHooks hooks() { return { *this, *this, *this, *this }; }

    void buttonPressed(quint16 device, int channel, UntilHandled untilHandled) override
    {
        if (isBusy) {
            unhandled = std::move(untilHandled);
        }
        tell("push", device, channel);
    }
    void buttonReleased(quint16 device, int channel, UntilHandled) override { tell("release", device, channel); }
    void levelChanged(quint16 device, int level, int value, UntilHandled) override
    {
        tell("level", device, level, value);
    }

    void panelAnswered(int device, const PanelQuestion &question, const QVariant &value) override
    {
        tell(spoken(device, question), value);
    }
    void queryIRCode(int number) override { tell("ir", number); }

    QByteArray buttonStatusSnapshot(int device) override { return device == kPanel ? snapshot : QByteArray(); }
    void peerOnline(int device) override { tell("online", device); }
    void peerOffline(int device) override { tell("offline", device); }

    QByteArray informationString() override { return "dhcp_127.0.0.1"; }
    QStringList listenAddresses() override { return { QStringLiteral("10.0.0.3"), QStringLiteral("10.0.0.4") }; }
    Problem setSystemNumber(int number) override { return outcome(number == 13, "system", number); }
    void setNetwork(const HostNetwork &network, const QString &mac, Trial trial, const NetworkDone &done) override
    {
        const QString tried = trial == Trial::Wanted ? QStringLiteral("tried") : QStringLiteral("untried");
        if (network.isDhcp) {
            tell("dhcp", mac, tried);
        } else {
            tell("static", network.ip, network.netmask, network.gateway, network.nameServer, mac, tried);
        }
        done(network.ip == QLatin1String("10.0.0.9") ? QStringLiteral("taken") : QString());
    }
    Problem setMac(const QString &mac) override { return outcome(false, "mac", mac); }
    void reboot() override { tell("reboot"); }
    void setDateTime(const QString &text) override { tell("date", text); }
    QByteArray listenStatus() override { return list.toUtf8() + "!"; }
    Problem setListenAddresses(const QStringList &addresses) override
    {
        list = addresses.join(QLatin1Char(' '));
        return outcome(list == QStringLiteral("bad"), "listen", list);
    }

    bool isFull() const override { return full; }

    QByteArray snapshot;
    QString list;
    std::atomic<bool> full{ false };
    std::atomic<bool> isBusy{ false };
    UntilHandled unhandled; // the last push, while busy

private:
    template <class... Parts>
    void tell(const Parts &...parts)
    {
        const std::lock_guard lock(m_mutex);
        m_told << spoken(parts...);
    }

    template <class... Parts>
    Problem outcome(bool fails, const Parts &...parts)
    {
        tell(parts...);
        return fails ? Problem(QStringLiteral("no room")) : std::nullopt;
    }

    mutable std::mutex m_mutex;
    QStringList m_told;
};

/// A peer that introduces itself, and what it has received: kind, then values.
struct Peer
{
    Peer(int type, int number)
        : client({ type, number, "test", "1" })
    {
        QObject::connect(&client, &LinkClient::received, &client, [this](const LinkMessage &message) {
            QByteArrayList parts{ linkMessageKindName(message.kind) };
            for (const auto &[name, value] : message.fields) {
                parts << value;
            }
            for (const LinkMessage::Pair &pair : message.pairs) {
                parts << QByteArray::number(pair.first) + '=' + QByteArray::number(pair.second);
            }
            received << QString::fromUtf8(parts.join(' '));
        });
    }

    LinkClient client;
    QStringList received;
};

quint32 dataSegmentsReceived(const QTcpSocket &socket)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    ::getsockopt(static_cast<int>(socket.socketDescriptor()), IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_data_segs_in;
}
} // namespace

using Send = std::function<void(NetworkManager &)>;
Q_DECLARE_METATYPE(Send)

class NetworkManagerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void panelIsHeardAndAnswered();
    void messagesOfTheProgram_data();
    void messagesOfTheProgram();
    void longMessagesAreRefused();
    void panelAnswersReachTheProgram();
    void snapshotGoesToItsPanel();
    void toolsSeeMonitorLines();
    void textCommands_data();
    void textCommands();
    void acknowledgementAndFeedbackInOneWrite();
    void busyProgramHoldsNothingBack();
    void rebootWhileTheMainThreadIsBusy();
    void garbageLeavesOthersAlone();
    void readerThatStopsIsClosed();
    void waitsWhileTheProgramIsFull();
    void fullHouse();
    void twoHundredPanels();
    void discoveryAnswersOnLoopback();

private:
    void online(Peer &peer);

    std::unique_ptr<System> m_system;
    std::unique_ptr<NetworkManager> m_network;
};

void NetworkManagerTest::init()
{
    m_system = std::make_unique<System>();
    m_network = std::make_unique<NetworkManager>(m_system->hooks());
    LinkOptions options;
    options.bindAddress = kHere;
    options.port = 0;
    options.discovery = false;
    options.ioThreads = 2;
    QCOMPARE(m_network->start(options).value_or(QString()), QString());
}

void NetworkManagerTest::cleanup()
{
    m_network.reset();
    QVERIFY(!isMonitored()); // every tool that came has also been seen to go
}

void NetworkManagerTest::online(Peer &peer)
{
    peer.client.connectTo(kHere.toString(), m_network->port());
    QTRY_VERIFY(m_network->hasPeer(peer.client.deviceNumber()));
}

void NetworkManagerTest::panelIsHeardAndAnswered()
{
    {
        Peer panel(1, kPanel);
        online(panel);
        QTRY_COMPARE(m_system->told(), QStringList{ QStringLiteral("online 10001") });
        m_system->forget();
        QSignalSpy acknowledged(&panel.client, &LinkClient::acknowledged);
        panel.client.push(5);
        panel.client.release(5);
        panel.client.reportLevel(3, -7);
        QTRY_COMPARE(acknowledged.count(), 3);
        QTRY_COMPARE(m_system->told(), (QStringList{ QStringLiteral("push 10001 5"), QStringLiteral("release 10001 5"),
                                                     QStringLiteral("level 10001 3 -7") }));
    }
    QTRY_COMPARE(m_system->told().last(), QStringLiteral("offline 10001"));
    QVERIFY(!m_network->hasPeer(kPanel));
    m_network->sendCommand(kPanel, "nobody listens");
}

void NetworkManagerTest::messagesOfTheProgram_data()
{
    const Table<QString, Send> row("message", "send");
    using Question = PanelQuestion::Kind;
    using Setting = PanelSetting::Kind;
    row("status-query 5", [](NetworkManager &net) { net.askPanel(kPanel, { Question::Status, 5 }); });
    row("text-query 5 1", [](NetworkManager &net) { net.askPanel(kPanel, { Question::Text, 5, 1 }); });
    row("property-query 5 name", [](NetworkManager &net) {
        net.askPanel(kPanel, { Question::ButtonProperty, 5, 0, "name" });
    });
    row("state-property-query 5 1 text", [](NetworkManager &net) {
        net.askPanel(kPanel, { Question::StateProperty, 5, 1, "text" });
    });
    row("page-property-query Main desc", [](NetworkManager &net) {
        net.askPanel(kPanel, { Question::PageProperty, 0, 0, "desc", "Main" });
    });
    row("feedback 5 1 0 0", [](NetworkManager &net) { net.setButtonStatusRange(kPanel, 5, 1, 0, 0); });
    row("feedback 5 0 0 0", [](NetworkManager &net) { net.setButtonStatuses(kPanel, { 5 }, {}); });
    row("feedback-channels 5=1 6=0", [](NetworkManager &net) { net.setButtonStatuses(kPanel, { 5, 6 }, { 1 }); });
    row("feedback-list 5 1 3,5,7", [](NetworkManager &net) { net.setButtonStatusList(kPanel, 5, 1, { 3, 5, 7 }); });
    row("level 1=-50", [](NetworkManager &net) { net.sendLevel(kPanel, 1, -50); });
    row("level 1=10 2=0", [](NetworkManager &net) { net.sendLevels(kPanel, { 1, 2 }, { 10 }); });
    row("command a:b", [](NetworkManager &net) { net.sendCommand(kPanel, "a:b"); });
    const auto setting = [&row](const QString &message, const PanelSetting &what) {
        row(message, [what](NetworkManager &net) { net.setOnPanel(kPanel, what); });
    };
    setting(QStringLiteral("set-property 5,6 name a:b"),
            { Setting::ButtonProperty, { 5, 6 }, "name", QByteArray("a:b") });
    setting(QStringLiteral("set-property 5 listitems 12"),
            { Setting::ButtonProperty, { 5 }, "listitems", QByteArray("12") });
    setting(QStringLiteral("set-property 5 top 12"), { Setting::ButtonProperty, { 5 }, "top", 12LL });
    setting(QStringLiteral("set-property 5 top 0"), { Setting::ButtonProperty, { 5 }, "top", QByteArray("high") });
    setting(QStringLiteral("set-state-property 5 text 2 Go"),
            { Setting::StateProperty, { 5 }, "text", QByteArray("Go"), 2 });
    setting(QStringLiteral("set-page-property Main desc x"),
            { Setting::PageProperty, {}, "desc", QByteArray("x"), 0, "Main" });
    setting(QStringLiteral("set-container-property 5 size 1"),
            { Setting::ContainerProperty, { 5 }, "size", QByteArray("1") });
    setting(QStringLiteral("container-call 5 show 1:2"), { Setting::ContainerCall, { 5 }, "show", QByteArray("1:2") });
}

void NetworkManagerTest::messagesOfTheProgram()
{
    QFETCH(Send, send);
    QFETCH(QString, message);
    Peer panel(1, kPanel);
    Peer other(1, kPanel + 1);
    online(panel);
    online(other);
    m_network->setButtonStatuses(kPanel, {}, { 1 }); // says nothing
    send(*m_network);
    m_network->sendCommand(kPanel + 1, "end");
    QTRY_COMPARE(panel.received, QStringList{ message });
    QTRY_COMPARE(other.received, QStringList{ QStringLiteral("command end") });
}

void NetworkManagerTest::longMessagesAreRefused()
{
    Peer panel(1, kPanel);
    online(panel);
    QSignalSpy errors(m_network.get(), &NetworkManager::programError);
    const auto filling = [](const char *prefix) { return QByteArray(4076 - static_cast<int>(qstrlen(prefix)), 'x'); };
    const QByteArray property = filling("setproperty:5:name:");
    const QByteArray state = filling("setstateproperty:5:text:1:");
    const QByteArray container = filling("setcontainerproperty:5:a:");
    const QByteArray call = filling("containercall:5:a:");
    using Setting = PanelSetting::Kind;
    const auto setAll = [&](const QByteArray &more) {
        m_network->setOnPanel(kPanel, { Setting::ButtonProperty, { 5 }, "name", property + more });
        m_network->setOnPanel(kPanel, { Setting::StateProperty, { 5 }, "text", state + more, 1 });
        m_network->setOnPanel(kPanel, { Setting::ContainerProperty, { 5 }, "a", container + more });
        m_network->setOnPanel(kPanel, { Setting::ContainerCall, { 5 }, "a", call + more });
    };
    setAll(QByteArray());
    m_network->setOnPanel(kPanel, { Setting::PageProperty, {}, "desc", QByteArray(9000, 'x'), 0, "Main" });
    QTRY_COMPARE(panel.received.size(), 5);
    QCOMPARE(errors.count(), 0);

    setAll("x");
    QStringList texts;
    for (const QList<QVariant> &error : errors) {
        texts << error.first().toString();
    }
    QCOMPARE(texts, (QStringList{ QStringLiteral("Too long message in set_button_property function"),
                                  QStringLiteral("Too long message in set_button_state_property function"),
                                  QStringLiteral("Too long message in set_container_property function"),
                                  QStringLiteral("Too long message in container_call function") }));
    m_network->sendCommand(kPanel, "end");
    QTRY_COMPARE(panel.received.last(), QStringLiteral("command end"));
    QCOMPARE(panel.received.size(), 6);
}

void NetworkManagerTest::panelAnswersReachTheProgram()
{
    Peer panel(1, kPanel);
    online(panel);
    QTRY_VERIFY(m_system->told().contains(QStringLiteral("online 10001")));
    m_system->forget();
    panel.client.answerStatus(5, 1);
    panel.client.answerText(5, 1, "Go: now");
    panel.client.answerProperty(5, "top", "12");
    panel.client.answerStateProperty(5, 1, "text", "Go");
    panel.client.answerPageProperty("Main", "desc", "x");
    QTRY_COMPARE(m_system->told(),
                 (QStringList{ QStringLiteral("status? 10001 5 1"), QStringLiteral("text? 10001 5 1 Go: now"),
                               QStringLiteral("button? 10001 5 top 12"), QStringLiteral("state? 10001 5 1 text Go"),
                               QStringLiteral("page? 10001 Main desc x") }));
}

void NetworkManagerTest::snapshotGoesToItsPanel()
{
    m_system->snapshot = "saved";
    Peer panel(1, kPanel);
    Peer tool(2, 100);
    online(panel);
    online(tool);
    QTRY_COMPARE(panel.received, QStringList{ QStringLiteral("snapshot") });
    QTRY_COMPARE(m_system->told(), QStringList{ QStringLiteral("online 10001") }); // number 100 raises nothing
    m_system->snapshot.clear();
    Peer again(1, kPanel);
    online(again);
    QTRY_COMPARE(m_system->told().size(), 2);
    m_network->sendCommand(kPanel, "end"); // both connections have the number; an empty snapshot is not sent
    QTRY_COMPARE(again.received, QStringList{ QStringLiteral("command end") });
    QTRY_COMPARE(panel.received.last(), QStringLiteral("command end"));
}

void NetworkManagerTest::toolsSeeMonitorLines()
{
    Peer panel(1, kPanel);
    online(panel);
    QVERIFY(!isMonitored());
    {
        Peer tool(2, 100);
        online(tool);
        QTRY_VERIFY(isMonitored());
        panel.client.push(5);
        QTRY_COMPARE(tool.received,
                     QStringList{ QStringLiteral(
                         "monitor-line 2 Button pressed: device id 10001, channel code 5, level code 0") });
        monitorLog(MonitorMessageType::Error, QStringLiteral("Error:x"));
        QTRY_COMPARE(tool.received.last(), QStringLiteral("monitor-line 4 Error:x"));
    }
    QTRY_VERIFY(!isMonitored());
    QVERIFY(panel.received.isEmpty());
}

void NetworkManagerTest::textCommands_data()
{
    // reply: a regular expression; empty: none
    const Table<QByteArray, QString, QStringList> row("command", "reply", "told");
    row("sysnum\n12", "", { "system 12" });
    row("sysnum\n0", "", {});
    row("sysnum\n13", "failed:no room", { "system 13" });
    row("reboot", "", { "reboot" });
    row("dhcp", "", { "dhcp  tried", "reboot" });
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8\nm", "",
        { "static 10.0.0.2 255.0.0.0 10.0.0.1 8.8.8.8 m tried", "reboot" });
    row("staticip\n10.0.0.9\n255.0.0.0\n10.0.0.1\n\n\nuntried", "network:taken",
        { "static 10.0.0.9 255.0.0.0 10.0.0.1   untried" });
    row("datetime?", "datetime:\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d", {});
    row("datetime!noon", "datetimeSet", { "date noon" });
    row("ir-3", "", { "ir 3" });
    row("listening?", "listening:10\\.0\\.0\\.3\n10\\.0\\.0\\.4", {});
    row("listenstatus?", "listenstatus:!", {});
    row("listenstatus?10.0.0.3\n10.0.0.4", "listenstatus:10\\.0\\.0\\.3 10\\.0\\.0\\.4!",
        { "listen 10.0.0.3 10.0.0.4" });
    row("listenstatus?bad", "failed:no room\nreply listenstatus:bad!", { "listen bad" });
    row("nonsense", "", {});
}

void NetworkManagerTest::textCommands()
{
    QFETCH(QByteArray, command);
    QFETCH(QString, reply);
    QFETCH(QStringList, told);
    Peer tool(7, 100); // no monitor lines in between: any peer may ask
    online(tool);
    tool.client.sendTextCommand(command);
    tool.client.sendPlain(0x12, QByteArray());       // what is answered to this comes after everything above …
    tool.client.sendTextCommand("listenstatus?end"); // … and this after what went through the main thread
    QTRY_VERIFY(tool.received.contains(QStringLiteral("reply listenstatus:end!")));
    QTRY_COMPARE(m_system->told(), told + QStringList(QStringLiteral("listen end")));
    tool.received.removeAll(QStringLiteral("information dhcp_127.0.0.1"));
    tool.received.removeLast();
    const QString whole = reply.isEmpty() ? reply : QStringLiteral("reply ") + reply;
    const QString received = tool.received.join(QLatin1Char('\n'));
    QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(whole)).match(received).hasMatch(),
             qPrintable(received));
}

void NetworkManagerTest::acknowledgementAndFeedbackInOneWrite()
{
    QTcpSocket panel;
    panel.connectToHost(kHere, m_network->port());
    QVERIFY(panel.waitForConnected());
    panel.write(frameBytes(LinkCode::kHandshake, "1:10001:test:1"));
    QTRY_VERIFY(m_network->hasPeer(kPanel));
    m_system->isBusy = true;
    const quint32 segmentsBefore = dataSegmentsReceived(panel);
    panel.write(QByteArray::fromHex("5651 0000000e 2a 00000007 31303030313a353a30 fc ac"));
    QTRY_VERIFY(m_system->told().contains(QStringLiteral("push 10001 5")));
    constexpr int kFeedbacks = 40;
    for (int state = 0; state < kFeedbacks; ++state) {
        m_network->setButtonStatusRange(kPanel, 5, 1, 0, state);
    }
    m_system->unhandled.reset();
    const QByteArray acknowledgement = QByteArray::fromHex("5651 00000005 21 00000007 28 ac");
    QByteArray received;
    QTRY_COMPARE((received += panel.readAll()).count(":1:0-"), kFeedbacks);
    QCOMPARE(received.count(acknowledgement), 1);
    QVERIFY(received.indexOf(acknowledgement) < received.indexOf(":1:0-"));
    const quint32 segments = dataSegmentsReceived(panel) - segmentsBefore;
    QVERIFY2(segments <= kFeedbacks / 4, QByteArray::number(segments).constData()); // one, if nothing interrupts
}

void NetworkManagerTest::busyProgramHoldsNothingBack()
{
    Peer panel(1, kPanel);
    online(panel);
    m_system->isBusy = true;
    QSignalSpy acknowledged(&panel.client, &LinkClient::acknowledged);
    for (int pushes = 1; pushes <= 3; ++pushes) {
        panel.client.push(5);
        QTRY_COMPARE(acknowledged.count(), pushes);
        m_network->sendCommand(kPanel, "working"); // from within its handler
        QTRY_COMPARE(panel.received.size(), pushes);
    }
    QVERIFY(m_system->unhandled);
    m_network->sendCommand(kPanel, "last");
    m_network.reset(); // the connection may go before the event
    QTRY_COMPARE(panel.received.value(3), QStringLiteral("command last"));
    m_system->unhandled.reset();
}

void NetworkManagerTest::rebootWhileTheMainThreadIsBusy()
{
    QTcpSocket tool; // used without an event loop
    tool.connectToHost(kHere, m_network->port());
    QVERIFY(tool.waitForConnected());
    tool.write(frameBytes(0x18, "reboot"));
    QVERIFY(tool.waitForBytesWritten());
    const QDeadlineTimer patience(20'000);
    while (m_system->told().isEmpty() && !patience.hasExpired()) { // the program's endless loop
    }
    QCOMPARE(m_system->told(), QStringList{ QStringLiteral("reboot") });
}

void NetworkManagerTest::garbageLeavesOthersAlone()
{
    Peer panel(1, kPanel);
    online(panel);
    const QByteArrayList garbage = { QByteArray(300'000, 'V'),    QByteArray::fromHex("5651 000fffff"),
                                     "GET / HTTP/1.1\r\n\r\n",    frameBytes(0x2A, "\x01"),
                                     frameBytes(0x1F, "-1:-1::"), frameBytes(0x14, QByteArray(1000, '\0')) };
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    for (const QByteArray &bytes : garbage) {
        peers.push_back(std::make_unique<QTcpSocket>());
        peers.back()->connectToHost(kHere, m_network->port());
        peers.back()->write(bytes);
        QTRY_COMPARE(peers.back()->bytesToWrite(), 0);
    }
    peers.resize(garbage.size() / 2); // half of them hang up, half stay
    QSignalSpy acknowledged(&panel.client, &LinkClient::acknowledged);
    panel.client.push(5);
    m_network->sendCommand(kPanel, "end");
    QTRY_COMPARE(acknowledged.count(), 1);
    QTRY_COMPARE(panel.received, QStringList{ QStringLiteral("command end") });
    QVERIFY(!m_network->hasPeer(-1));
}

void NetworkManagerTest::readerThatStopsIsClosed()
{
    QTcpSocket lazy;
    lazy.setReadBufferSize(1);
    lazy.connectToHost(kHere, m_network->port());
    lazy.write(frameBytes(0x1F, "1:10001:Lazy:1"));
    QTRY_VERIFY(m_network->hasPeer(kPanel));
    const QByteArray much(100'000, 'x');
    for (int sent = 0; sent < 500; ++sent) { // the system buffers some megabytes, we one more
        m_network->sendCommand(kPanel, much);
    }
    QTRY_VERIFY(m_system->told().contains(QStringLiteral("offline 10001")));
}

void NetworkManagerTest::waitsWhileTheProgramIsFull()
{
    Peer panel(1, kPanel);
    Peer other(1, kPanel + 1);
    online(panel);
    online(other);
    m_system->full = true;
    panel.client.push(1); // is taken, and the last for now
    QTRY_COMPARE(panel.client.pendingMessages(), 0);
    panel.client.push(2);
    QVERIFY(!QTest::qWaitFor([&panel] { return panel.client.pendingMessages() == 0; }, 500));
    QVERIFY(m_system->told().contains(QStringLiteral("push 10001 1")));
    QVERIFY(!m_system->told().contains(QStringLiteral("push 10001 2")));
    other.client.push(3); // who has not told too much is still heard
    QTRY_VERIFY(m_system->told().contains(QStringLiteral("push 10002 3")));
    m_system->full = false;
    QTRY_VERIFY(m_system->told().contains(QStringLiteral("push 10001 2")));
    QTRY_COMPARE(panel.client.pendingMessages(), 0);
}

void NetworkManagerTest::fullHouse()
{
    m_network->stop();
    LinkOptions options;
    options.bindAddress = kHere;
    options.port = 0;
    options.discovery = false;
    options.mostConnections = 4;
    options.mostOfOneAddress = 5;
    QCOMPARE(m_network->start(options).value_or(QString()), QString());
    const auto come = [this](const char *address) {
        auto socket = std::make_unique<QTcpSocket>();
        socket->bind(QHostAddress(QString::fromLatin1(address)));
        socket->connectToHost(kHere, m_network->port());
        return socket;
    };
    const auto isKept = [](QTcpSocket &socket) { return socket.state() == QAbstractSocket::ConnectedState; };
    Peer panel(1, kPanel);
    online(panel);
    std::vector<std::unique_ptr<QTcpSocket>> strangers;
    for (int count = 0; count < 3; ++count) {
        strangers.push_back(come("127.0.0.1"));
        QTRY_VERIFY(strangers.back()->bytesAvailable() > 0); // it is asked who it is
    }
    const auto oneMore = come("127.0.0.1"); // of those that hold the most
    QTRY_COMPARE(oneMore->state(), QAbstractSocket::UnconnectedState);
    const auto other = come("127.0.0.2");
    QTRY_VERIFY(other->bytesAvailable() > 0);
    QTRY_COMPARE(strangers.front()->state(), QAbstractSocket::UnconnectedState); // the oldest, but not the panel
    QVERIFY(isKept(*strangers.at(1)) && isKept(*strangers.at(2)) && m_network->hasPeer(kPanel));
    strangers.clear();
    const auto late = come("127.0.0.1");
    QTRY_VERIFY(late->bytesAvailable() > 0 || late->state() == QAbstractSocket::UnconnectedState);
    QVERIFY(isKept(*other));
}

void NetworkManagerTest::twoHundredPanels()
{
    constexpr int kCount = 200;
    std::vector<std::unique_ptr<Peer>> panels;
    for (int number = 0; number < kCount; ++number) {
        panels.push_back(std::make_unique<Peer>(1, 9500 + number));
        panels.back()->client.connectTo(kHere.toString(), m_network->port());
    }
    for (int number = 0; number < kCount; ++number) {
        QTRY_VERIFY(m_network->hasPeer(9500 + number));
    }
    QTRY_COMPARE(m_system->told().size(), kCount);
    m_system->forget();
    for (const auto &panel : panels) {
        panel->client.push(5);
    }
    QTRY_COMPARE(m_system->told().size(), kCount);
    QStringList distinct = m_system->told();
    QCOMPARE(distinct.removeDuplicates(), 0); // each once
    for (int number = 0; number < kCount; ++number) {
        m_network->sendLevel(9500 + number, 1, number);
    }
    for (int number = 0; number < kCount; ++number) {
        QTRY_COMPARE(panels.at(static_cast<size_t>(number))->received,
                     QStringList{ QStringLiteral("level 1=%1").arg(number) });
    }
    m_system->forget();
    panels.clear();
    QTRY_COMPARE(m_system->told().size(), kCount); // offline
}

void NetworkManagerTest::discoveryAnswersOnLoopback()
{
    QUdpSocket asker;
    QVERIFY(asker.bind(kHere));
    QUdpSocket listener; // where the broadcast goes
    QVERIFY(listener.bind(QHostAddress(QHostAddress::AnyIPv4)));
    QUdpSocket freePorts[2];
    DiscoveryPorts ports;
    for (QUdpSocket &socket : freePorts) {
        QVERIFY(socket.bind(kHere));
    }
    ports.group = freePorts[0].localPort();
    ports.direct = freePorts[1].localPort();
    ports.broadcast = listener.localPort();
    for (QUdpSocket &socket : freePorts) {
        socket.close();
    }
    m_network->stop();
    LinkOptions options;
    options.bindAddress = kHere;
    options.port = 0;
    options.discoveryPorts = ports;
    QCOMPARE(m_network->start(options).value_or(QString()), QString());

    const QByteArray request = frameBytes(0x12, QByteArray());
    const QByteArray answer = frameBytes(0x11, "dhcp_127.0.0.1");
    const auto answers = [&] {
        QByteArrayList all;
        while (asker.hasPendingDatagrams()) {
            all << asker.receiveDatagram().data();
        }
        return all;
    };
    QByteArray damaged = request;
    damaged[damaged.size() - 2] = 0;
    QUdpSocket mad;
    QVERIFY(mad.bind(kHere));
    for (const quint16 port : { ports.direct, ports.group }) {
        mad.writeDatagram(request.left(7), kHere, port);                         // half a frame
        mad.writeDatagram(QByteArray::fromHex("5651 00000050 12"), kHere, port); // one that is to go on
        asker.writeDatagram(damaged, kHere, port);
        asker.writeDatagram(QByteArray(2000, 'V'), kHere, port);
        asker.writeDatagram(frameBytes(0x15, QByteArray()), kHere, port);
        asker.writeDatagram(request.repeated(11), kHere, port); // one answer all the same
        QByteArrayList got;
        QTRY_VERIFY((got += answers()).size() >= 2); // once from each of the two sockets
        QCOMPARE(got, (QByteArrayList{ answer, answer }));
    }
    QTRY_VERIFY(listener.hasPendingDatagrams());
    QCOMPARE(listener.receiveDatagram().data(), answer);
}

TEST_CLASS(NetworkManagerTest)
#include "NetworkManagerTest.moc"
