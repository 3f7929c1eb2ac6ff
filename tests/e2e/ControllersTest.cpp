#include "../support/FakeTarget.h"
#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "net/link/LinkCodes.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"

#include <csignal>

/// Controllers that listen to each other, and to things that are none.
class ControllersTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void portsOfAnother();
    void eventsAndAnswersOfATarget();
    void threeInACircle();
    void killedWhileMessagesFlow();
    void badTargets();
    void floodWhileTheProgramLoops();
    void toolChangesTheList();
    void cableIsCut();
};

namespace {
/// A controller with a system number and a listen list.
class Linked : public ControllerProcess
{
public:
    explicit Linked(int number, const char *source = "start { }")
        : m_number(number)
        , m_problem(install(source))
    {
        listenTo({});
    }

    QString problem() const { return m_problem; }

    void listenTo(const QStringList &addresses)
    {
        const QString list =
            addresses.isEmpty() ? QString() : QStringLiteral("listen=") + addresses.join(QLatin1String(", "));
        writeFile(filePath(QStringLiteral("settings.ini")),
                  QStringLiteral("[General]\nsystemNum=%1\n%2\n").arg(m_number).arg(list).toUtf8());
    }

    /// The numbers that its program was sent to its port 1 by others, in order.
    QVector<int> numbersSent() const
    {
        static const QRegularExpression form(
            QStringLiteral("send port command: port number is 1 and sended data is (\\d+)"));
        QVector<int> numbers;
        QRegularExpressionMatchIterator found = form.globalMatch(QString::fromUtf8(output()));
        while (found.hasNext()) {
            numbers << found.next().captured(1).toInt();
        }
        return numbers;
    }

    qint64 residentKiB()
    {
        const QByteArray text = contentOf(QStringLiteral("/proc/%1/status").arg(process().processId()));
        return text.mid(text.indexOf("VmRSS:") + 6).simplified().split(' ').first().toLongLong();
    }

private:
    const int m_number;
    const QString m_problem;
};

/// Two hosts with a cable between them, 10.77.0.1 and 10.77.0.2, as network namespaces; needs the rights to make them.
class TwoHosts
{
public:
    TwoHosts()
    {
        for (int host = 0; host < 2; ++host) {
            m_areThere = m_areThere && ip({ QStringLiteral("netns"), QStringLiteral("add"), name(host) });
        }
        m_areThere = m_areThere && ip(QStringLiteral("-n %1 link add wire type veth peer name wire netns %2")
                                          .arg(name(0), name(1))
                                          .split(QLatin1Char(' ')));
        for (int host = 0; host < 2 && m_areThere; ++host) {
            const QString own = QStringLiteral("10.77.0.%1/24").arg(host + 1);
            m_areThere = setLink(host, QStringLiteral("lo"), "up") && setLink(host, QStringLiteral("wire"), "up") &&
                         ip({ QStringLiteral("-n"), name(host), QStringLiteral("addr"), QStringLiteral("add"), own,
                              QStringLiteral("dev"), QStringLiteral("wire") });
        }
    }

    ~TwoHosts()
    {
        for (int host = 0; host < 2; ++host) {
            ip({ QStringLiteral("netns"), QStringLiteral("delete"), name(host) });
        }
    }

    bool areThere() const { return m_areThere; }
    void setCable(const char *state) { setLink(0, QStringLiteral("wire"), state); }

    void start(int host, ControllerProcess &controller)
    {
        controller.startWith(QStringLiteral("ip"),
                             inside(host) + QStringList{ QStringLiteral(ARKIVON_PROGRAM), QStringLiteral("--data-dir"),
                                                         controller.filePath(QString()), QStringLiteral("--monitor"),
                                                         QStringLiteral("--no-system-changes") });
    }

    QByteArray run(int host, const QStringList &command)
    {
        return runTool(QStringLiteral("ip"), inside(host) + command).output;
    }

private:
    static QString name(int host)
    {
        return QStringLiteral("linktest-%1-%2").arg(QCoreApplication::applicationPid()).arg(host);
    }
    static QStringList inside(int host) { return { QStringLiteral("netns"), QStringLiteral("exec"), name(host) }; }
    static bool setLink(int host, const QString &device, const char *state)
    {
        return ip({ QStringLiteral("-n"), name(host), QStringLiteral("link"), QStringLiteral("set"), device,
                    QLatin1String(state) });
    }
    static bool ip(const QStringList &arguments) { return runTool(QStringLiteral("ip"), arguments).status == 0; }

    bool m_areThere = true;
};

bool isConsecutive(const QVector<int> &numbers)
{
    for (int index = 1; index < numbers.size(); ++index) {
        if (numbers.at(index) != numbers.at(index - 1) + 1) {
            return false;
        }
    }
    return true;
}

/// What arkctl prints, and then its status.
QByteArray arkctl(const Linked &controller, const QStringList &arguments)
{
    const ToolRun run = runTool(QStringLiteral(ARKCTL_PROGRAM),
                                arguments + QStringList{ QStringLiteral("--host"), controller.address() });
    return run.output + run.errors + QByteArray::number(run.status);
}

QString address(int last)
{
    const qint64 process = QCoreApplication::applicationPid();
    return QStringLiteral("127.%1.%2.%3").arg(128 + process % 64).arg((process / 64) % 256).arg(last);
}

const char *const kCounting = "volatile integer n\n"
                              "mainline { n = n + 1; send_string 5001:1:7, itoa(n); send_string 5001:1:9, itoa(n) }";
const char *const kLooping = "start { while (1) { } }";
} // namespace

#define RUNS(controller)                                                                                               \
    QCOMPARE((controller).problem(), QString());                                                                       \
    STARTS(controller)

void ControllersTest::portsOfAnother()
{
    Linked far(7, "device dvPanel = 10001:1:0\n button_event [dvPanel, 1] { push: { to [dvPanel, 1] } }");
    Linked near(8, "device dvPanel = 10001:1:0\n device dvFar = 5001:1:7\n"
                   "data_event [dvFar] { online: { send_string 5001:1:0, 'far is here' } }\n"
                   "button_event [dvPanel, 1] {\n"
                   "  push: { on [5001:9:7, 3]; send_string dvFar, 'hello'; to [5001:18:7, 2]; on [5001:9:99, 4] }\n"
                   "  release: { off [5001:9:7, 3] } }");
    near.listenTo({ far.address() });
    RUNS(far);
    RUNS(near);
    SAYS(near, "Online Event: 5001:1:7");
    SAYS(near, "far is here");
    LinkClient farPanel({ 1, 10001, "panel", "1" });
    QByteArrayList shown;
    connect(&farPanel, &LinkClient::received, &farPanel, [&shown](const LinkMessage &message) {
        if (message.code == LinkCode::kChannelStatus) { // not what is on at its arrival, which may come after
            shown << message.body;
        }
    });
    farPanel.connectTo(far.address());
    SAYS(far, "Connected with device: panel");
    farPanel.push(1);
    QTRY_COMPARE(shown, QByteArrayList{ "1:1:0-0" });

    LinkClient nearPanel({ 1, 10001, "panel", "1" });
    nearPanel.connectTo(near.address());
    SAYS(near, "Connected with device: panel");
    nearPanel.push(1);
    SAYS(near, "[5001:9:7]On relay: 3");
    SAYS(far, "On relay: 3");
    SAYS(far, "sended data is hello");
    SAYS(far, "To IO 2");
    QTRY_COMPARE(shown, (QByteArrayList{ "1:1:0-0", "1:0:0-0" })); // what was held there went off with the push here
    nearPanel.release(1);
    SAYS(far, "Off relay: 3");
    QVERIFY(!far.output().contains("relay: 4"));
}

void ControllersTest::eventsAndAnswersOfATarget()
{
    Linked near(8,
                "device dvFar = 5001:2:7\n char sBuffer[20]\n"
                "start { create_buffer dvFar, sBuffer }\n"
                "data_event [dvFar] { string: {\n"
                "  send_string 5001:1:0, \"'got ', data.text, ' of ', itoa(data.device.system), ' in ', sBuffer\" } }\n"
                "button_event [5001:18:7, 3] {\n"
                "  push: { if ([5001:18:7, 4]) { send_string 5001:1:0, 'four is on' } }\n"
                "  release: { send_string 5001:1:0, 'three is free' } }");
    FakeTarget target(7);
    QVERIFY(target.listen(address(1), 6139));
    near.listenTo({ address(1) });
    RUNS(near);
    SAYS(near, "Online Event: 5001:4:7");
    QCOMPARE(target.introduction.left(6), QByteArray("3:100:"));
    QCOMPARE(target.peerAddress(), near.address());
    target.answers.insert("query:5001:18:7:4", "query:5001:18:7:4:1");
    target.write(FakeTarget::message(1001, "string:7:2:on"));
    target.write(FakeTarget::message(1001, "string:7:2:on")); // sent again: its confirmation was slow
    target.say("io:7:0:3");
    target.say("io:7:1:3");
    SAYS(near, "[5001:2:7]got port data: on");
    SAYS(near, "got on of 7 in on");
    SAYS(near, "got push event: [5001:18:7, 3]");
    SAYS(near, "four is on");
    SAYS(near, "three is free");
    QCOMPARE(near.output().count("got port data"), 1);
}

void ControllersTest::threeInACircle()
{
    const char source[] = "device dvPanel = 10001:1:0\n"
                          "button_event [dvPanel, 1] { push: {\n"
                          "  to [5001:18:7, 1]; to [5001:18:8, 1]; to [5001:18:9, 1]; on [5001:9:9, 5] } }";
    Linked first(7, source);
    Linked second(8, source);
    Linked third(9, source);
    const std::array<Linked *, 3> all = { &first, &second, &third };
    const QStringList list{
        first.address(),       second.address(), third.address(), first.address(), QStringLiteral("300.1.1.1"),
        QStringLiteral("room")
    };
    for (Linked *each : all) {
        each->listenTo(list); // itself too, one twice, and two that are no address
        RUNS(*each);
    }
    SAYS(first, "Online Event: 5001:4:9");
    SAYS(second, "Online Event: 5001:4:7");
    SAYS(third, "Online Event: 5001:4:8");
    for (Linked *each : all) {
        QTRY_COMPARE(each->output().count("Online Event: 5001:1:"), 3); // of the own port 1 and the two others'
        QTRY_COMPARE(first.output().count("connected with " + each->address().toUtf8() + '\n'), 1);
    }
    LinkClient panel({ 1, 10001, "panel", "1" });
    panel.connectTo(second.address());
    SAYS(second, "Connected with device: panel");
    panel.push(1);
    SAYS(third, "On relay: 5");
    SAYS(first, "To IO 1");
    panel.push(1); // what they hold goes off in all three; nothing may go round for ever
    QTRY_COMPARE(third.output().count("On relay: 5"), 2);
    const auto ticks = [](Linked &controller) { // processor time so far
        QFile stat(QStringLiteral("/proc/%1/stat").arg(controller.process().processId()));
        const QByteArrayList fields = stat.open(QIODevice::ReadOnly) ? stat.readAll().split(' ') : QByteArrayList();
        return fields.value(13).toInt() + fields.value(14).toInt();
    };
    const int before = ticks(second);
    QTest::qWait(1000);
    QVERIFY2(ticks(second) - before <= 20, "busy though nothing happens"); // of 100
    for (Linked *each : all) {
        QCOMPARE(each->output().count("Online Event: 5001:1:"), 3); // and no more came
        QCOMPARE(first.output().count("connected with " + each->address().toUtf8() + '\n'), 1);
    }
}

void ControllersTest::killedWhileMessagesFlow()
{
    Linked victim(7);
    Linked other(9);
    Linked sender(8, kCounting);
    sender.listenTo({ victim.address(), other.address() });
    RUNS(victim);
    RUNS(other);
    RUNS(sender);
    QTRY_VERIFY(victim.numbersSent().size() >= 5);
    QVERIFY(isConsecutive(victim.numbersSent()));
    const int lastBefore = victim.numbersSent().last();
    victim.signal(SIGKILL);
    QTRY_VERIFY(!victim.isRunning());
    RUNS(victim);
    QTRY_VERIFY(victim.numbersSent().size() >= 5);
    QVERIFY(isConsecutive(victim.numbersSent()));
    QVERIFY(victim.numbersSent().first() > lastBefore + 1); // what was said meanwhile is gone, not late
    QVERIFY(isConsecutive(other.numbersSent()));            // and the other has it all
    QTRY_VERIFY(other.numbersSent().size() > victim.numbersSent().size() + 5);
    QTRY_COMPARE(sender.output().count("Online Event: 5001:1:7"), 2);
    QCOMPARE(sender.output().count("Online Event: 5001:1:9"), 1);
}

void ControllersTest::badTargets()
{
    const QByteArrayList talks{
        "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\nbye",                 // and hangs up
        QByteArray::fromHex("56517fffffff3f"),                                      // a giant frame
        QByteArray::fromHex("56510000000a3f000000017379733a3100ac").repeated(1000), // wrong sums
        FakeTarget::message(1, "sys:") + FakeTarget::message(2, "sys:0") + FakeTarget::message(3, "string:0:1:loop") +
            FakeTarget::message(4, "io:7:9:1") + FakeTarget::message(5, "query:1:2:3") +
            FakeTarget::message(6, "\xff\xfe\0"),
        frameBytes(0x1F, "1:10001:Lobby:2.0") + messageFrameBytes(0x2A, 1, "10001:1:0"), // a panel's
    };
    Linked good(9);
    Linked near(8, kCounting);
    QStringList listened;
    std::array<QTcpServer, 5> bad;
    std::array<int, 5> connections{};
    for (size_t index = 0; index < bad.size(); ++index) {
        listened << address(static_cast<int>(index) + 1);
        QVERIFY(bad.at(index).listen(QHostAddress(listened.last()), 6139));
        connect(&bad.at(index), &QTcpServer::newConnection, this, [&, index] {
            ++connections.at(index);
            const QByteArray talk = talks.at(static_cast<int>(index));
            QTcpSocket *const peer = bad.at(index).nextPendingConnection();
            peer->write(talk);
            if (talk.endsWith("bye")) {
                peer->disconnectFromHost();
            }
        });
    }
    near.listenTo(listened + QStringList{ good.address() });
    RUNS(good);
    RUNS(near);
    QTRY_VERIFY(connections.front() >= 2); // it is tried again
    QTRY_VERIFY(std::count(connections.begin(), connections.end(), 0) == 0);
    QTRY_VERIFY(good.numbersSent().size() >= 10);
    QVERIFY(isConsecutive(good.numbersSent()));
    QVERIFY(!near.output().contains("got "));
    const QByteArray list = arkctl(near, { QStringLiteral("listen") });
    QVERIFY2(list.contains(good.address().toUtf8().leftJustified(15) + "  linked\n"), list.constData());
}

void ControllersTest::floodWhileTheProgramLoops()
{
    FakeTarget flood(7);
    QVERIFY(flood.listen(address(1), 6139));
    FakeTarget calm(9);
    QVERIFY(calm.listen(address(2), 6139));
    Linked near(8, kLooping);
    near.listenTo({ address(1), address(2) });
    near.start();
    QTRY_VERIFY(flood.questions > 0 && calm.questions > 0);
    const qint64 before = near.residentKiB();
    quint32 id = 0;
    for (int round = 0; round < 200; ++round) { // 20 MB, also of what would need an answer
        QByteArray burst;
        while (burst.size() < 100 * 1000) {
            burst += FakeTarget::message(1000000 + ++id, "string:7:1:" + QByteArray(200, 'x'));
            burst += FakeTarget::message(1000000 + ++id, "sys:7");
        }
        flood.write(burst);
        QCoreApplication::processEvents();
    }
    const int beats = calm.heartbeats;
    QTRY_VERIFY(calm.heartbeats >= beats + 2);
    QCOMPARE(calm.connections, 1);
    calm.hangUp();
    QTRY_COMPARE(calm.connections, 2); // it comes back by itself
    const qint64 grown = near.residentKiB() - before;
    QVERIFY2(before > 0 && grown < 6 * 1024, qPrintable(QStringLiteral("%1 KiB more than %2").arg(grown).arg(before)));
    near.signal(SIGTERM);
    QTRY_VERIFY(!near.isRunning());
    QCOMPARE(near.exitCode(), 0);
}

void ControllersTest::toolChangesTheList()
{
    Linked far(7);
    Linked near(8);
    RUNS(far);
    RUNS(near);
    const QStringList add{ QStringLiteral("listen"), QStringLiteral("add"), far.address() };
    const QByteArray shown = far.address().toUtf8().leftJustified(15);
    QCOMPARE(arkctl(near, { QStringLiteral("listen") }), QByteArray("The list is empty.\n0"));
    const QByteArray added = arkctl(near, add); // the link may be up before the answer
    QVERIFY2(added == shown + "  unconnected\n0" || added == shown + "  connected\n0" || added == shown + "  linked\n0",
             added.constData());
    SAYS(near, "Online Event: 5001:1:7");
    QCOMPARE(arkctl(near, { QStringLiteral("listen"), QStringLiteral("--json") }),
             "{\"address\":\"" + far.address().toUtf8() + "\",\"status\":2,\"state\":\"linked\"}\n0");
    QCOMPARE(arkctl(far, { QStringLiteral("sysnum"), QStringLiteral("17") }), QByteArray("system number 17\n0"));
    SAYS(near, "Online Event: 5001:1:17");

    near.signal(SIGTERM);
    QTRY_VERIFY(!near.isRunning());
    RUNS(near); // the list is kept
    SAYS(near, "Online Event: 5001:1:17");
    const QStringList remove{ QStringLiteral("listen"), QStringLiteral("remove"), far.address() };
    far.forgetOutput();
    QCOMPARE(arkctl(near, remove), QByteArray("The list is empty.\n0"));
    SAYS(far, "Disconnected from " + near.address().toUtf8());
    QVERIFY(arkctl(near, remove).endsWith("arkctl listen shows it\n1"));
}

void ControllersTest::cableIsCut()
{
    TwoHosts hosts;
    if (!hosts.areThere()) {
        QSKIP("network namespaces are not allowed here");
    }
    Linked far(7);
    Linked near(8, kCounting);
    near.listenTo({ QStringLiteral("10.77.0.1") });
    hosts.start(0, far);
    hosts.start(1, near);
    SAYS(near, "Online Event: 5001:4:7");
    QTRY_VERIFY(far.numbersSent().size() >= 3);
    hosts.setCable("down");
    // Nothing says so to either side: three heartbeats without an answer do, and the eleventh second without one.
    const auto list = [&hosts] { return hosts.run(1, { QStringLiteral(ARKCTL_PROGRAM), QStringLiteral("listen") }); };
    QTRY_VERIFY_WITH_TIMEOUT(list() == "10.77.0.1        unconnected\n", 9000);
    QTRY_VERIFY_WITH_TIMEOUT(far.output().contains("Disconnected from 10.77.0.2"), 15000);
    far.forgetOutput();
    hosts.setCable("up");
    QTRY_VERIFY(list() == "10.77.0.1        linked\n");
    QTRY_VERIFY(far.numbersSent().size() >= 3);
    QVERIFY(isConsecutive(far.numbersSent()));
    QTRY_COMPARE(near.output().count("Online Event: 5001:1:7"), 2);
}

TEST_CLASS(ControllersTest)
#include "ControllersTest.moc"
