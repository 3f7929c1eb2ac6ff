#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "support/Files.h"
#include "support/SerialPeer.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>

/// arkctl against a real controller: what it prints, and how it ends.
class ToolsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void showsAndChanges();
    void restarts_data();
    void restarts();
    void refusals_data();
    void refusals();
    void thePastHasNoSeam();
    void smallHistories();
    void outputs_data();
    void outputs();
    void strangers_data();
    void strangers();
    void ports();
    void jsonParses();
};

namespace {
ToolRun arkctl(const QStringList &arguments)
{
    return runTool(QStringLiteral(ARKCTL_PROGRAM), arguments);
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}
} // namespace

void ToolsTest::showsAndChanges()
{
    ControllerProcess controller;
    controller.start();
    IS_UP(controller);
    const QStringList host{ QStringLiteral("--host"), controller.address() };
    QCOMPARE(arkctl(host + words("sysnum 7")).output, QByteArray("system number 7\n"));
    const ToolRun info = arkctl(host + words("info --json"));
    QCOMPARE(info.status, 0);
    const QJsonObject shown = QJsonDocument::fromJson(info.output).object();
    QCOMPARE(shown.value(QStringLiteral("system")).toInt(), 7);
    QCOMPARE(shown.value(QStringLiteral("mode")).toString(), QStringLiteral("dhcp"));
    QVERIFY(arkctl(host + words("info")).output.contains("\nversion  2.3.15.008\n"));

    const ToolRun found = arkctl({ QStringLiteral("discover"), QStringLiteral("--at"), controller.address(),
                                   QStringLiteral("--for"), QStringLiteral("0.5") });
    QCOMPARE(found.status, 0);
    QVERIFY2(found.output.contains("\n" + controller.address().toLatin1() + ' '), found.output.constData());

    const ToolRun now = arkctl(host + words("datetime"));
    QVERIFY(QRegularExpression(QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\n\\z"))
                .match(QString::fromLatin1(now.output))
                .hasMatch());
    const ToolRun refused =
        arkctl(host + QStringList{ QStringLiteral("datetime"), QStringLiteral("2031-05-06 07:08:09") });
    QCOMPARE(refused.status, 1);
    QVERIFY(refused.errors.contains("still says"));
    QTRY_VERIFY(controller.output().contains("System changes are off"));
}

void ToolsTest::restarts_data()
{
    const Table<QString, QByteArrayList> row("command", "settings");
    row("reboot", "reboot", {});
    row("static", "network static 10.1.2.3 255.255.0.0 10.1.0.1 10.1.0.2",
        { "dhcp=false", "ip=10.1.2.3", "mask=255.255.0.0", "gateway=10.1.0.1", "dns=10.1.0.2" });
    row("dhcp", "network dhcp --mac 08:90:00:01:02:03", { "dhcp=true", "networkSet=true" });
    row("mac", "mac 08:90:00:01:02:04", { "dhcp=true" });
}

void ToolsTest::restarts()
{
    QFETCH(QString, command);
    QFETCH(QByteArrayList, settings);
    ControllerProcess controller;
    controller.start();
    IS_UP(controller);
    const QStringList parts = command.split(QLatin1Char(' '));
    const ToolRun ended = arkctl(QStringList{ QStringLiteral("--host"), controller.address() } + parts);
    QVERIFY2(ended.status == 0, ended.errors.constData());
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
    const QByteArray stored = contentOf(controller.filePath(QStringLiteral("settings.ini")));
    for (const QByteArray &line : settings) {
        QVERIFY2(stored.contains(line + '\n'), stored.constData());
    }
    if (command.contains(QLatin1String("08:90"))) {
        QVERIFY(command.endsWith(QString::fromLatin1(contentOf(controller.filePath(QStringLiteral("mac"))))));
    }
}

void ToolsTest::refusals_data()
{
    // error: begins with
    const Table<QString, int, QByteArray> row("command", "status", "error");
    row("nobody there", "--host 127.1.1.1 info", 1, "no connection to 127.1.1.1:6139");
    row("nobody found", "discover --at 127.1.1.1 --for 0.3", 1, "no controller answers at 127.1.1.1");
    row("no command", "--timeout 1", 2, "no command given");
    row("two words of a name", "network static 10.0.0.1 255.0.0.0 10.0.0.1 dns.example", 2,
        "not an IPv4 address: dns.example");
    row("a gateway elsewhere", "network static 10.0.0.5 255.255.255.0 10.0.1.1 10.0.0.1", 2,
        "The gateway 10.0.1.1 is no neighbour of 10.0.0.5");
    row("half a network", "network static 10.0.0.1 255.0.0.0", 2, "ADDRESSES");
    row("mac", "mac 08-90-00-01-02-03", 2, "not a MAC address such as");
    row("system number", "sysnum 0", 2, "NUMBER");
    row("date", "datetime tomorrow", 2, "not a date and time such as");
    row("address", "--host a:b:c info", 2, "not an address such as 10.0.0.5 or 10.0.0.5:6139: \"a:b:c\"");
    row("command", "lamp", 2, "there is no such command or option: lamp");
    row("half a command", "network 1.2.3.4", 2, "network needs one of ");
    row("type of lines", "monitor --type error,lamp", 2, "--type: lamp is none of remote-io");
    row("regular expression", "monitor --regex (a", 2, "not a regular expression: (a (at");
    row("no past", "monitor --no-follow", 2, "--no-follow needs --since WHEN");
    row("no such time", "monitor --since 25:00", 2, "not a time such as 90s, 10m");
    row("no such file", "upload nowhere.pobj", 2, "nowhere.pobj does not exist");
    row("a folder", "upload /", 2, "/ is no file");
    row("another kind of file", "upload /etc/passwd", 2, "/etc/passwd: a controller takes .pobj");
    row("no such host", "--host host.invalid info", 1, "no connection to host.invalid:6139");
    row("not to be written", "ir build /dev/null -o /proc/x/ir1.ir", 1, "cannot write /proc/x");
    row("learn from no device", "ir learn --device /proc/version -o x.txt On", 1,
        "/proc/version is no infrared device");
    row("learn twice", "ir learn -o x.txt 5=On 5=Off", 2, "no code number of its own from 0 to 255: 5=Off");
    row("listen", "listen add fe80::1", 2, "not an IPv4 address: fe80::1");
}

void ToolsTest::refusals()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, error);
    const ToolRun ended = arkctl(command.split(QLatin1Char(' ')));
    QTEST(ended.status, "status");
    QVERIFY2(ended.errors.startsWith("arkctl: " + error), ended.errors.constData());
    QCOMPARE(ended.errors.count('\n'), 1);
    QVERIFY(ended.output.isEmpty());
}

namespace {
QStringList channelsIn(const QByteArray &output)
{
    static const QRegularExpression pushed(QStringLiteral("Button pressed: .*channel code (\\d+),"));
    QStringList channels;
    for (auto found = pushed.globalMatch(QString::fromUtf8(output)); found.hasNext();) {
        channels << found.next().captured(1);
    }
    return channels;
}
} // namespace

/// Tools that come while a panel pushes see every push once, in order.
void ToolsTest::thePastHasNoSeam()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("--monitor-history"), QStringLiteral("10000") });
    IS_UP(controller);
    LinkClient panel({ 1, 10001, "panel", "1" });
    panel.connectTo(controller.address());
    QTRY_VERIFY(panel.isIntroduced());
    constexpr int kPushes = 3000;
    constexpr int kTools = 4;
    constexpr int kAtOnce = 20;
    int pushed = 0;
    const auto pushSome = [&] {
        for (int count = 0; count < kAtOnce && pushed < kPushes; ++count) {
            panel.push(++pushed);
        }
    };
    connect(&panel, &LinkClient::acknowledged, this, [&] {
        if (panel.pendingMessages() == 0) {
            pushSome();
        }
    });
    std::vector<std::unique_ptr<QProcess>> tools;
    pushSome();
    for (int tool = 1; tool <= kTools; ++tool) {
        QTRY_VERIFY(pushed >= kPushes * tool / (kTools + 2));
        tools.push_back(std::make_unique<QProcess>());
        tools.back()->start(QStringLiteral(ARKCTL_PROGRAM),
                            { QStringLiteral("--host"), controller.address(), QStringLiteral("monitor"),
                              QStringLiteral("--since"), QStringLiteral("1h") });
    }
    QStringList all;
    for (int channel = 1; channel <= kPushes; ++channel) {
        all << QString::number(channel);
    }
    for (const auto &tool : tools) {
        QByteArray output;
        QTRY_VERIFY(
            (output += tool->readAllStandardOutput()).contains("channel code " + QByteArray::number(kPushes) + ','));
        QVERIFY(channelsIn(output) == all);
        tool->terminate();
        QVERIFY(tool->waitForFinished());
        QCOMPARE(tool->exitCode(), 0);
    }
}

void ToolsTest::smallHistories()
{
    const QStringList past = words("monitor --since 1h --no-follow --type system");
    ControllerProcess none;
    none.start();
    IS_UP(none);
    const ToolRun refused = arkctl(QStringList{ QStringLiteral("--host"), none.address() } + past);
    QCOMPARE(refused.status, 1);
    QCOMPARE(refused.errors, "arkctl: the controller at " + none.address().toLatin1() +
                                 ":6139 keeps no past lines; start it with --monitor-history 5000\n");
    ControllerProcess small;
    small.start(words("--monitor-history 2"));
    QTRY_VERIFY2(small.output().contains("System changes are off"), small.errors().constData());
    const QStringList host{ QStringLiteral("--host"), small.address() };
    const ToolRun first = arkctl(host + past);
    QCOMPARE(first.status, 0);
    QVERIFY2(first.errors.contains("are no longer kept"), first.errors.constData());
    QVERIFY(!first.output.contains("Network started"));
    QVERIFY(arkctl(host + words("monitor --since 0s --no-follow")).errors.isEmpty());
}

void ToolsTest::outputs_data()
{
    const Table<QString> row("command");
    row("info", "info");
    row("help", "--help");
    row("help of a command", "monitor --help");
    row("the past", "monitor --since 1h --no-follow");
    row("discover", "discover --for 0.5 --at ADDRESS");
}

/// A full disk is told, a reader that has gone is not.
void ToolsTest::outputs()
{
    QFETCH(QString, command);
    ControllerProcess controller;
    controller.start(words("--monitor-history 100"));
    IS_UP(controller);
    command.replace(QLatin1String("ADDRESS"), controller.address());
    const QString line =
        QStringLiteral("%1 --host %2 %3").arg(QStringLiteral(ARKCTL_PROGRAM), controller.address(), command);
    const auto shell = [](const QString &script) {
        return runTool(QStringLiteral("bash"), { QStringLiteral("-c"), script });
    };
    const ToolRun full = shell(line + QStringLiteral(" >/dev/full"));
    QCOMPARE(full.status, 1);
    QVERIFY2(full.errors.startsWith("arkctl: cannot write the output: No space left on device"),
             full.errors.constData());
    QCOMPARE(full.errors.count('\n'), 1);
    const ToolRun gone = shell(line + QStringLiteral(" | true"));
    QCOMPARE(gone.errors, QByteArray());
}

void ToolsTest::strangers_data()
{
    // hello: "close": hangs up; else it answers the first words; error: after the address
    const Table<QByteArray, QString, QByteArray> row("hello", "command", "error");
    row("ssh", "SSH-2.0-Server\r\n", "info", ", but something that says \"SSH-2.0-Server\"");
    row("bytes", "\x16\x03", "info", ", but something that says \"\\x16\\x03\"");
    row("half a beginning", "VX", "monitor", ", but something that says \"VX\"");
    row("silence", "", "monitor", " says nothing, as no controller does");
    row("hangs up", "close", "reboot", " closed the connection and did not say");
    row("another version", QByteArray::fromHex("5651 00000002 19 01 1a ac"), "monitor --since 1m",
        " does not answer the question for past lines; it is of another version");
    row("says no more", QByteArray::fromHex("5651 00000002 19 01 1a ac"), "info", " does not answer; see whether");
}

void ToolsTest::strangers()
{
    QFETCH(QByteArray, hello);
    QFETCH(QString, command);
    QFETCH(QByteArray, error);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *const peer = server.nextPendingConnection();
        if (hello == "close") {
            peer->close();
        } else {
            peer->write(hello);
        }
    });
    const QString address = QStringLiteral("127.0.0.1:%1").arg(server.serverPort());
    QProcess tool;
    tool.start(QStringLiteral(ARKCTL_PROGRAM),
               QStringList{ QStringLiteral("--timeout"), QStringLiteral("0.6"), QStringLiteral("--host"), address } +
                   command.split(QLatin1Char(' ')));
    QTRY_COMPARE_WITH_TIMEOUT(tool.state(), QProcess::NotRunning, 20000);
    const QByteArray said = tool.readAllStandardError();
    QCOMPARE(tool.exitCode(), 1);
    QVERIFY2(said.contains(address.toLatin1() + error), said.constData());
    QCOMPARE(said.count('\n'), 1);
}

void ToolsTest::ports()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvLine = 5001:1:0\ndevice dvContact = 5001:18:0\n"
                         "data_event [dvLine] { string: { send_string dvLine, \"'got ', data.text\" } }\n"
                         "button_event [dvContact, 2] {\n"
                         "    push: { if ([dvContact, 2]) { send_string dvLine, 'closed' } }\n"
                         "    release: { if (not [dvContact, 2]) { send_string dvLine, 'open' } }\n"
                         "}");
    controller.start();
    IS_UP(controller);
    SerialPeer projector;
    const auto run = [&controller](const QStringList &command) {
        return arkctl(QStringList{ QStringLiteral("--host"), controller.address(), QStringLiteral("ports") } + command);
    };
    const auto shown = [&run](const char *port) {
        for (const QByteArray &line : run({ QStringLiteral("--json") }).output.split('\n')) {
            const QJsonObject object = QJsonDocument::fromJson(line).object();
            if (object[QLatin1String("port")].toString() == QLatin1String(port)) {
                return object;
            }
        }
        return QJsonObject();
    };
    QCOMPARE(run(words("input serial1 hello")).status, 0);
    SAYS(controller, "sended data is got hello");

    const QString device = QStringLiteral("device=") + projector.deviceFile();
    QCOMPARE(run({ QStringLiteral("set"), QStringLiteral("serial1"), device }).status, 0);
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("ports.ini"))), "[serial1]\n" + device.toUtf8() + '\n');
    QTRY_VERIFY(shown("serial1")[QLatin1String("open")].toBool());
    projector.send("PWR=ON");
    QByteArray sent;
    QTRY_COMPARE(sent += projector.receive(), QByteArray("got PWR=ON"));
    QTRY_COMPARE(shown("serial1")[QLatin1String("bytesOut")].toInt(), 10);
    QCOMPARE(shown("serial1")[QLatin1String("bytesIn")].toInt(), 6); // since it has that device
    QCOMPARE(run(words("input io2 on")).status, 0);
    QCOMPARE(run(words("input io2 off")).status, 0);
    QTRY_COMPARE(sent += projector.receive(), QByteArray("got PWR=ONclosedopen"));

    const ToolRun detected = run(words("detect --json"));
    QVERIFY2(detected.status == 0, detected.errors.constData());
    for (const QByteArray &line : detected.output.split('\n')) {
        QVERIFY2(line.isEmpty() || QJsonDocument::fromJson(line).isObject(), line.constData());
    }
    for (const char *refused : { "input serial1 x", "input relay1 on", "input serial9 x", "input ir1 --hex 49525031",
                                 "set serial1 speed=1", "set serial9", "set io1 bias=pull-up" }) {
        const ToolRun ended = run(words(refused));
        QVERIFY2(ended.status == 1 && !ended.errors.isEmpty() && ended.output.isEmpty(), refused);
    }
    QCOMPARE(run(words("input serial2 4 --hex")).status, 2);
    QCOMPARE(run(words("set serial1")).status, 0);
    QCOMPARE(shown("serial1")[QLatin1String("kind")].toString(), QStringLiteral("simulated"));
}

void ToolsTest::jsonParses()
{
    ControllerProcess controller;
    controller.start(words("--monitor-history 100"));
    IS_UP(controller);
    const QString source = controller.filePath(QStringLiteral("a \"room\".src"));
    QVERIFY(writeFile(source, "program 'x'"));
    const QString address = controller.address();
    QUdpSocket unused;
    QVERIFY(unused.bind());
    const QString freePort = QString::number(unused.localPort());
    unused.close();
    const QList<QStringList> commands{
        words("info"),
        { QStringLiteral("discover"), QStringLiteral("--for"), QStringLiteral("0.5"), QStringLiteral("--at"), address },
        words("listen add 127.1.1.1"),
        { QStringLiteral("upload"), source },
        { QStringLiteral("download"), QStringLiteral("source"), QStringLiteral("-o"),
          controller.filePath(QStringLiteral("back.src")) },
        words("panel 10001 press 5 watch --for 0.1"),
        words("porttest udp-server") + QStringList{ freePort } + words("--for 0.1"),
        words("monitor --since 1h --no-follow"),
        words("ports"),
    };
    for (const QStringList &command : commands) {
        const bool isBelow = command.first() == QLatin1String("listen"); // its flag stands before the word below
        QStringList line = command;
        line.insert(isBelow ? 1 : command.size(), QStringLiteral("--json"));
        const ToolRun ended = arkctl(QStringList{ QStringLiteral("--host"), address } + line);
        QVERIFY2(ended.status == 0, ended.errors.constData());
        QVERIFY2(!ended.output.isEmpty() || command.first() == QLatin1String("panel"),
                 qPrintable(line.join(QLatin1Char(' '))));
        const QList<QByteArray> lines = ended.output.split('\n');
        for (const QByteArray &one : lines) {
            QVERIFY2(one.isEmpty() || QJsonDocument::fromJson(one).isObject(), one.constData());
        }
    }
}

TEST_CLASS(ToolsTest)
#include "ToolsTest.moc"
