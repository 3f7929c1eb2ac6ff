#include "net/link/MonitorPast.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "tools/arkctl/IrNotation.h"
#include "tools/arkctl/IrText.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/MonitorFilter.h"
#include "tools/arkctl/PanelActions.h"
#include "tools/arkctl/PanelState.h"
#include "tools/arkctl/Rendering.h"
#include "tools/arkctl/SinceTime.h"
#include "tools/arkctl/commands/ListenCommand.h"
#include "tools/arkctl/commands/PortTestCommand.h"
#include <QDateTime>

namespace {
QString shown(const std::variant<PanelScript, std::string> &parsed)
{
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return QStringLiteral("fault: ") + QString::fromStdString(*fault);
    }
    const PanelScript &script = std::get<PanelScript>(parsed);
    QStringList steps;
    for (const PanelAction &action : script.actions) {
        const char *const names[] = { "push", "release", "level", "wait" };
        steps << QStringLiteral("%1 %2 %3")
                     .arg(QLatin1String(names[static_cast<int>(action.kind)]))
                     .arg(action.code)
                     .arg(action.value);
    }
    return steps.join(QStringLiteral(", ")) + (script.watches ? QStringLiteral(" watch") : QString()) +
           (script.readsInput ? QStringLiteral(" then input") : QString());
}
} // namespace

class ArkctlTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void scripts_data();
    void scripts();
    void scriptLines();
    void endpoints_data();
    void endpoints();
    void panelRemembersGroups();
    void linesStayLines_data();
    void linesStayLines();
    void irTextBecomesAFile();
    void irNotations_data();
    void irNotations();
    void irTextFaults_data();
    void irTextFaults();
    void portTests_data();
    void portTests();
    void listenLists_data();
    void listenLists();
    void linkStates();
    void detectedDevices();
    void times_data();
    void times();
    void filters_data();
    void filters();
    void pastRepliesAreReadWhole();
};

void ArkctlTest::scripts_data()
{
    const Table<QString, QString> row("words", "script");
    row("push 5 release 5 watch", "push 5 0, release 5 0 watch");
    row("press 5", "push 5 0, release 5 0");
    row("watch level 1 -20", "level 1 -20 watch");
    row("push 5 wait 0.25 watch -", "push 5 0, wait 0 250 watch then input");
    row("- push 5", "fault: after - only watch may follow, not push");
    row("wait", "fault: the time after wait is missing");
    row("wait 1s", "fault: the time after wait is not a number of seconds: 1s");
    row("wait -1", "fault: the time after wait is not a number of seconds: -1");
    row("wait nan", "fault: the time after wait is not a number of seconds: nan");
    row("wait 1e300", "fault: the time after wait is not a number of seconds: 1e300");
    row("push", "fault: the channel after push is missing");
    row("push 5x", "fault: the channel after push is not a number: 5x");
    row("push 99999999999", "fault: the channel after push is not a number: 99999999999");
    row("push -5", "fault: the channel after push must not be negative");
    row("level 1", "fault: the value after level 1 is missing");
    row("poke 5", "fault: unknown action: poke (there are push, release, press, level, wait and watch)");
}

void ArkctlTest::scripts()
{
    QFETCH(QString, words);
    std::vector<std::string> list;
    const QStringList parts = words.split(QLatin1Char(' '));
    for (const QString &word : parts) {
        list.push_back(word.toStdString());
    }
    QTEST(shown(parsePanelScript(list)), "script");
}

void ArkctlTest::scriptLines()
{
    QCOMPARE(shown(parsePanelLine("\tpress  5 # the lamp\r")), QStringLiteral("push 5 0, release 5 0"));
    QCOMPARE(shown(parsePanelLine("#")), QString());
    QCOMPARE(shown(parsePanelLine("push 5 -")), QStringLiteral("fault: - is for the command line only"));
}

void ArkctlTest::endpoints_data()
{
    const Table<QString, QString> row("text", "endpoint");
    row("127.0.0.2", "127.0.0.2:6139");
    row("room.example:7000", "room.example:7000");
    row("[::1]", "[::1]:6139");
    row("[::1]:7000", "[::1]:7000");
    row("::1", "[::1]:6139");
    row("fe80::1%eth0", "[fe80::1%eth0]:6139");
    row("1::2::3", "none");
    row("127.0.0.2:0", "none");
    row("127.0.0.2:65536", "none");
    row("127.0.0.2:port", "none");
    row("", "none");
}

void ArkctlTest::endpoints()
{
    QFETCH(QString, text);
    const std::optional<Endpoint> endpoint = parseEndpoint(text);
    QTEST(endpoint ? QString::fromStdString(endpoint->text()) : QStringLiteral("none"), "endpoint");
}

void ArkctlTest::panelRemembersGroups()
{
    PanelState state;
    const auto lit = [&state] {
        QVector<int> channels;
        for (int channel = 1; channel <= 10; ++channel) {
            if (state.status(channel) != 0) {
                channels << channel;
            }
        }
        return channels;
    };
    state.take(decodeLinkMessage(0x1B, "1:1:9:1"));
    state.take(decodeLinkMessage(0x1B, "3:1:2-5"));
    state.take(decodeLinkMessage(0x1B, "4:1:2-5")); // puts 3 out, leaves 1 and 9
    QCOMPARE(lit(), (QVector<int>{ 1, 4, 9 }));
    state.take(decodeLinkMessage(0x1C, "6:1:1,6"));
    QCOMPARE(lit(), (QVector<int>{ 4, 6, 9 }));
    state.take(decodeLinkMessage(0x1B, "9:0:0-0"));
    QCOMPARE(lit(), (QVector<int>{ 4, 6 }));
    const QByteArray channel8 = QByteArray::fromHex("00000001 00000001 00000000 00000008 00000001 00000000 00000000");
    state.take(decodeLinkMessage(0x34, channel8));
    QCOMPARE(lit(), (QVector<int>{ 4, 6, 8 }));
    state.take(decodeLinkMessage(0x3A, "setproperty:5,6:name:a:b"));
    QCOMPARE(state.property(6, "name"), QByteArray("a:b"));
}

void ArkctlTest::linesStayLines_data()
{
    const Table<QByteArray, QString, QString> row("text", "line", "json");
    row("line end and escape", "a\n\x1B[2J", "a\\x0a\\x1b[2J", "\"text\":\"a\\n\\u001b[2J\"");
    row("text with its end", "data is 50 4F 57 52 20 31 0D 0A", "data is POWR 1\\r\\n", "50 4F 57");
    row("no text", "data is 50 02 0D", "data is 50 02 0D", "50 02 0D");
    row("only an end", "data is 0D", "data is 0D", "0D");
    row("no UTF-8", "a\xFF", QString(QStringLiteral("a") + QChar(0xFFFD)),
        QString(QStringLiteral("\"text\":\"a") + QChar(0xFFFD) + QLatin1Char('"')));
}

void ArkctlTest::linesStayLines()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, json);
    const QDateTime when(QDate(2024, 5, 1), QTime(12, 0, 0, 7));
    const std::string line = Rendering::monitorLine(Rendering::Form::Text, when, 4, QString::fromUtf8(text));
    QTEST(QString::fromStdString(line).mid(39), "line");
    QCOMPARE(QString::fromStdString(line).left(39), QStringLiteral("2024-05-01 12:00:00.007  error         "));
    const std::string object = Rendering::monitorLine(Rendering::Form::Json, when, 4, QString::fromUtf8(text));
    QVERIFY2(QString::fromStdString(object).contains(json), object.c_str());
}

void ArkctlTest::irTextBecomesAFile()
{
    const QByteArray text = "header \"A \\\"B\\\"\"\n255 \"On\" 00 FF\n0 \"\" [1 2 3 4 5 -6] 0A\n";
    const auto parsed =
        IrText::parse("# codes\r\n\r\n  header \"A \\\"B\\\"\"\r\n255  \"On\"00ff\r\n0 \"\"[1 2 3 4 5 -6] 0A");
    QVERIFY(std::holds_alternative<IrFile::Contents>(parsed));
    const QByteArray file = IrFile::written(std::get<IrFile::Contents>(parsed));
    const QByteArray expected =
        "00000004 00490052 00000001 0000000a 0041 0020 0022 0042 0022 ffffffff ffffffff ffffffff ffffffff 00000002"
        "00000004 004f006e 000000ff 00000000 00000000 00000000 00000000 00000000 00000000 00000002 00ff"
        "00000000          00000000 00000001 00000002 00000003 00000004 00000005 fffffffa 00000001 0a";
    QCOMPARE(file.toHex(), QByteArray::fromHex(expected).toHex());
    const auto pulses = IrText::parse("5 \"Off\" raw 38000 +900 -450 +56");
    QCOMPARE(std::get<IrFile::Contents>(pulses).records.at(0).code.toHex(), QByteArray("49525031"
                                                                                       "00009470"
                                                                                       "00000384"
                                                                                       "000001c2"
                                                                                       "00000038"));
    QCOMPARE(IrText::written(std::get<IrFile::Contents>(pulses)), QByteArray("5 \"Off\" raw 38000 900 450 56\n"));
    const auto read = IrFile::read(file);
    QVERIFY(read);
    QCOMPARE(IrText::written(*read), text);
    for (int length = 0; length < file.size(); ++length) {
        QVERIFY(!IrFile::read(file.left(length)));
    }
}

namespace {
QByteArray repeated(int count, const QByteArray &text)
{
    QByteArray whole;
    for (int time = 0; time < count; ++time) {
        whole += text;
    }
    return whole;
}

/// Bits as pulses of 563 us and spaces of that length, for a 1 three times that.
QByteArray distances(const QByteArray &bits)
{
    return QByteArray(bits).replace(' ', "").replace('1', " 563 1689").replace('0', " 563 563");
}
} // namespace

void ArkctlTest::irNotations_data()
{
    const Table<QByteArray, QByteArray> row("text", "raw");
    // 9 ms and 4.5 ms, 32 bits from the lowest (16 of the first code are 1: 54 ms), a pulse; again every 108 ms.
    row("nec 0x04FB", "raw 38000 9008 4504" + distances("00100000 11011111 11011111 00100000") +
                          " 563 39877 repeat 9008 2252 563 96177");
    row("necx 12340F", "raw 38000 9008 4504" + distances("01001000 00101100 11110000 00001111") +
                           " 563 43255 repeat 9008 2252 563 96177");
    // Start bits 1 1, toggle 0 or 1, address 00000, command 000001; a 1 is a space and a pulse of 889 us.
    row("rc5 0001", "raw 36000 889 889 1778 889" + repeated(9, " 889 889") + " 889 1778 889 89775 toggle" +
                        " 889 889 889 889 1778" + repeated(9, " 889 889") + " 1778 889 89775");
    row("rc5 0041", "raw 36000 1778" + repeated(11, " 889 889") + " 1778 889 89775 toggle 1778 1778 1778" +
                        repeated(9, " 889 889") + " 1778 889 89775"); // the second start bit 0
    // Leader, 1, mode 000, trailer 0 of twice the width, address 00, command 01; a 1 is a pulse and a space of 444 us.
    row("rc6 0001", "raw 36000 2664 888 444 888 444 444 444 444 444 888 888" + repeated(14, " 444 444") +
                        " 444 888 84356 toggle 2664 888 444 888 444 444 444 444 1332 1332" + repeated(14, " 444 444") +
                        " 888 84356");
    // Command 0010101 and device 00001 from the lowest bit: 1200 us for a 1. Three times, every 45 ms.
    const QByteArray sony = " 2400 600 1200 600 600 600 1200 600 600 600 1200 600 600 600 600 600 1200" +
                            repeated(3, " 600 600") + " 600 600 25800";
    row("sony12 10015", "raw 40000" + sony + sony + sony + " repeat" + sony);
    row("pronto 0000 006D 0001 0001 0156 00AB 0156 0055", "raw 38029 8993 4497 repeat 8993 2235");
    row("Pronto 0100 006D 0000 0001 0156 00AB", "raw 0 8993 4497");
    row("raw 38000 pulse 900, space 450, pulse 56 repeat", "raw 38000 900 450 56 repeat");
    row("raw 38000 900 repeat 50 toggle 800", "raw 38000 900 repeat 50 toggle 800");
    row("raw 38000 -900", "no duration of a pulse: -900");
    row("raw 38000 900 +450", "no duration of a space: +450");
    row("raw 38000 900 pulse 450", "no duration of a space: pulse");
    row("raw 900", "durations are 1 to 1000000 us");
    row("raw hz 900", "the carrier in Hz must follow raw");
    row("nec", "one hexadecimal number must follow nec, and nothing else");
    row("rc5 0001 toggle", "one hexadecimal number must follow rc5, and nothing else");
    row("raw 38000 900 toggle 800 toggle 700", "no duration of a space: toggle");
    row("sony12 20 10015", "one hexadecimal number must follow sony12, and nothing else");
    row("sony12 10115", "a sony12 code is a hexadecimal number DD00CC");
    row("pronto 5000 0000 0000 0000", "only learned codes can be read");
    row("pronto 0000 006D 0001 0000 0156",
        "there must be 2 numbers behind the first four, by what these say; there are 1");
    row("pronto 0000 6D", "not four hexadecimal digits: 6d");
}

void ArkctlTest::irNotations()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, raw);
    QVERIFY(IrNotation::isOne(QString::fromLatin1(text)));
    const auto parsed = IrNotation::parse(QString::fromLatin1(text));
    if (const auto *what = std::get_if<std::string>(&parsed)) {
        QCOMPARE(QByteArray::fromStdString(*what).left(raw.size()), raw);
    } else {
        QCOMPARE(IrNotation::written(std::get<IrCode>(parsed)).toLatin1(), raw);
    }
}

void ArkctlTest::irTextFaults_data()
{
    const Table<QByteArray, QByteArray> row("text", "fault");
    row("\n5 On 00", "2: not of the form NUMBER \"NAME\" BYTES");
    row("256 \"On\" 00", "1: the code number is not one from 0 to 255: 256");
    row("99999999999 \"On\" 00", "1: the code number is not one from 0 to 255: 99999999999");
    row("5 \"On\" [1 2] 00", "1: there must be six numbers in the brackets, or no brackets");
    row("5 \"On\" 0 0F", "1: the code is not a row of bytes with two hexadecimal digits each: 0 0F");
    row("5 \"On\"", "1: the code is not a row of bytes with two hexadecimal digits each: ");
    row("5 \"On\" rc5 2000",
        "1: a rc5 code is a hexadecimal number AACC with an address up to 1F and a command up to 7F");
    row("5 \"On\" 00\n5 \"Off\" 01", "2: code number 5 is there already");
    row("header \"\"\nheader \"\"\nheader \"\"\nheader \"\"\nheader \"\"\nheader \"\"",
        "6: there are more than five headers");
}

void ArkctlTest::irTextFaults()
{
    QFETCH(QByteArray, text);
    const auto parsed = IrText::parse(text);
    const auto *fault = std::get_if<IrText::Fault>(&parsed);
    QVERIFY(fault);
    QTEST(QByteArray::number(fault->line) + ": " + QByteArray::fromStdString(fault->what), "fault");
}

void ArkctlTest::portTests_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("text"); // of --send
    QTest::addColumn<QByteArray>("plan");
    const auto row = [](const char *words, const char *text, const QByteArray &plan) {
        QTest::newRow((QByteArray(words) + ' ' + text).constData())
            << QString::fromLatin1(words) << QByteArray(text) << plan;
    };
    row("tcp-client 10.0.0.9 23", R"(POWR\x3f\r\n\t\\)", "5 10.0.0.9 23 POWR?\r\n\t\\");
    row("udp-server 65535", nullptr, "8  65535");
    row("tcp-client 23", nullptr, "tcp-client needs HOST and PORT");
    row("tcp-server host 23", nullptr, "tcp-server needs PORT, and nothing else");
    row("tcp-server 65536", nullptr, "not a port from 1 to 65535: 65536");
    row("udp-client host 0", nullptr, "not a port from 1 to 65535: 0");
    row("udp-server 5", "x", "a udp-server only hears; --send needs one of the others");
    row("tcp-server 5", R"(\x1)", R"(an escape that is none of \r \n \t \\ \xHH in: \x1)");
    row("tcp-server 5", R"(\)", R"(an escape that is none of \r \n \t \\ \xHH in: \)");
    row("tcp", nullptr, "unknown port test: tcp (there are tcp-client, tcp-server, udp-client and udp-server)");
}

void ArkctlTest::portTests()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, text);
    std::vector<std::string> list;
    const QStringList parts = words.split(QLatin1Char(' '));
    for (const QString &word : parts) {
        list.push_back(word.toStdString());
    }
    const auto parsed =
        parsePortTest(list, text.isNull() ? std::vector<std::string>{} : std::vector{ text.toStdString() });
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        QTEST(QByteArray::fromStdString(*fault), "plan");
        return;
    }
    const PortTestPlan &plan = std::get<PortTestPlan>(parsed);
    QByteArray shown = QByteArray::number(static_cast<int>(plan.start.kind)) + ' ' + plan.start.host.toLatin1() + ' ' +
                       QByteArray::number(plan.start.port);
    for (const QByteArray &each : plan.texts) {
        shown += ' ' + each;
    }
    QTEST(shown, "plan");
}

void ArkctlTest::listenLists_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("list"); // of 10.0.0.1 10.0.0.2 after it
    QTest::addColumn<QString>("missing");
    const auto row = [](const char *change, const char *list, const char *missing = "") {
        QTest::newRow(change) << QString::fromLatin1(change) << QString::fromLatin1(list)
                              << QString::fromLatin1(missing);
    };
    row("add 10.0.0.3 10.0.0.3", "10.0.0.1 10.0.0.2 10.0.0.3");
    row("add 10.0.0.1", "10.0.0.1 10.0.0.2");
    row("remove 10.0.0.1", "10.0.0.2");
    row("remove 10.0.0.1 10.0.0.2", "");
    row("remove 10.0.0.9 10.0.0.2", "10.0.0.1", "10.0.0.9");
}

void ArkctlTest::listenLists()
{
    QFETCH(QString, change);
    QStringList words = change.split(QLatin1Char(' '));
    using Kind = ListChange::Kind;
    const Kind kind = words.takeFirst() == QLatin1String("add") ? Kind::Add : Kind::Remove;
    QStringList missing;
    const QStringList list{ QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.2") };
    QTEST(changedList(list, { kind, words }, missing).join(QLatin1Char(' ')), "list");
    QTEST(missing.join(QLatin1Char(' ')), "missing");
}

void ArkctlTest::detectedDevices()
{
    const QByteArray json = R"([{"kind":"serial","device":"/dev/serial/by-id/usb-x","file":"/dev/ttyUSB0",
        "driver":"ftdi_sio","product":"USB \u001b[31m","set":"serial2 device=/dev/serial/by-id/usb-x"},
        {"kind":"serial","device":"/dev/ttyS0","driver":"serial","usedBy":"the system's console"},
        {"kind":"infrared","device":"/dev/lirc0","sends":false,"receives":true},
        {"kind":"gpio","device":"pinctrl:17","chip":"gpiochip0","line":"GPIO17","usedBy":"arkivon","port":"relay1"},
        {"kind":"gpio","device":"/dev/gpiochip1","problem":"Permission denied"}, {"kind":"more","count":7}])";
    const char *const lines[] = {
        "kind      device                          what it is                      its port, or how to give it one",
        "serial    /dev/serial/by-id/usb-x         /dev/ttyUSB0, ftdi_sio, USB \\x1b[31m arkctl ports set serial2 "
        "device=/dev/serial/by-id/usb-x",
        "serial    /dev/ttyS0                      serial                          in use by the system's console",
        "infrared  /dev/lirc0                      receives                        arkctl ir learn --device /dev/lirc0",
        "gpio      pinctrl:17                      GPIO17                          relay1",
        "gpio      /dev/gpiochip1                                                  Permission denied",
        "7 more are left out",
    };
    const auto shown = Rendering::detectedDevices(Rendering::Form::Text, json);
    QVERIFY(shown);
    QCOMPARE(*shown, std::vector<std::string>(std::begin(lines), std::end(lines)));
    QVERIFY(!Rendering::detectedDevices(Rendering::Form::Text, "{}"));
    QVERIFY(!Rendering::detectedDevices(Rendering::Form::Json, "[1"));
}

void ArkctlTest::linkStates()
{
    const QByteArray two = QByteArray::fromHex("00000002 00000006 0031002e0032 00000002 00000002 0033 00000000");
    const auto states = Rendering::linkStates(two);
    QVERIFY(states && states->size() == 2);
    QCOMPARE(QString::fromStdString(Rendering::linkState(Rendering::Form::Text, states->at(0))),
             QStringLiteral("1.2              linked"));
    QCOMPARE(QString::fromStdString(Rendering::linkState(Rendering::Form::Json, states->at(1))),
             QStringLiteral("{\"address\":\"3\",\"status\":0,\"state\":\"unconnected\"}"));
    for (int size = 0; size < two.size(); ++size) {
        QVERIFY(!Rendering::linkStates(two.left(size)));
    }
    QVERIFY(!Rendering::linkStates(two + 'x'));
    QVERIFY(!Rendering::linkStates(QByteArray::fromHex("7fffffff"))); // a count that is not there
    QVERIFY(!Rendering::linkStates(QByteArray::fromHex("ffffffff")));
}

void ArkctlTest::times_data()
{
    // moment: at 14:05:30 on the 23rd
    const Table<QString, QString> row("text", "moment");
    row("90s", "2026-11-23 14:04:00");
    row("1h30m", "2026-11-23 12:35:30");
    row("2d", "2026-11-21 14:05:30");
    row("0s", "2026-11-23 14:05:30");
    row("14:05", "2026-11-23 14:05:00");
    row("14:05:30", "2026-11-23 14:05:30");
    row("14:06", "2026-11-22 14:06:00"); // yesterday
    row("7:00", "2026-11-23 07:00:00");
    row("2026-11-22 08:30", "2026-11-22 08:30:00");
    row("2026-11-22T08:30:15", "2026-11-22 08:30:15");
    row("2026-11-22", "2026-11-22 00:00:00");
    row("2026-11-24 08:30", "a time that is still to come: 2026-11-24 08:30");
    for (const char *text : { "", "10", "m", "10x", "-5m", "25:00", "14:5x", "2026-02-30 08:00", "yesterday" }) {
        row(text, (QByteArray("not a time such as 90s, 10m, 2h, 14:05 or \"2026-11-23 14:05\": ") + text).constData());
    }
}

void ArkctlTest::times()
{
    QFETCH(QString, text);
    const QDateTime now(QDate(2026, 11, 23), QTime(14, 5, 30));
    const auto age = parseSince(text.toStdString(), now);
    const auto *fault = std::get_if<std::string>(&age);
    const QString shown = fault ? QString::fromStdString(*fault)
                                : now.addMSecs(-std::get<qint64>(age)).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QTEST(shown, "moment");
}

void ArkctlTest::filters_data()
{
    QTest::addColumn<QStringList>("words"); // types, other types, text, regex
    QTest::addColumn<QString>("shown");     // of: 4 Projector lost, 5 projector slow, 10 On relay: 3
    const auto row = [](const char *types, const char *others, const char *text, const char *regex, const char *shown) {
        QTest::addRow("%s/%s/%s/%s", types, others, text, regex)
            << QStringList{ QString::fromLatin1(types), QString::fromLatin1(others), QString::fromLatin1(text),
                            QString::fromLatin1(regex) }
            << QString::fromLatin1(shown);
    };
    row("", "", "", "", "4 5 10");
    row("error,on", "", "", "", "4 10");
    row("", "error,on", "", "", "5");
    row("error", "error", "", "", "");
    row("", "", "PROJECTOR", "", "4 5");
    row("", "", ".*", "", "");
    row("", "", "", "^P", "4");
    row("", "", "", "relay: [3-5]$", "10");
    row("warning", "", "projector", "slow", "5");
    row("", "", "", "(a", "not a regular expression: (a (at character 3: missing closing parenthesis)");
    row("nonsense", "", "", "",
        "no type of monitor lines: nonsense (there are remote-io, system, connection, online, error, warning, "
        "port-traffic, command, level, pulse, on, off, to, received)");
}

void ArkctlTest::filters()
{
    QFETCH(QStringList, words);
    MonitorFilterWords asked{ {}, {}, words.at(2).toStdString(), words.at(3).toStdString() };
    for (const QString &name : words.at(0).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        asked.types.push_back(name.toStdString());
    }
    for (const QString &name : words.at(1).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        asked.otherTypes.push_back(name.toStdString());
    }
    const auto filter = parseMonitorFilter(asked);
    if (const auto *fault = std::get_if<std::string>(&filter)) {
        QTEST(QString::fromStdString(*fault), "shown");
        return;
    }
    QStringList shown;
    const std::pair<int, const char *> lines[] = { { 4, "Projector lost" },
                                                   { 5, "projector slow" },
                                                   { 10, "On relay: 3" } };
    for (const auto &[type, text] : lines) {
        if (std::get<MonitorFilter>(filter).shows(type, QString::fromLatin1(text))) {
            shown << QString::number(type);
        }
    }
    QTEST(shown.join(QLatin1Char(' ')), "shown");
}

void ArkctlTest::pastRepliesAreReadWhole()
{
    const QByteArray lines = "monitorhistory:l" + QByteArray::fromHex("000000000000007b 0a 00000002 c3a4"
                                                                      "000000000000007c 04 00000000");
    const auto reply = MonitorPast::parse(lines);
    QVERIFY(reply && std::holds_alternative<MonitorPast::Lines>(*reply));
    const auto &read = std::get<MonitorPast::Lines>(*reply);
    QCOMPARE(read.size(), size_t(2));
    QCOMPARE(read.at(0).wallMs, qint64(123));
    QCOMPARE(read.at(0).text, QString(QChar(0xE4)));
    QCOMPARE(MonitorPast::encode(read), lines);
    for (int size = 0; size < lines.size(); ++size) {
        const auto cut = MonitorPast::parse(lines.left(size));
        QVERIFY(!cut || std::get<MonitorPast::Lines>(*cut).size() < 2);
    }
    for (const char *text : { "monitorhistory:x", "monitorhistory:nx", "monitorhistory:s1234567", "datetime:" }) {
        QVERIFY2(!MonitorPast::parse(text), text);
    }
}

TEST_CLASS(ArkctlTest)
#include "ArkctlTest.moc"
