#include "SimulatedDevices.h"
#include "devices/ConfiguredPorts.h"
#include "devices/linux/GpioChips.h"
#include "devices/linux/GpioLine.h"
#include "devices/linux/InfraredEmitter.h"
#include "devices/linux/InfraredReceiver.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "tools/arkctl/IrNotation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

/// GPIO lines and infrared against the kernel: its simulated chips, its infrared loopback and decoders. In the lab
/// only.
class LabTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void findsLines_data();
    void findsLines();
    void switchesOutputs_data();
    void switchesOutputs();
    void hearsInputs_data();
    void hearsInputs();
    void portsKnowTheirDevices();
    void chipGoesAndComesBack();
    void learnsWhatItSends_data();
    void learnsWhatItSends();
    void kernelUnderstands_data();
    void kernelUnderstands();
    void refusesCodes();
};

namespace {
QList<bool> changes(const QSignalSpy &spy)
{
    QList<bool> found;
    for (const QVariantList &each : spy) {
        found << each.first().toBool();
    }
    return found;
}

IrCode code(const QByteArray &notation)
{
    return std::get<IrCode>(IrNotation::parse(QString::fromLatin1(notation)));
}
} // namespace

void LabTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("LAB_GUEST"), "run it with tests/lab/lab.sh");
    qRegisterMetaType<IrCode>();
}

void LabTest::findsLines_data()
{
    const Table<QString, QString> row("line", "answer");
    row("relays:7", "7");
    row("gpiochip0:7", "7");
    row("relays two", "2"); // the line's own name
    row("relays:8", "relays has the lines 0 to 7 only, not 8");
    row("lamps:0", "There is no GPIO line lamps:0. The chips are: gpiochip0 \"relays\"");
    row("relays:-1", "There is no GPIO line relays:-1. The chips are: gpiochip0 \"relays\"");
    row("relays", "There is no GPIO line relays. The chips are: gpiochip0 \"relays\"");
    row("", "There is no GPIO line . The chips are: gpiochip0 \"relays\"");
}

void LabTest::findsLines()
{
    SimulatedChip chip(QStringLiteral("relays"));
    QVERIFY(chip.plug());
    QFETCH(QString, line);
    const auto found = GpioChips::find(line);
    const auto *place = std::get_if<GpioChips::Place>(&found);
    QTEST(place ? QString::number(place->offset) : std::get<QString>(found), "answer");
}

void LabTest::switchesOutputs_data()
{
    const Table<bool, QByteArray, QByteArray> row("isActiveLow", "off", "on");
    row("active high", false, "0", "1");
    row("active low", true, "1", "0");
}

void LabTest::switchesOutputs()
{
    QFETCH(bool, isActiveLow);
    QFETCH(QByteArray, off);
    QFETCH(QByteArray, on);
    SimulatedChip chip(QStringLiteral("relays"));
    QVERIFY(chip.plug() && chip.pull(1, "up")); // what the line has before and after
    {
        const GpioLine::Setting setting{ QStringLiteral("relays:1"), GpioLine::Direction::Output, isActiveLow };
        GpioLine line(setting);
        QCOMPARE(line.open(), std::nullopt);
        QCOMPARE(chip.value(1), off);
        QVERIFY(line.set(true));
        QCOMPARE(chip.value(1), on);
        GpioLine second(setting);
        QCOMPARE(second.open(), std::optional(QStringLiteral("gpiochip0:1 is in use by \"arkivon\"")));
        QCOMPARE(chip.value(1), on);
    }
    QCOMPARE(chip.value(1), QByteArray("1"));
}

void LabTest::hearsInputs_data()
{
    const Table<QString, bool, QByteArray, QString> row("chip", "isActiveLow", "whenOn", "whenOff");
    row("edges", "contacts", false, "up", "down");
    row("active low", "contacts", true, "down", "up");
    row("asked", "mute", false, "up", "down");
}

void LabTest::hearsInputs()
{
    QFETCH(QString, chip);
    QFETCH(bool, isActiveLow);
    QFETCH(QByteArray, whenOn);
    QFETCH(QString, whenOff);
    const QByteArray off = whenOff.toLatin1();
    SimulatedChip simulated(chip);
    QVERIFY(simulated.plug() && simulated.pull(3, off));
    const GpioLine::Setting plain{ chip + QStringLiteral(":3"), GpioLine::Direction::Input, isActiveLow };
    {
        GpioLine line(plain);
        QSignalSpy changed(&line, &GpioLine::changed);
        QCOMPARE(line.open(), std::nullopt);
        QCOMPARE(line.isPolled(), chip == QLatin1String("mute"));
        for (int count = 1; count <= 4; ++count) {
            QVERIFY(simulated.pull(3, count % 2 == 1 ? whenOn : off));
            QTRY_COMPARE(changed.count(), count);
        }
        QCOMPARE(changes(changed), QList<bool>({ true, false, true, false }));
    }
    GpioLine::Setting setting = plain;
    setting.debounceMs = 300;
    GpioLine line(setting);
    QSignalSpy changed(&line, &GpioLine::changed);
    QCOMPARE(line.open(), std::nullopt);
    for (const QByteArray &bounce : { whenOn, off, whenOn, off, whenOn }) {
        QVERIFY(simulated.pull(3, bounce));
    }
    QTRY_COMPARE(changes(changed), QList<bool>({ true }));
    QVERIFY(simulated.pull(3, off));
    QTRY_COMPARE(changes(changed), QList<bool>({ true, false }));
}

void LabTest::portsKnowTheirDevices()
{
    SimulatedChip chip(QStringLiteral("relays"));
    QVERIFY(chip.plug() && chip.pull(3, "up"));
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("ports.ini"));
    QVERIFY(writeTo(file, "[io1]\nline=relays:3\n[relay1]\nline=relays two\n"));
    ConfiguredPorts ports(file, QString());
    ports.open();
    QCOMPARE(ports.ioState(1), std::optional(true)); // before the event that tells it
    QStringList found;
    for (const QJsonValue &each : QJsonDocument::fromJson(ports.detected()).array()) {
        if (each[QLatin1String("kind")] != QLatin1String("serial")) {
            const char *const keys[] = { "device", "line", "usedBy", "port", "set" };
            for (const char *key : keys) {
                found << each[QLatin1String(key)].toString();
            }
        }
    }
    found.removeAll(QString());
    QCOMPARE(found.mid(0, 15).join(QLatin1Char(' ')),
             QStringLiteral("/dev/lirc0 ir1 device=/dev/lirc0 relays:0 io2 line=relays:0 relays:1 io2 line=relays:1 "
                            "relays:2 relays two arkivon relay1 relays:3 arkivon io1 relays:4 io2 line=relays:4"));
}

void LabTest::chipGoesAndComesBack()
{
    // The simulated interrupts of a chip that is unplugged with open edges spoil the kernel's memory: a mute one.
    SimulatedChip chip(QStringLiteral("mute-adapter"));
    QVERIFY(chip.plug());
    GpioLine relay({ QStringLiteral("mute-adapter:0"), GpioLine::Direction::Output });
    GpioLine contact({ QStringLiteral("mute-adapter two"), GpioLine::Direction::Input, true, GpioLine::Bias::PullUp });
    GpioLine asked({ QStringLiteral("mute-adapter:4"), GpioLine::Direction::Input });
    QSignalSpy lost(&relay, &GpioLine::lost);
    QSignalSpy failed(&relay, &GpioLine::failed);
    QSignalSpy opened(&relay, &GpioLine::opened);
    QSignalSpy contactLost(&contact, &GpioLine::lost);
    QSignalSpy changed(&contact, &GpioLine::changed);
    QVERIFY(!relay.open() && !contact.open() && !asked.open());
    QVERIFY(relay.set(true) && chip.pull(2, "down"));
    QTRY_COMPARE(changes(changed), QList<bool>({ true }));
    QVERIFY(chip.unplug());
    QTRY_VERIFY(!lost.isEmpty() && !contactLost.isEmpty());
    QVERIFY(!relay.isOpen() && !relay.set(false) && !relay.set(true));
    QVERIFY(chip.plug());
    QTRY_VERIFY(relay.isOpen() && contact.isOpen() && asked.isOpen());
    QCOMPARE(opened.count(), 1);
    QCOMPARE(lost.count(), 1);
    QCOMPARE(failed.count(), 0);                              // that it has gone has been told
    QCOMPARE(chip.value(0), QByteArray("1"));                 // what the program wants
    QCOMPARE(changes(changed), QList<bool>({ true, false })); // the bias pulls it up again
}

void LabTest::learnsWhatItSends_data()
{
    const Table<QByteArray, QByteArray> row("notation", "learned");
    const QByteArray nec = "9000 4500 560 560 560 1690 560";
    row("its own repeat", "raw 38000 " + nec + " 40000 repeat 9000 2250 560 96000", "9000 2250 560");
    row("the same again", "raw 38000 " + nec + " 40000", nec);
}

void LabTest::learnsWhatItSends()
{
    QFETCH(QByteArray, notation);
    QFETCH(QByteArray, learned);
    InfraredEmitter emitter(kLirc);
    InfraredReceiver receiver(kLirc);
    QCOMPARE(emitter.open(), std::nullopt);
    QCOMPARE(receiver.open(), std::nullopt);
    QSignalSpy heard(&receiver, &InfraredReceiver::learned);
    const Descriptor raw = lirc(LIRC_MODE_MODE2);
    ssize_t samples = 0;
    std::array<quint32, 64> buffer{};
    const auto samplesSoFar = [&] {
        samples += qMax<ssize_t>(read(raw.get(), buffer.data(), sizeof buffer), 0) / 4;
        return samples;
    };
    QVERIFY(emitter.play(code(notation), InfraredEmitter::Press::Held));
    QTRY_VERIFY(samplesSoFar() > 16); // once, and what is repeated more than once
    emitter.release();
    QTRY_COMPARE(heard.count(), 1);
    const IrCode answer = heard.first().first().value<IrCode>();
    QCOMPARE(IrCode::bursts(answer.once).front().pulses, IrCode::bursts(code(notation).once).front().pulses);
    QCOMPARE(IrCode::bursts(answer.repeat).front().pulses, code("raw 38000 " + learned).once);
}

void LabTest::kernelUnderstands_data()
{
    const Table<QByteArray, int, quint32, bool> row("notation", "protocol", "scancode", "toggles");
    row("nec 04FB", RC_PROTO_NEC, 0x04fb, false);
    row("necx 12340F", RC_PROTO_NECX, 0x12340f, false);
    row("rc5 1E01", RC_PROTO_RC5, 0x1e01, true);
    row("rc5 0A7F", RC_PROTO_RC5, 0x0a7f, true);
    row("rc6 040C", RC_PROTO_RC6_0, 0x040c, true);
    row("rc6 FF01", RC_PROTO_RC6_0, 0xff01, true);
    row("rc6-mce 800F040C", RC_PROTO_RC6_MCE, 0x800f040c, true);
    row("rc6-mce 800F0A01", RC_PROTO_RC6_MCE, 0x800f0a01, true);
    row("sony12 10015", RC_PROTO_SONY12, 0x10015, false);
    row("sony15 A4002E", RC_PROTO_SONY15, 0xa4002e, false);
    row("sony20 1AE95D", RC_PROTO_SONY20, 0x1ae95d, false);
}

/// A table of protocols on paper says what a decoder says that others have written.
void LabTest::kernelUnderstands()
{
    QFETCH(QByteArray, notation);
    QVERIFY(writeTo(QStringLiteral("/sys/class/rc/rc0/protocols"), "+nec +rc-5 +rc-6 +sony"));
    const Descriptor receiver = lirc(LIRC_MODE_SCANCODE);
    InfraredEmitter emitter(kLirc);
    QCOMPARE(emitter.open(), std::nullopt);
    QFETCH(bool, toggles);
    for (const bool isSecond : { false, true }) {
        QVERIFY(emitter.play(code(notation), InfraredEmitter::Press::Short));
        lirc_scancode decoded{};
        QTRY_VERIFY(decoded.scancode != 0 || read(receiver.get(), &decoded, sizeof decoded) == sizeof decoded);
        QTEST(static_cast<int>(decoded.rc_proto), "protocol");
        QTEST(static_cast<quint32>(decoded.scancode), "scancode");
        QCOMPARE((decoded.flags & LIRC_SCANCODE_FLAG_TOGGLE) != 0, toggles && isSecond);
    }
}

void LabTest::refusesCodes()
{
    InfraredEmitter emitter(kLirc);
    QSignalSpy refused(&emitter, &InfraredEmitter::refused);
    QCOMPARE(emitter.open(), std::nullopt);
    const IrCode tooLong{ 38000, IrCode::Durations(2001, 100), {}, {} }; // parse() would not have let it pass
    QVERIFY(emitter.play(tooLong, InfraredEmitter::Press::Held));
    QTRY_COMPARE(refused.count(), 1);
    const IrCode sound = code("raw 38000 100000 10000 100000");
    size_t taken = 0;
    while (taken <= InfraredEmitter::kMostWaiting && emitter.play(sound, InfraredEmitter::Press::Held)) {
        ++taken;
    }
    QCOMPARE(taken, InfraredEmitter::kMostWaiting); // and no more: the sender is never waited for
    InfraredEmitter nothing(QStringLiteral("/dev/null"));
    QCOMPARE(nothing.open(), std::optional(QStringLiteral("/dev/null is no infrared device, such as /dev/lirc0 is")));
    QVERIFY(!nothing.play(sound, InfraredEmitter::Press::Short));
}

TEST_CLASS(LabTest)
#include "LabTest.moc"
