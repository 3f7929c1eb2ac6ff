#include "SimulatedDevices.h"
#include "e2e/ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "support/Files.h"
#include "support/MarkdownPage.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"

#include <QRegularExpression>

#include <algorithm>
#include <csignal>

#include <sys/file.h>

/// The whole controller with a ports.ini: relays, contacts, infrared and serial lines of the kernel's.
class RoomLabTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void documentedRoom();
    void badEntries();
};

namespace {
const char kRoom[] = R"src(
device dvPanel = 10001:1:0
device dvProjector = 5001:1:0
device dvSwitcher = 5001:2:0
device dvLog = 5001:4:0 // simulated
device dvRelays = 5001:9:0
device dvInfrared = 5001:10:0
device dvContacts = 5001:18:0
exclusive [dvRelays, 1..2]
start {
    set_pulse_time(1)
    send_command dvProjector, 'SET BAUD 31250,N,8,1 485 DISABLE'
}
button_event [dvPanel, {1, 2}] { push: { on [dvRelays, button.input.channel] } }
button_event [dvPanel, 3] { push: { pulse [dvContacts, 3] } }
button_event [dvPanel, 4] { push: { on [dvInfrared, 105] } }
button_event [dvPanel, 5] { push: { on [dvRelays, 3] } }
button_event [dvContacts, {1, 2}] {
    push: { send_string dvLog, "'contact ', itoa(button.input.channel), ' shut ', itoa([dvContacts, 1])" }
    release: { send_string dvLog, "'contact ', itoa(button.input.channel), ' open ', itoa([dvContacts, 1])" }
}
data_event [dvProjector] {
    string: { send_string dvProjector, data.text }
    offline: { send_string dvProjector, 'lost' }
}
data_event [dvSwitcher] { string: { send_string dvLog, "'switcher ', data.text" } }
)src";

/// The levels that somebody has given the chip's lines since the last forgetEdges(), oldest first, as the kernel has
/// traced them.
struct Edges
{
    QByteArrayList levels; // "17:1": line 17 high
    QList<double> seconds;
};

Edges edgesOf(const SimulatedChip &chip)
{
    static const QRegularExpression kForm(QStringLiteral(" (\\d+\\.\\d+): gpio_value: (\\d+) set ([01])"));
    const int first = chip.firstNumber();
    Edges found;
    auto lines = kForm.globalMatch(QString::fromLatin1(readFrom(QStringLiteral("/sys/kernel/tracing/trace"))));
    while (lines.hasNext()) {
        const QRegularExpressionMatch line = lines.next();
        const int offset = line.captured(2).toInt() - first;
        found.levels << QByteArray::number(offset) + ':' + line.captured(3).toLatin1();
        found.seconds << line.captured(1).toDouble();
    }
    return found;
}

void forgetEdges()
{
    writeTo(QStringLiteral("/sys/kernel/tracing/events/gpio/gpio_value/filter"), "get == 0");
    writeTo(QStringLiteral("/sys/kernel/tracing/events/gpio/gpio_value/enable"), "1");
    writeTo(QStringLiteral("/sys/kernel/tracing/trace"), "\n");
}

QByteArray iniOf(const QString &page)
{
    const std::vector<CodeBlock> blocks =
        codeBlocksOf(QString::fromUtf8(readFrom(QStringLiteral(DOCS_DIRECTORY "/") + page)));
    const auto found = std::find_if(blocks.begin(), blocks.end(),
                                    [](const CodeBlock &block) { return block.kind == QLatin1String("ini"); });
    return found == blocks.end() ? QByteArray() : found->code.join(QLatin1Char('\n')).toUtf8() + '\n';
}
} // namespace

/// The ports.ini of the page on hardware, and an adapter with a relay and a contact that is pulled out.
void RoomLabTest::documentedRoom()
{
    SimulatedChip chip(QStringLiteral("pinctrl"), 32);
    SimulatedChip pulled(QStringLiteral("mute-adapter"));
    SimulatedAdapter projector(QStringLiteral("A50285BI"), SimulatedAdapter::Driver::Generic);
    SimulatedAdapter switcher(QStringLiteral("A50285BJ"), SimulatedAdapter::Driver::Generic);
    QVERIFY(chip.plug() && pulled.plug() && projector.plug(0));
    QTRY_VERIFY(projector.isThere());
    QVERIFY(switcher.plug(1));
    QTRY_VERIFY(switcher.isThere());

    ControllerProcess controller;
    INSTALLS(controller, kRoom);
    const QByteArray ini = iniOf(QStringLiteral("hardware.md")).replace("gpiochip0", chip.name());
    QVERIFY(ini.contains("[serial2]"));
    QVERIFY(
        writeFile(controller.filePath(QStringLiteral("ports.ini")),
                  ini + "[io3]\nline=pinctrl:6\n[relay3]\nline=" + pulled.name() + ":0\n[io2]\nline=mute-adapter:3\n"));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("codes")), "5 \"Power\" nec 04FB\n"));
    const ToolRun built =
        runTool(QStringLiteral(ARKCTL_PROGRAM),
                { QStringLiteral("ir"), QStringLiteral("build"), controller.filePath(QStringLiteral("codes")),
                  QStringLiteral("-o"), controller.filePath(QStringLiteral("ir1.ir")) });
    QVERIFY2(built.status == 0, built.errors.constData());
    STARTS(controller);
    SAYS(controller, "the device does not take 31250 baud"); // this driver takes no rate at all
    LinkClient panel({ 1, 10001, "panel", "1" });
    JOINS(panel, controller);

    // Relays, of which the one opens before the other closes. These are on when their lines are low.
    QCOMPARE(chip.value(17) + chip.value(27), QByteArray("11"));
    panel.push(1);
    QTRY_COMPARE(chip.value(17), QByteArray("0"));
    forgetEdges();
    panel.push(2);
    QTRY_COMPARE(edgesOf(chip).levels, QByteArrayList({ "17:1", "27:0" }));

    // A contact between the line and ground.
    QVERIFY(chip.pull(5, "down"));
    SAYS(controller, "contact 1 shut 1");
    QVERIFY(chip.pull(5, "up"));
    SAYS(controller, "contact 1 open 0");

    // A contact that is used as an output is one, low while it is on.
    QList<double> pulses;
    while (pulses.size() < 15) {
        forgetEdges();
        panel.push(3);
        QTRY_VERIFY(edgesOf(chip).levels.endsWith("6:1"));
        const QList<double> seconds = edgesOf(chip).seconds;
        pulses << (seconds.last() - seconds.at(seconds.size() - 2)) * 1000;
    }
    std::sort(pulses.begin(), pulses.end());
    qInfo("pulses of 100 ms last %.1f ms, at least %.1f and at most %.1f", pulses.at(7), pulses.first(), pulses.last());

    QVERIFY(writeTo(QStringLiteral("/sys/class/rc/rc0/protocols"), "+nec"));
    const Descriptor receiver = lirc(LIRC_MODE_SCANCODE);
    panel.push(4);
    lirc_scancode heard{};
    QTRY_VERIFY(read(receiver.get(), &heard, sizeof heard) == sizeof heard || heard.scancode != 0);
    QCOMPARE(heard.scancode, 0x04fbULL);

    const QByteArray raw = QByteArray::fromHex("11 13 00 0D 0A FF 03 1A");
    QVERIFY(projector.send(raw));
    QTRY_COMPARE(projector.received(), raw);

    // The chip goes, and all else stays.
    const QByteArrayList lines{ "relay3 (" + pulled.name() + ":0)", "io2 (mute-adapter:3)" };
    const QByteArray name = pulled.name();
    controller.forgetOutput();
    QVERIFY(pulled.unplug());
    for (const QByteArray &line : lines) {
        SAYS(controller, line + ": the device has gone: ");
    }
    QVERIFY(projector.send("still here") && chip.pull(5, "down"));
    QTRY_COMPARE(projector.received(), raw + "still here");
    SAYS(controller, "contact 1 shut 1");
    QVERIFY(pulled.plug());
    QVERIFY(pulled.name() != name); // so does Linux with every chip that was pulled while in use
    for (const QByteArray &line : lines) {
        SAYS(controller, line + " is open again");
    }
    QVERIFY(pulled.pull(3, "up"));
    SAYS(controller, "contact 2 shut 1");
    panel.push(5);
    QTRY_COMPARE(pulled.value(0), QByteArray("1"));

    // The adapters go, and come in the other order.
    const QString former = QFile::symLinkTarget(projector.deviceFile());
    QVERIFY(projector.pull() && switcher.pull());
    SAYS(controller, "Offline Event: 5001:1:0");
    SAYS(controller, "Offline Event: 5001:2:0");
    SAYS(controller, "it is not open: 4 bytes were not sent");
    QVERIFY(switcher.plug(1));
    SAYS(controller, "Online Event: 5001:2:0");
    QVERIFY(projector.plug(0));
    SAYS(controller, "Online Event: 5001:1:0");
    QVERIFY(QFile::symLinkTarget(projector.deviceFile()) != former);
    QVERIFY(projector.send(raw) && switcher.send("back"));
    QTRY_COMPARE(projector.received(), raw);
    SAYS(controller, "switcher back");
    QVERIFY2(!controller.output().contains("cannot be opened"), controller.output().constData()); // it has gone: said

    // The end, in order and at once.
    QCOMPARE(chip.value(27), QByteArray("0"));
    forgetEdges();
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
    QVERIFY(edgesOf(chip).levels.contains("27:1") && edgesOf(pulled).levels.contains("0:0"));
    STARTS(controller);
    JOINS(panel, controller);
    panel.push(1);
    QTRY_COMPARE(chip.value(17), QByteArray("0"));
    forgetEdges();
    controller.signal(SIGKILL);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(edgesOf(chip).levels, QByteArrayList()); // the kernel takes the line back, and nobody switches it off
    STARTS(controller);
    QCOMPARE(chip.value(17) + chip.value(27), QByteArray("11"));
}

/// What cannot be used says why; the other ports work.
void RoomLabTest::badEntries()
{
    SimulatedChip chip(QStringLiteral("pinctrl"));
    SimulatedAdapter busy(QStringLiteral("A1"), SimulatedAdapter::Driver::Acm);
    SimulatedAdapter good(QStringLiteral("A2"), SimulatedAdapter::Driver::Acm);
    QVERIFY(chip.plugWithLamp() && busy.plug(0) && good.plug(1));
    QTRY_VERIFY(busy.isThere() && good.isThere());
    const QByteArray file = busy.deviceFile().toUtf8();
    const Descriptor held(::open(file.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK));
    QVERIFY(::flock(held.get(), LOCK_EX) == 0);
    ControllerProcess controller;
    INSTALLS(controller, "start { on [5001:9:0, 1]\n send_command 5001:4:0, 'SET BAUD 31250,E,8,2 485 ENABLE'\n"
                         "  send_string 5001:4:0, 'here' }");
    const QByteArray name = chip.name();
    QVERIFY(writeFile(controller.filePath(QStringLiteral("ports.ini")),
                      "[relay1]\nline=" + name + ":1\n[relay2]\nline=" + name +
                          ":1\n[relay3]\nline=pinctrl:1\n[relay4]\nline=pinctrl:7\n[relay5]\nline=/dev/null\n"
                          "[serial1]\ndevice=" +
                          file + "\n[serial2]\ndevice=" + QFile::symLinkTarget(busy.deviceFile()).toUtf8() +
                          "\n[serial3]\ndevice=/dev/zero\n[serial4]\ndevice=" + good.deviceFile().toUtf8() +
                          "\n[ir1]\ndevice=/dev/ttyS0\n"));
    STARTS(controller);
    QTRY_COMPARE(chip.value(1), QByteArray("1"));
    const QByteArray test = "LabTest (" + QByteArray::number(QCoreApplication::applicationPid()) + ')';
    for (const QByteArray &line :
         { "ports.ini [relay2] line: " + name + ":1 is behind [relay1] already",
           QByteArray("ports.ini [relay3] line: pinctrl:1 is behind [relay1] already"),
           "relay4 (pinctrl:7): it cannot be opened: " + name + ":7 is in use by \"lamp\"",
           "relay5 (/dev/null): it cannot be opened: There is no GPIO line /dev/null. The chips are: " + name,
           "serial1 (" + file + "): it cannot be opened: it is in use by " + test,
           QByteArray(" is behind [serial1] already"), QByteArray("serial3 (/dev/zero): it cannot be opened: "),
           "serial4 (" + good.deviceFile().toUtf8() + "): its driver does not switch RS-485: ",
           QByteArray("/dev/ttyS0 is no infrared device, such as /dev/lirc0 is") }) {
        SAYS(controller, line);
    }
    QTRY_COMPARE(good.received(), QByteArray("here"));
    QVERIFY(!controller.output().contains(" baud\n"));
}

TEST_CLASS(RoomLabTest)
#include "RoomLabTest.moc"
