#include "app/ControllerBridge.h"
#include "../devices/MonitorLines.h"
#include "../support/FakeTarget.h"
#include "admin/SettingManager.h"
#include "app/ExecManager.h"
#include "app/NetworkSetup.h"
#include "app/PanelBridge.h"
#include "app/ServiceBridge.h"
#include "app/SystemScripts.h"
#include "base/SystemNumber.h"
#include "compiler/Compiler.h"
#include "devices/DeviceManager.h"
#include "devices/frames/FramedPorts.h"
#include "net/client/LinkClient.h"
#include "net/controllers/ControllerLinks.h"
#include "net/link/LinkCodes.h"
#include "net/link/NetworkManager.h"
#include "runtime/ControlProgram.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTemporaryDir>

/// What a controller is for those that listen to it, and for itself as a listener: a whole one within the test, system
/// number 7, so that its own ports can be made to report. No hardware of ours does that yet.
class ControllerBridgeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void ownPortsAreToldToListeners();
    void requestsOfListeners_data();
    void requestsOfListeners();
    void numberIsToldWhileTheProgramIsBusy();
    void floodOfRequestsWaitsInTheSystem();
    void listensToItselfWithoutAnEcho();
    void eventsOfTargets_data();
    void eventsOfTargets();
    void cancelGoesOnOnlyToWhomItConcerns();
    void listOfTheSettings();

private:
    void raise(EventType type, int port, int channel, const QByteArray &data = {});
    void join(LinkClient &listener);

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<MonitorLines> m_monitor;
    std::unique_ptr<SettingManager> m_settings;
    std::unique_ptr<DeviceManager> m_devices;
    SimulatedPorts *m_hardware = nullptr;
    std::unique_ptr<PanelBridge> m_panels;
    std::unique_ptr<ControllerBridge> m_bridge;
    SystemScripts m_scripts{ SystemScripts::Permission::Never };
    std::unique_ptr<NetworkSetup> m_networkSetup;
    std::unique_ptr<ServiceBridge> m_services;
    std::unique_ptr<ExecManager> m_exec;
    std::unique_ptr<NetworkManager> m_network;
    std::unique_ptr<ControllerLinks> m_links;
    QByteArrayList m_heard; // bodies of code 3F that the listener was told
};

namespace {
const char *const kProgram = "device dvOne = 5001:1:0\n device dvFar = 5001:2:9\n device dvPanel = 10001:1:0\n"
                             "data_event [dvOne] { string: { send_string 5001:4:0, \"'one ', data.text\" } }\n"
                             "data_event [dvFar] {\n"
                             "  online: { send_string 5001:4:0, 'far online' }\n"
                             "  string: { send_string 5001:4:0, \"'far ', data.text\" } }\n"
                             "button_event [5001:18:9, 3] {\n"
                             "  push: { send_string 5001:4:0, 'push' }\n"
                             "  release: { send_string 5001:4:0, 'release' } }\n";

/// What the program has sent to its port 4.
QStringList said(const QStringList &lines)
{
    const QString head = QStringLiteral("6 send port command: port number is 4 and sended data is ");
    QStringList texts;
    for (const QString &line : lines) {
        if (line.startsWith(head)) {
            texts << line.mid(head.size());
        }
    }
    return texts;
}
} // namespace

void ControllerBridgeTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_monitor = std::make_unique<MonitorLines>();
    m_settings = std::make_unique<SettingManager>(SettingManager::locationIn(m_directory->path()));
    m_settings->setSystemNumber(7);
    auto ports = std::make_unique<SimulatedPorts>();
    m_hardware = ports.get();
    m_devices = std::make_unique<DeviceManager>(std::move(ports));
    m_panels = std::make_unique<PanelBridge>(*m_devices);
    m_bridge = std::make_unique<ControllerBridge>(*m_devices);
    m_devices->setControllerLink(m_bridge.get());
    m_networkSetup = std::make_unique<NetworkSetup>(*m_settings, m_scripts);
    m_services = std::make_unique<ServiceBridge>(*m_settings, m_scripts, *m_networkSetup, [] {});
    m_exec = std::make_unique<ExecManager>(m_directory->path(), *m_devices);
    const CompileResult result = compileSource(QString::fromUtf8(kProgram));
    QVERIFY2(result.isGood(), qPrintable(result.text()));
    QVERIFY(writeFile(m_exec->objectFilePath(), result.objectFile));
    QCOMPARE(m_exec->loadProgram(), ExecManager::Load::Done);
    m_bridge->setProgram(m_exec->program());
    m_network = std::make_unique<NetworkManager>(LinkHooks{ *m_panels, *m_panels, *m_panels, *m_services });
    m_bridge->setNetwork(m_network.get());
    m_network->setControllerMessageHook(
        [this](SocketClient &peer, const QByteArray &body) { return m_bridge->takeRequest(peer, body); });
    LinkOptions link;
    link.bindAddress = QHostAddress(QStringLiteral("127.0.0.1"));
    link.port = 0;
    link.discovery = false;
    QCOMPARE(m_network->start(link).value_or(QString()), QString());
    ListenerOptions listener;
    listener.port = m_network->port();
    listener.handshake = "3:100:m:1";
    m_links = std::make_unique<ControllerLinks>(listener, [this]() -> IoThread & { return m_network->nextThread(); });
    m_bridge->setLinks(m_links.get());
    m_heard.clear();
}

void ControllerBridgeTest::cleanup()
{
    m_bridge->setLinks(nullptr);
    m_services->setLinks(nullptr);
    m_links.reset();
    m_bridge->setNetwork(nullptr);
    m_network.reset();
    m_exec.reset();
    m_services.reset();
    m_networkSetup.reset();
    m_bridge.reset();
    m_panels.reset();
    m_devices.reset();
    m_settings.reset();
    m_monitor.reset();
    setLocalSystemNumber(1);
}

void ControllerBridgeTest::raise(EventType type, int port, int channel, const QByteArray &data)
{
    CustomEvent event;
    event.type = type;
    event.device = { 5001, port, 0 };
    event.channel = channel;
    event.data = data;
    if (type == EventType::String) {
        DataFields fields;
        fields.text = data;
        m_exec->program()->dispatcher().raiseData(event, fields);
    } else {
        m_exec->program()->dispatcher().raiseChannel(event);
    }
}

void ControllerBridgeTest::join(LinkClient &listener)
{
    connect(&listener, &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.code == LinkCode::kController) {
            m_heard << message.body;
        }
    });
    listener.connectTo(QStringLiteral("127.0.0.1"), m_network->port());
    QTRY_VERIFY(m_network->hasPeer(listener.deviceNumber()));
}

void ControllerBridgeTest::ownPortsAreToldToListeners()
{
    LinkClient listener({ 3, 101, "m", "1" });
    LinkClient panel({ 1, 10001, "p", "1" });
    join(panel); // hears nothing of it
    join(listener);
    m_hardware->serialReceived(2, QByteArray("a:\0b", 4));
    m_hardware->ioChanged(3, true);
    m_devices->queryPortStatus({ 5001, 18, 0 }, 3);
    m_hardware->ioChanged(3, false);
    raise(EventType::Push, 9, 4); // no input
    m_devices->queryPortStatus({ 5001, 18, 0 }, 5);
    m_exec->program()->dispatcher().press(10001, 6);
    m_devices->gotPortStatus(9, 18, 5, 1); // of another controller, which tells it itself
    raise(EventType::String, 1, 0, "end");
    const QByteArrayList told{ QByteArray("string:7:2:a:\0b", 15),
                               "io:7:0:3",
                               "query:5001:18:7:3:1",
                               "io:7:1:3",
                               "query:5001:18:7:5:0",
                               "string:7:1:end" };
    QTRY_COMPARE(m_heard, told);
}

void ControllerBridgeTest::requestsOfListeners_data()
{
    const Table<QByteArray, QString, QByteArray> row("body", "line", "answer"); // empty: none
    row("sys:1", "", "sys:7");
    row("sys:2", "", "");
    row("setup:5001:9:7:3:1", "10 On relay: 3", "");
    row("setup:5001:9:8:3:1", "", ""); // of another controller
    row("setup:5001:9:7:3:77", "", "");
    row("setup:5001:9:7:3", "", "");
    row("setup:99999999999:9:7:3:1", "", ""); // no number, so not device 5001: nothing to be seen
    row("query:5001:18:7:3", "", "query:5001:18:7:3:0");
    row("query:5001:18:8:3", "", "");
    row("query:5001:9:7:3", "4 Error: Wrong port status queried.", "");
    row("string:5001:1:7:a:b", "6 send port command: port number is 1 and sended data is a:b", "");
    row("string:5001:1:0:a", "", ""); // 0 is no controller's number
    row("string:5001:1", "", "");
    row("command:10001:1:7:hello",
        "7 send device command: device id is 10001, port number is 1 and "
        "sended data is hello",
        "");
    row("io:7:0:3", "", "");
    row("\xff\xfe", "", "");
    row("", "", "");
}

void ControllerBridgeTest::requestsOfListeners()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, line);
    QFETCH(QByteArray, answer);
    LinkClient listener({ 3, 101, "m", "1" });
    join(listener);
    m_monitor->take();
    listener.sendMessage(LinkCode::kController, body);
    listener.sendMessage(LinkCode::kController, "string:5001:4:7:end");
    QStringList lines;
    QTRY_VERIFY(!said(lines += m_monitor->take()).isEmpty());
    lines = lines.filter(QRegularExpression(QStringLiteral("^(?!2 )"))); // without those of the connection
    QVERIFY2(lines.size() == (line.isEmpty() ? 1 : 2), qPrintable(lines.join(QLatin1Char('\n'))));
    QCOMPARE(line.isEmpty() ? QString() : lines.first(), line);
    if (!answer.isEmpty()) {
        QTRY_COMPARE(m_heard, QByteArrayList{ answer });
    }
    QTRY_COMPARE(listener.pendingMessages(), 0); // confirmed, whatever it was
}

void ControllerBridgeTest::numberIsToldWhileTheProgramIsBusy()
{
    QTcpSocket socket; // read without an event loop, which stands for a program that never comes to an end
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_network->port());
    QVERIFY(socket.waitForConnected());
    socket.write(frameBytes(LinkCode::kHandshake, "3:100:m:1"));
    socket.write(messageFrameBytes(LinkCode::kController, 1, "sys:1"));
    QByteArray answer;
    while (!answer.contains("sys:7") && socket.waitForReadyRead(5000)) {
        answer += socket.readAll();
    }
    QVERIFY(answer.contains("sys:7"));
}

void ControllerBridgeTest::floodOfRequestsWaitsInTheSystem()
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), m_network->port());
    QVERIFY(socket.waitForConnected());
    socket.write(frameBytes(LinkCode::kHandshake, "3:100:m:1"));
    int sent = 0;
    while (sent < 100000) { // until nothing is taken for half a second; this thread, the program's, handles nothing
        for (int count = 0; count < 100; ++count) {
            ++sent;
            socket.write(messageFrameBytes(LinkCode::kController, static_cast<quint32>(sent),
                                           "string:5001:4:7:" + QByteArray::number(sent) + QByteArray(1000, ' ')));
        }
        while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(500)) {
            socket.readAll();
        }
        if (socket.bytesToWrite() > 0) {
            break;
        }
    }
    QVERIFY2(sent < 100000, "100 MB are in here");
    QStringList texts;
    connect(&socket, &QTcpSocket::readyRead, this, [&socket] { socket.readAll(); });
    QTRY_COMPARE((texts += said(m_monitor->take())).size(), sent);
    for (int index = 0; index < sent; ++index) {
        QCOMPARE(texts.at(index).trimmed().toInt(), index + 1);
    }
}

void ControllerBridgeTest::listensToItselfWithoutAnEcho()
{
    m_links->setAddresses({ QStringLiteral("127.0.0.1") });
    QTRY_VERIFY(m_links->statusStream().endsWith('\x02'));
    m_monitor->take();
    raise(EventType::String, 1, 0, "x");
    QStringList lines;
    QTRY_VERIFY((lines += m_monitor->take()).contains(QStringLiteral("13 [5001:1:7]got port data: x")));
    LinkClient listener({ 3, 101, "m", "1" });
    join(listener);
    raise(EventType::String, 2, 0, "end");
    QTRY_VERIFY((lines += m_monitor->take()).contains(QStringLiteral("13 [5001:2:7]got port data: end")));
    QCOMPARE(said(lines), (QStringList{ QStringLiteral("one x"), QStringLiteral("one x") })); // once more, not for ever
    QCOMPARE(lines.filter(QStringLiteral("Online Event")), QStringList());
    QCOMPARE(m_heard, QByteArrayList{ "string:7:2:end" });
}

void ControllerBridgeTest::eventsOfTargets_data()
{
    const Table<QByteArray, QStringList> row("body", "lines");
    const QString port4 = QStringLiteral("6 send port command: port number is 4 and sended data is ");
    row("online", "sys:9",
        { "3 Online Event: 5001:1:9", "3 Online Event: 5001:2:9", port4 + QStringLiteral("far online"),
          "3 Online Event: 5001:3:9", "3 Online Event: 5001:4:9" });
    row("own number", "sys:7", {});
    row("text", "string:9:2:on", { "13 [5001:2:9]got port data: on", port4 + QStringLiteral("far on") });
    row("bytes", "string:9:3:a\r", { "13 [5001:3:9]got port data: 61 0D" });
    row("push", "io:9:0:3", { "0 got push event: [5001:18:9, 3]", port4 + QStringLiteral("push") });
    row("release", "io:9:1:3", { "0 got release event: [5001:18:9, 3]", port4 + QStringLiteral("release") });
}

void ControllerBridgeTest::eventsOfTargets()
{
    QFETCH(QByteArray, body);
    m_monitor->take();
    m_bridge->take(ControllerText::parseFromTarget(body).value());
    QTEST(m_monitor->take(), "lines");
    m_bridge->setProgram(nullptr);
    m_bridge->take(ControllerText::parseFromTarget(body).value());
    QCOMPARE(m_monitor->take(), QStringList());
}

void ControllerBridgeTest::cancelGoesOnOnlyToWhomItConcerns()
{
    FakeTarget target;
    QVERIFY(target.listen(QStringLiteral("127.0.0.2"), m_network->port()));
    m_links->setAddresses({ QStringLiteral("127.0.0.2") });
    QTRY_VERIFY(m_links->statusStream().endsWith('\x01'));
    LinkClient listener({ 3, 101, "m", "1" });
    join(listener);
    const auto wish = [&](const char *mark) {
        m_monitor->take();
        listener.sendMessage(LinkCode::kController, "cancelTo:");
        listener.sendMessage(LinkCode::kController, QByteArray("string:5001:4:7:") + mark);
        QStringList lines;
        QTRY_VERIFY(!said(lines += m_monitor->take()).isEmpty());
        m_devices->sendPortString({ 5001, 1, 9 }, mark);
    };
    wish("a"); // nothing is held there: it would come back from controllers that listen to each other, for ever
    m_devices->switchChannel({ 5001, 18, 9 }, PortAction::To, 2);
    wish("b");
    wish("c");
    m_exec->program()->dispatcher().press(10001, 1); // the program's own wish goes to all
    m_devices->sendPortString({ 5001, 1, 9 }, "d");
    const QByteArrayList told{ "string:5001:1:9:a", "setup:5001:18:9:2:3", "cancelTo:",        "string:5001:1:9:b",
                               "string:5001:1:9:c", "cancelTo:",           "string:5001:1:9:d" };
    QTRY_COMPARE(target.heard, told);
}

void ControllerBridgeTest::listOfTheSettings()
{
    m_settings->setListenAddresses({ QStringLiteral("127.0.0.1"), QStringLiteral("bad"), QStringLiteral("127.0.0.1") });
    m_services->setLinks(m_links.get());
    QCOMPARE(m_settings->listenAddresses(), QStringList{ QStringLiteral("127.0.0.1") });
    const auto lastByte = [this] { return int(m_services->listenStatus().right(1).at(0)); };
    QTRY_COMPARE(lastByte(), 2);
    m_services->setListenAddresses({ QStringLiteral("127.5.5.6\r"), QStringLiteral("127.5.5.7"), QString() });
    QCOMPARE(m_services->listenStatus().size(),
             4 + 2 * (4 + 2 * 9 + 4)); // count; length, UTF-16 text and status of each
    const SettingManager again(SettingManager::locationIn(m_directory->path()));
    QCOMPARE(again.listenAddresses(), (QStringList{ QStringLiteral("127.5.5.6"), QStringLiteral("127.5.5.7") }));
    m_services->setListenAddresses({ QStringLiteral("none") });
    QCOMPARE(m_settings->listenAddresses(), QStringList());
}

TEST_CLASS(ControllerBridgeTest)
#include "ControllerBridgeTest.moc"
