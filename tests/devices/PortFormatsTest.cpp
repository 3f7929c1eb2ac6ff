#include "base/Overloaded.h"
#include "devices/IrCode.h"
#include "devices/IrFile.h"
#include "devices/PortsFile.h"
#include "devices/RemoteText.h"
#include "devices/SerialSetup.h"
#include "devices/frames/PortFrames.h"
#include "devices/frames/PortLinkParser.h"
#include "devices/linux/SerialAdapters.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTemporaryDir>

/// What the ports read and write: commands, frames, messages of other controllers, IR files.
class PortFormatsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void frames_data();
    void frames();
    void serialSetup_data();
    void serialSetup();
    void boardFrames_data();
    void boardFrames();
    void portLinkStream_data();
    void portLinkStream();
    void portsFile_data();
    void portsFile();
    void portsFileSections();
    void serialAdapters();
    void remoteText();
    void irFiles_data();
    void irFiles();
    void irCodes_data();
    void irCodes();
    void learnedCodes_data();
    void learnedCodes();
};

namespace {
QString asHex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex());
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}
} // namespace

void PortFormatsTest::frames_data()
{
    const Table<QByteArray, QByteArray> row("frame", "bytes");
    row("serial data", PortFrames::serialData(3, "AB"), hex("15 03 01 41 42"));
    row("serial data, empty", PortFrames::serialData(1, ""), hex("15 01 01"));
    row("io low", PortFrames::io(3, 1), hex("18 03 00 00 01"));
    row("ir once", PortFrames::irOnce(2, hex("00 FF")), hex("23 02 00 FF"));
    row("ir repeat", PortFrames::irRepeat(4, hex("0A")), hex("25 04 01 0A"));
    row("ir end", PortFrames::irEnd(4), hex("26 04"));
    row("ir query", PortFrames::irQuery(7), hex("22 07"));
    row("closing, on the link", PortFrames::onPortLink(PortFrames::closing()), hex("CA 00 02 19 00 AC"));
    row("long, on the link", PortFrames::onPortLink(QByteArray(258, 'x')).left(4), hex("CA 01 02 78"));
}

void PortFormatsTest::frames()
{
    QFETCH(QByteArray, frame);
    QFETCH(QByteArray, bytes);
    QCOMPARE(frame.toHex(' '), bytes.toHex(' '));
}

void PortFormatsTest::serialSetup_data()
{
    // frame: empty: none
    const Table<int, QByteArray, QByteArray, QStringList> row("port", "command", "frame", "remarks");
    const QString noProtocol = QStringLiteral("Warning: Serial port protocol unset. Default to RS232.");
    const QString wrongCommand = QStringLiteral("Error: Wrong serial port setting command.");
    const QString wrongParity = QStringLiteral("Warning: Wrong serial port parity setting.");
    const QString wrongRate = QStringLiteral("Error: Wrong serial port baudrate setting.");
    row("upper case, RS485, even, two stop bits", 2, "SET BAUD 19200,E,8,2 485 ENABLE",
        hex("15 02 00 00 0E 00 00 4B 00"), {});
    row("no protocol", 1, "set baud 9600,n,8,1", hex("15 01 00 01 00 00 00 25 80"), { noProtocol });
    row("protocol words first, odd", 4, "485 disable set baud 460800 , o , 8 , 1", hex("15 04 00 01 09 00 07 08 00"),
        {});
    row("three pieces", 1, "set baud 9600,n,8 485 disable", "", { wrongCommand });
    row("five pieces", 1, "set baud 9600,n,8,1,1 485 disable", "", { wrongCommand });
    row("empty pieces do not count", 1, "set baud 9600,,n,8,1, 485 disable", "", { wrongCommand });
    row("unknown parity", 1, "set baud 9600,x,8,1 485 disable", hex("15 01 00 01 00 00 00 25 80"), { wrongParity });
    row("no number", 1, "set baud fast,n,8,1 485 disable", hex("15 01 00 01 00 00 00 00 00"), { wrongRate });
    row("everything wrong, in order", 1, "set baud -1,q,8,1", hex("15 01 00 01 00 00 00 00 00"),
        { noProtocol, wrongRate, wrongParity });
    row("mode", 1, "Set Mode IR", "", {});
    row("unknown, in lower case", 1, "RESET %1", "", { "Error: Unknown command \"reset %1\"" });
}

void PortFormatsTest::serialSetup()
{
    QFETCH(int, port);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, frame);
    QFETCH(QStringList, remarks);
    const SerialSetupCommand parsed = SerialSetupCommand::parse(command);
    const QByteArray actual = parsed.setup ? PortFrames::serialSetup(port, *parsed.setup) : QByteArray();
    QCOMPARE(actual.toHex(' '), frame.toHex(' '));
    QStringList said;
    for (const SerialSetupCommand::Remark &remark : parsed.remarks) {
        said << remark.text;
        const bool isError = remark.text.startsWith(QLatin1String("Error"));
        QCOMPARE(remark.type, isError ? MonitorMessageType::Error : MonitorMessageType::Warning);
    }
    QCOMPARE(said, remarks);
}

void PortFormatsTest::boardFrames_data()
{
    const Table<QByteArray, QString> row("frame", "told");
    row("data", hex("15 08 01 41 42"), "received 8 4142");
    row("no data", hex("15 08 01"), "");
    row("a set-up, which is none of the board's", hex("15 01 00 01 00 00 00 25 80"), "");
    row("port 9", hex("15 09 01 41"), "");
    row("port 0", hex("15 00 01 41"), "");
    row("contact", hex("18 03 00 00 01"), "io 3 1");
    row("contact, any state but 0", hex("18 08 00 00 FF"), "io 8 1");
    row("contact, too short", hex("18 03 00 00"), "");
    row("contact, too long", hex("18 03 00 00 01 00"), "");
    row("relay", hex("16 08 00"), "relay 8 0");
    row("learned", hex("22 FF 49"), "ir 255 49");
    row("learned nothing", hex("22 01"), "");
    row("started", hex("1A"), "started");
    row("started, with more", hex("1A 01 02"), "started");
    row("of nobody", hex("77 01 01 01"), "");
    row("empty", "", "");
}

void PortFormatsTest::boardFrames()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, told);
    using namespace PortFrames;
    const Overloaded shown{
        [](const Received &it) { return QStringLiteral("received %1 %2").arg(it.port).arg(asHex(it.data)); },
        [](const IoState &it) { return QStringLiteral("io %1 %2").arg(it.number).arg(it.isOn); },
        [](const RelayState &it) { return QStringLiteral("relay %1 %2").arg(it.relay).arg(it.isOn); },
        [](const IrLearned &it) { return QStringLiteral("ir %1 %2").arg(it.number).arg(asHex(it.code)); },
        [](const Started &) { return QStringLiteral("started"); },
    };
    const auto parsed = PortFrames::parse(frame);
    QCOMPARE(parsed ? std::visit(shown, *parsed) : QString(), told);
}

void PortFormatsTest::portLinkStream_data()
{
    const Table<QByteArray, QByteArrayList, QByteArrayList> row("stream", "frames", "afterGivingUp");
    row("two", hex("CA 00 02 11 12 AC CA 00 01 13 AC"), { "1112", "13" }, {});
    row("noise around", hex("00 AC CA 00 01 13 AC FF"), { "13" }, {});
    row("empty", hex("CA 00 00 AC"), { "" }, {});
    row("marks within", hex("CA 00 03 CA AC CA AC"), { "caacca" }, {});
    row("wrong end, the next survives", hex("CA 00 01 13 00 CA 00 01 14 AC"), { "14" }, {});
    row("wrong end, one within", hex("CA 00 06 CA 00 01 14 AC 00 00"), { "14" }, {});
    row("too long", hex("CA 10 01 CA 00 01 14 AC"), { "14" }, {});
    row("never ends", hex("CA 0F 00 CA 00 01 14 AC CA"), {}, { "14" });
}

void PortFormatsTest::portLinkStream()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArrayList, frames);
    QFETCH(QByteArrayList, afterGivingUp);
    const auto shown = [](QByteArrayList list) {
        std::transform(list.begin(), list.end(), list.begin(), [](const QByteArray &each) { return each.toHex(); });
        return list;
    };
    for (int piece = 1; piece <= stream.size(); ++piece) {
        PortLinkParser parser;
        QByteArrayList cut;
        for (int at = 0; at < stream.size(); at += piece) {
            cut += parser.feed(stream.mid(at, piece));
        }
        QCOMPARE(shown(cut), frames);
        QCOMPARE(parser.isWithinFrame(), !afterGivingUp.isEmpty());
        QCOMPARE(shown(parser.giveUp()), afterGivingUp);
        QVERIFY(!parser.isWithinFrame());
    }
}

void PortFormatsTest::portsFile_data()
{
    // entries: "port device", with a "!" when it cannot be used; problems: how each begins
    const Table<QByteArray, QStringList, QStringList> row("text", "entries", "problems");
    row("all kinds",
        "# a board\n[serial8]\ndevice = /dev/a\r\n\n[relay1]\nline=chip:1\nactiveLow=true\n"
        "[io8]\nline=chip:2\nbias=pull-up\ndebounceMs=20\n;\n[ir4]\ndevice=/dev/lirc0\n[portLink]\ndevice=/dev/b=c\n",
        { "serial8 /dev/a", "relay1 chip:1", "io8 chip:2", "ir4 /dev/lirc0", "portLink /dev/b=c" }, {});
    row("no such port", "[serial9]\ndevice=x\n[serial01]\n[ir5]\n[]\n[relay1]\nline=l", { "relay1 l" },
        { "ports.ini [serial9]: there are only", "ports.ini [serial01]: there", "ports.ini [ir5]: there",
          "ports.ini []: there" });
    row("key missing", "[relay1]\nactiveLow=true\n[serial1]\ndevice=\n", { "relay1 !", "serial1 !" },
        { "ports.ini [relay1] line: it is missing; it looks like line=gpiochip0:17",
          "ports.ini [serial1] device: it is missing" });
    row("unknown key", "[serial1]\ndevice=d\nbaud=9600", { "serial1 d!" },
        { "ports.ini [serial1] baud: there is no such key, but device" });
    row("wrong values", "[io1]\nline=l\nbias=up\ndebounceMs=-1\nactiveLow=yes", { "io1 l!" },
        { "ports.ini [io1] bias: \"up\" is none of", "ports.ini [io1] debounceMs: \"-1\" is no number from 0 to 1000",
          "ports.ini [io1] activeLow: \"yes\" is neither" });
    row("section twice", "[serial1]\ndevice=d\n[serial1]\ndevice=e", { "serial1 d" },
        { "ports.ini [serial1]: it stands there twice" });
    row("key twice", "[serial1]\ndevice=d\ndevice=e", { "serial1 d!" }, { "ports.ini [serial1] device: it stands" });
    row("one device for two", "[serial1]\ndevice=/dev/null\n[serial2]\ndevice=/dev/../dev/null",
        { "serial1 /dev/null", "serial2 /dev/../dev/null!" },
        { "ports.ini [serial2] device: /dev/../dev/null is behind [serial1] already" });
    row("no lines of such a file", "device=d\n[serial1\ngarbage\n[serial1]\n=x\ndevice=d", { "serial1 d" },
        { "ports.ini line 1: \"device=d\" is neither",
          "ports.ini line 2: ", "ports.ini line 3: ", "ports.ini line 5: " });
}

void PortFormatsTest::portsFile()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, entries);
    QFETCH(QStringList, problems);
    const PortsFile::Content content = PortsFile::parse(text);
    QStringList read;
    for (const PortEntry &entry : content.entries) {
        read << entry.name.text() + QLatin1Char(' ') + entry.device +
                    (entry.problem.isEmpty() ? QString() : QStringLiteral("!"));
    }
    QCOMPARE(read, entries);
    QCOMPARE(content.problems.size(), problems.size());
    for (int index = 0; index < problems.size(); ++index) {
        QVERIFY2(content.problems.at(index).startsWith(problems.at(index)), qPrintable(content.problems.at(index)));
    }
}

void PortFormatsTest::portsFileSections()
{
    const QByteArray text = "# mine\n[serial1]\n# the projector\ndevice=a\n\n[io1]\nline=l\n";
    const auto with = [](const QByteArray &before, const char *port, const char *lines) {
        return PortsFile::withSection(before, *PortName::parse(QLatin1String(port)),
                                      QString::fromLatin1(lines).split(QLatin1Char('|'), Qt::SkipEmptyParts));
    };
    QCOMPARE(with(text, "serial1", "device=b"),
             QByteArray("# mine\n[serial1]\ndevice=b\n# the projector\n\n[io1]\nline=l\n"));
    QCOMPARE(with(text, "io1", ""), QByteArray("# mine\n[serial1]\n# the projector\ndevice=a\n"));
    QCOMPARE(with(text, "relay2", "line=m|activeLow=true"), text + "[relay2]\nline=m\nactiveLow=true\n");
    QCOMPARE(with("", "serial1", "device=b"), QByteArray("[serial1]\ndevice=b\n"));
}

void PortFormatsTest::serialAdapters()
{
    // As the kernel has them: an adapter whose driver is two folders up, a line of the board behind its core's own
    // drivers, a place for a chip without one, a line that udev has not made, and what is no line at all.
    const QTemporaryDir root;
    const auto pathOf = [&root](const QByteArray &file) {
        const QString path = root.filePath(QString::fromLatin1(file));
        return QDir().mkpath(QFileInfo(path).path()) ? path : QString();
    };
    const auto put = [&](const QByteArray &file, const QByteArray &text = {}) {
        QVERIFY(writeFile(pathOf(file), text));
    };
    const auto link = [&](const QByteArray &from, const QByteArray &to) {
        const QString target = pathOf(to + "/uevent");
        QVERIFY(QFile::link(QFileInfo(target).path(), pathOf(from)));
    };
    put("sys/devices/usb1/1-1/product", "USB UART\n");
    link("sys/devices/usb1/1-1/1-1:1.0/driver", "sys/bus/ftdi");
    link("sys/class/tty/ttyUSB10/device", "sys/devices/usb1/1-1/1-1:1.0/ttyUSB10");
    link("sys/class/tty/ttyUSB9/device", "sys/devices/usb1/1-1/1-1:1.0/ttyUSB9");
    link("sys/devices/pnp/00:03/driver", "sys/bus/serial");
    link("sys/devices/pnp/00:03/port/driver", "sys/bus/port");
    for (const QByteArray line : { "ttyS0", "ttyS1", "ttyS2" }) {
        link("sys/class/tty/" + line + "/device", "sys/devices/pnp/00:03/port");
        put("sys/class/tty/" + line + "/type", line == "ttyS1" ? "0\n" : "4\n");
    }
    put("sys/class/tty/tty1/dev", "4:1");
    put("sys/class/tty/console/active", "tty0 ttyS0\n");
    for (const char *file : { "dev/ttyUSB9", "dev/ttyUSB10", "dev/ttyS0", "dev/ttyS1", "dev/tty1" }) {
        put(file);
    }
    QVERIFY(QFile::link(root.filePath(QStringLiteral("dev/ttyUSB10")), pathOf("dev/serial/by-id/x")));
    QStringList found;
    for (const SerialAdapters::Found &each : SerialAdapters::all(root.path())) {
        QStringList fields{ each.device, each.file, each.driver, each.product };
        fields << QLatin1String(each.isConsole ? "console" : "");
        found << fields.join(QLatin1Char(' ')).remove(root.path());
    }
    QCOMPARE(found, (QStringList{ QStringLiteral("/dev/ttyS0 /dev/ttyS0 serial  console"),
                                  QStringLiteral("/dev/ttyUSB9 /dev/ttyUSB9 ftdi USB UART "),
                                  QStringLiteral("/dev/serial/by-id/x /dev/ttyUSB10 ftdi USB UART ") }));
    QVERIFY(SerialAdapters::all(root.filePath(QStringLiteral("nowhere"))).empty());
}

void PortFormatsTest::remoteText()
{
    const auto setup = RemoteText::parseSetup("5001:18:7:3:2");
    QVERIFY(setup);
    QCOMPARE(setup->device.text(), QStringLiteral("5001:18:7"));
    QCOMPARE(setup->channel, 3);
    QCOMPARE(setup->action, PortAction::Pulse);
    for (const char *wrong : { "5001:18:7:3", "5001:18:7:3:2:1", "5001:18:7:3:x", "-1:18:7:3:2", " 5001:18:7:3:2" }) {
        QVERIFY2(!RemoteText::parseSetup(wrong), wrong);
    }

    const auto data = RemoteText::parseAddressed("5001:1:7:a:b:");
    QVERIFY(data);
    QCOMPARE(data->device.text(), QStringLiteral("5001:1:7"));
    QCOMPARE(data->rest, QByteArray("a:b:"));
    QVERIFY(!RemoteText::parseAddressed("5001:1:7"));
    QVERIFY(!RemoteText::parseAddressed(""));
}

void PortFormatsTest::irFiles_data()
{
    // code: empty: not found
    const Table<QByteArray, int, QByteArray> row("content", "codeNumber", "code");
    const QByteArray head = "00000004 00490052 00000001 00000002 0041 FFFFFFFF 00000000 00000000 00000000";
    const QByteArray numbers = "00000000 00000000 00000000 00000000 00000000 00000000";
    const QByteArray first = "00000002 0041 00000005" + numbers + "00000002 0102";
    const QByteArray second = "00000002 0042 00000005" + numbers + "00000001 03";
    const QByteArray third = "00000000 000000FF" + numbers + "00000001 04";
    const auto file = [](const QByteArray &text) { return QByteArray::fromHex(text); };
    const QByteArray whole = file(head + "00000003" + first + second + third);
    row("first of two", whole, 5, hex("0102"));
    row("last", whole, 255, hex("04"));
    row("absent", whole, 6, "");
    row("count too large", file(head + "7FFFFFFF" + first), 255, "");
    row("cut inside the wanted record", whole.left(whole.size() - 1), 255, "");
    row("negative count", file(head + "FFFFFFFF" + first), 5, "");
    row("other magic", file("00000006 004900520058" + head.mid(17) + "00000001" + first), 5, "");
    row("version 2", file("00000004 00490052 00000002" + head.mid(26) + "00000001" + first), 5, "");
    row("empty", "", 5, "");
}

void PortFormatsTest::irFiles()
{
    QFETCH(QByteArray, content);
    QFETCH(int, codeNumber);
    QFETCH(QByteArray, code);
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("ir1.ir"));
    QCOMPARE(IrFile::find(path, codeNumber).outcome, IrFile::Outcome::CannotOpen);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
    file.close();
    const IrFile::Lookup lookup = IrFile::find(path, codeNumber);
    QCOMPARE(lookup.code.toHex(), code.toHex());
    QCOMPARE(lookup.outcome, code.isEmpty() ? IrFile::Outcome::NotFound : IrFile::Outcome::Found);
}

namespace {
QByteArray shown(const IrCode::Durations &durations)
{
    QByteArrayList numbers;
    for (const quint32 each : durations) {
        numbers << QByteArray::number(each);
    }
    return numbers.join(' ');
}

QByteArray shown(const std::optional<IrCode> &code)
{
    return code ? QByteArray::number(code->carrierHz) + ": " + shown(code->once) + " / " + shown(code->repeat) +
                      (code->toggled.empty() ? "" : " / " + shown(code->toggled))
                : "none";
}

/// "IRP1", the carrier and the durations as text: their bytes.
QByteArray irData(const QByteArray &numbers)
{
    QByteArray data = "IRP1";
    for (const QByteArray &each : numbers.split(' ')) {
        const quint32 number = each.toUInt();
        for (int shift = 24; shift >= 0; shift -= 8) {
            data += static_cast<char>(number >> shift);
        }
    }
    return data;
}

QByteArray times(int count, const QByteArray &text)
{
    return QByteArrayList(QVector<QByteArray>(count, text).toList()).join(' ');
}
} // namespace

void PortFormatsTest::irCodes_data()
{
    const Table<QByteArray, QByteArray> row("data", "code");
    row("the whole is repeated", irData("38000 900 450 56"), "38000: 900 450 56 / 900 450 56");
    row("bytes", hex("49525031 00009470 00000384"), "38000: 900 / 900");
    row("its own repeat", irData("38000 9000 4500 560 40000 0 9000 2250 560"),
        "38000: 9000 4500 560 40000 / 9000 2250 560");
    row("never repeated", irData("0 900 450 0"), "0: 900 450 / ");
    row("every other press", irData("38000 900 450 0 900 450 0 800 450"), "38000: 900 450 / 900 450 / 800 450");
    row("no other press", irData("38000 900 0 900 0"), "none");
    row("three marks", irData("38000 900 0 900 0 800 0"), "none");
    row("nothing to send once", irData("38000 0 900"), "none");
    row("no durations", irData("38000"), "none");
    row("cut", irData("38000 900 450").chopped(1), "none");
    row("no carrier", "IRP1", "none");
    row("half a carrier", hex("495250310000"), "none");
    row("other data", hex("006D2202"), "none");
    row("carrier too low", irData("9999 900"), "none");
    row("carrier too high", irData("1000001 900"), "none");
    row("a duration too long", irData("38000 900 1000001 900"), "none");
    row("the longest burst", irData("38000 400000 9999 90001"), "38000: 400000 9999 90001 / 400000 9999 90001");
    row("a burst too long", irData("38000 400000 9999 90002"), "none");
    row("a pause parts bursts", irData("38000 400000 10000 400000"),
        "38000: 400000 10000 400000 / 400000 10000 400000");
    row("too many in a burst", irData("38000 " + times(512, "9 9") + " 9"), "none");
    row("too many", irData("38000 " + times(2049, "9 10000")), "none");
}

void PortFormatsTest::irCodes()
{
    QFETCH(QByteArray, data);
    const std::optional<IrCode> code = IrCode::parse(data);
    QTEST(shown(code), "code");
    if (code) {
        QCOMPARE(code->written().toHex(), data.toHex());
    }
}

void PortFormatsTest::learnedCodes_data()
{
    const Table<QByteArray, QByteArray> row("received", "code");
    row("one frame", "900 450 56 169 56 56 56", "36000: 900 450 56 169 56 56 56 40000 / 900 450 56 169 56 56 56 40000");
    row("the same again", "900 450 560 1690 560 560 560 90000 950 400 600 1600 500 600 520 80000",
        "36000: 900 450 560 1690 560 560 560 90000 / 900 450 560 1690 560 560 560 90000");
    row("another while held", "9000 4500 560 1690 560 560 560 40000 9000 2250 560 96000 9000 2250 560",
        "36000: 9000 4500 560 1690 560 560 560 40000 / 9000 2250 560 96000");
    row("three times", "2400 600 1200 600 600 600 1200 25000 2400 600 1200 600 600 600 1200",
        "36000: 2400 600 1200 600 600 600 1200 25000 2400 600 1200 600 600 600 1200 25000 "
        "2400 600 1200 600 600 600 1200 25000 / 2400 600 1200 600 600 600 1200 25000");
    row("noise", "900 450 56 169 56", "none");
    row("nothing", "", "none");
}

void PortFormatsTest::learnedCodes()
{
    QFETCH(QByteArray, received);
    IrCode::Durations durations;
    for (const QByteArray &each : received.split(' ')) {
        if (!each.isEmpty()) {
            durations.push_back(each.toUInt());
        }
    }
    QTEST(shown(IrCode::learned(36000, durations)), "code");
}

TEST_CLASS(PortFormatsTest)
#include "PortFormatsTest.moc"
