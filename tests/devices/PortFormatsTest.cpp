#include "devices/IrCode.h"
#include "devices/IrFile.h"
#include "devices/PortFrames.h"
#include "devices/RemoteText.h"
#include "devices/SerialSetup.h"
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
    void remoteText();
    void irFiles_data();
    void irFiles();
    void irCodes_data();
    void irCodes();
    void learnedCodes_data();
    void learnedCodes();
};

namespace {
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
    return code ? QByteArray::number(code->carrierHz) + ": " + shown(code->once) + " / " + shown(code->repeat) : "none";
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
    row("two marks", irData("38000 900 0 900 0"), "none");
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
