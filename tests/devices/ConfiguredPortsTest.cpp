#include "devices/ConfiguredPorts.h"
#include "MonitorLines.h"
#include "base/Clock.h"
#include "support/Files.h"
#include "support/SerialPeer.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>

#include <sys/file.h>

/// Ports with pseudo-terminals behind them, as ports.ini says.
class ConfiguredPortsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void everyByteBothWays();
    void aFloodArrivesWhole();
    void comesAndGoes();
    void whatCannotBeOpened_data();
    void whatCannotBeOpened();
    void lineInUse();
    void changes();
    void simulatedInput_data();
    void simulatedInput();
    void board();

private:
    void open(const QByteArray &file);
    QJsonObject port(const QString &name) const;
    bool isOpen(const char *name) const { return port(QLatin1String(name))[QLatin1String("open")].toBool(); }
    bool hasLine(const QString &text);

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<MonitorLines> m_monitor;
    std::unique_ptr<SerialPeer> m_peer;
    std::unique_ptr<ConfiguredPorts> m_ports;
    QByteArray m_received;
    QString m_seen; // what else the ports told
    QStringList m_lines;
};

void ConfiguredPortsTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_monitor = std::make_unique<MonitorLines>();
    m_peer = std::make_unique<SerialPeer>();
    m_ports = std::make_unique<ConfiguredPorts>(m_directory->filePath(QStringLiteral("ports.ini")), QString());
    m_received.clear();
    m_seen.clear();
    m_lines.clear();
    connect(m_ports.get(), &PortHardware::serialReceived, this,
            [this](int, const QByteArray &data) { m_received += data; });
    connect(m_ports.get(), &PortHardware::portOnline, this, [this](int port, bool isOnline) {
        m_seen += QStringLiteral("%1%2 ").arg(port).arg(QLatin1Char(isOnline ? '+' : '-'));
    });
    connect(m_ports.get(), &PortHardware::irLearned, this, [this](int number, const QByteArray &code) {
        m_seen += QStringLiteral("ir%1 %2 ").arg(number).arg(QString::fromLatin1(code.toHex()));
    });
    connect(m_ports.get(), &PortHardware::ioChanged, this, [this](int number, bool isOn) {
        m_seen += QStringLiteral("io%1%2 ").arg(number).arg(QLatin1Char(isOn ? '+' : '-'));
    });
}

void ConfiguredPortsTest::cleanup()
{
    m_ports.reset();
    m_peer.reset();
    m_monitor.reset();
    m_directory.reset();
}

void ConfiguredPortsTest::open(const QByteArray &file)
{
    QVERIFY(writeFile(m_directory->filePath(QStringLiteral("ports.ini")), file));
    m_ports->open();
}

QJsonObject ConfiguredPortsTest::port(const QString &name) const
{
    for (const QJsonValue &each : QJsonDocument::fromJson(m_ports->described()).array()) {
        if (each[QLatin1String("port")].toString() == name) {
            return each.toObject();
        }
    }
    return {};
}

bool ConfiguredPortsTest::hasLine(const QString &text)
{
    m_lines += m_monitor->take();
    return std::any_of(m_lines.begin(), m_lines.end(), [&text](const QString &line) { return line.contains(text); });
}

void ConfiguredPortsTest::everyByteBothWays()
{
    open("[serial2]\ndevice=" + m_peer->deviceFile().toUtf8());
    m_ports->setUpSerial(2, { SerialSetup::Protocol::Rs232, 31250, SerialSetup::Parity::None, 2 }); // no usual rate
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    m_ports->sendSerial(2, all);
    QByteArray sent;
    QTRY_COMPARE((sent += m_peer->receive()).toHex(), all.toHex());
    m_peer->send(all);
    QTRY_COMPARE(m_received.toHex(), all.toHex());
    const QByteArray shown = QByteArray(R"({"port":"serial2","kind":"linux","device":")") +
                             m_peer->deviceFile().toUtf8() +
                             R"(","open":true,"lastError":"","settings":"31250,n,8,2","bytesIn":256,"bytesOut":256})";
    QTRY_COMPARE(port(QStringLiteral("serial2")), QJsonDocument::fromJson(shown).object());
    m_ports->setUpSerial(2, { SerialSetup::Protocol::Rs485, 0, SerialSetup::Parity::None, 1 });
    QTRY_VERIFY(hasLine(QStringLiteral("the device does not take 0 baud")));
    QTRY_VERIFY(hasLine(QStringLiteral("its driver does not switch RS-485")));
    m_peer->send("on");
    QTRY_VERIFY(m_received.endsWith("on"));
    QCOMPARE(m_seen, QString()); // it was online from the start
}

void ConfiguredPortsTest::aFloodArrivesWhole()
{
    open("[serial1]\ndevice=" + m_peer->deviceFile().toUtf8());
    QByteArray flood;
    for (int number = 0; flood.size() < 2'000'000; ++number) {
        flood += QByteArray::number(number);
    }
    // Behind the kernel and the line's own buffer the sender is held up as long as nobody here looks.
    int held = 0;
    while (const int count = m_peer->sendSome(flood.mid(held))) {
        held += count;
    }
    m_peer->send(flood.mid(held));
    QTRY_COMPARE_WITH_TIMEOUT(m_received.size(), flood.size(), 20000);
    QVERIFY(m_received == flood);
}

void ConfiguredPortsTest::comesAndGoes()
{
    Clock clock(Clock::Drive::ByHand);
    const QString link = m_directory->filePath(QStringLiteral("adapter"));
    QVERIFY(QFile::link(m_peer->deviceFile(), link));
    open("[serial1]\ndevice=" + link.toUtf8());
    QTRY_VERIFY(isOpen("serial1"));
    m_ports->sendSerial(1, QByteArray(64 * 1024, 'x')); // nobody reads it: it goes with the line
    m_peer->hangUp();
    QTRY_VERIFY(hasLine(QStringLiteral("bytes were not sent")));
    clock.advance(10000);
    QTRY_COMPARE(m_seen, QStringLiteral("1- "));
    m_ports->sendSerial(1, "lost");
    QTRY_VERIFY(hasLine(QStringLiteral("it is not open: 4 bytes were not sent")));
    m_lines.clear();
    for (int more = 0; more < 3; ++more) {
        m_ports->sendSerial(1, "lost");
    }
    QVERIFY(port(QStringLiteral("serial1"))[QLatin1String("bytesOut")].toInt() < 64 * 1024); // only what it took
    SerialPeer back;
    QVERIFY(QFile::remove(link));
    QVERIFY(QFile::link(back.deviceFile(), link));
    QTRY_COMPARE(m_seen, QStringLiteral("1- 1+ "));
    QVERIFY(hasLine(QStringLiteral("is open again; before that 3 more were refused")));
    QCOMPARE(m_lines.filter(QStringLiteral("not sent")), QStringList()); // a line each 10 s
    m_ports->sendSerial(1, "sent");
    QByteArray sent;
    QTRY_COMPARE(sent += back.receive(), QByteArray("sent"));
}

void ConfiguredPortsTest::whatCannotBeOpened_data()
{
    const Table<QString, QString> row("device", "reason");
    row("missing", "/nowhere/at/all", "No such file or directory");
    row("folder", "/tmp", "it is a folder, not a device");
    row("file", "/proc/self/cmdline", "it is a file, not a device");
    row("no serial line", "/dev/null", "it cannot be opened: Inappropriate ioctl for device");
}

void ConfiguredPortsTest::whatCannotBeOpened()
{
    QFETCH(QString, device);
    QFETCH(QString, reason);
    open("[serial1]\ndevice=" + device.toUtf8());
    QTRY_VERIFY(hasLine(reason));
    QTRY_COMPARE(m_seen, QStringLiteral("1- "));
    QCOMPARE(m_lines.filter(QStringLiteral("serial1")).size(), 1);
}

void ConfiguredPortsTest::lineInUse()
{
    const Descriptor other(::open(qPrintable(m_peer->deviceFile()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    QCOMPARE(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    open("[serial1]\ndevice=" + m_peer->deviceFile().toUtf8());
    QTRY_VERIFY(hasLine(QStringLiteral("(%1)").arg(QCoreApplication::applicationPid())));
    ::flock(other.get(), LOCK_UN);
    QTRY_VERIFY(isOpen("serial1"));
}

void ConfiguredPortsTest::changes()
{
    open("# ours\n[serial1]\ndevice=/nowhere\n");
    m_ports->setUpSerial(1, { SerialSetup::Protocol::Rs232, 9600, SerialSetup::Parity::None, 1 });
    QTRY_COMPARE(m_seen, QStringLiteral("1- "));
    const QString device = QStringLiteral("device=") + m_peer->deviceFile();
    QCOMPARE(m_ports->set(QStringLiteral("serial1"), { device }).value_or(QString()), QString());
    QTRY_COMPARE(m_seen, QStringLiteral("1- 1+ "));
    QCOMPARE(contentOf(m_directory->filePath(QStringLiteral("ports.ini"))),
             "# ours\n[serial1]\n" + device.toUtf8() + '\n');
    QVERIFY(
        m_ports->set(QStringLiteral("serial2"), { device })->contains(QStringLiteral("is behind [serial1] already")));
    QCOMPARE(m_ports->set(QStringLiteral("serial2"), { QStringLiteral("device=/other") }), std::nullopt);
    const auto taken = m_ports->set(QStringLiteral("serial1"), { QStringLiteral("device=/other") });
    QVERIFY(taken && taken->contains(QStringLiteral("is behind [serial1] already")));
    QCOMPARE(m_ports->set(QStringLiteral("serial2"), {}), std::nullopt);
    QVERIFY(m_ports->set(QStringLiteral("serial0"), { device })->contains(QStringLiteral("serial0")));
    const QByteArray before = contentOf(m_directory->filePath(QStringLiteral("ports.ini")));
    for (const char *line : { "[relay1]", "[relay1] x=1", "#device=a", "=a", "device", "", "device=a\rb", "speed=1" }) {
        QVERIFY2(m_ports->set(QStringLiteral("serial2"), { QLatin1String(line) }), line);
    }
    QVERIFY(m_ports->set(QStringLiteral("serial2"), { QStringLiteral("device=") + QString(1001, QLatin1Char('a')) }));
    QCOMPARE(contentOf(m_directory->filePath(QStringLiteral("ports.ini"))), before);
    QCOMPARE(m_ports->set(QStringLiteral("serial1"), {}).value_or(QString()), QString());
    QCOMPARE(port(QStringLiteral("serial1"))[QLatin1String("kind")].toString(), QStringLiteral("simulated"));
}

void ConfiguredPortsTest::simulatedInput_data()
{
    const Table<QString, QByteArray, QString> row("port", "input", "result"); // what came of it, or the problem
    row("serial", "serial8", QByteArray("a\0b", 3), "610062");
    row("contact", "io8", "on", "io8+ ");
    row("contact opens", "io1", "off", "io1- ");
    row("neither", "io1", "maybe", "a contact is on or off");
    row("no input", "relay1", "on", "input comes at serial1 to serial8, io1 to io8 and ir1 to ir4 only");
    row("no port", "x", "on", "input comes at serial1 to serial8, io1 to io8 and ir1 to ir4 only");
    row("learned", "ir2", QByteArray::fromHex("49525031 00009470 00000064"), "ir2 495250310000947000000064 ");
    row("no code", "ir2", "IRP1", "it is no code; arkctl ir build makes such codes");
    row("a real one", "serial1", "a", "serial1 is not simulated: it is /nowhere");
}

void ConfiguredPortsTest::simulatedInput()
{
    QFETCH(QString, port);
    QFETCH(QByteArray, input);
    QFETCH(QString, result);
    open("[serial1]\ndevice=/nowhere");
    const QString problem = m_ports->simulate(port, input).value_or(QString());
    QCOMPARE(QString::fromLatin1(m_received.toHex()) + m_seen + problem, result);
}

void ConfiguredPortsTest::board()
{
    const QString link = m_directory->filePath(QStringLiteral("board"));
    QVERIFY(QFile::link(m_peer->deviceFile(), link));
    open("[io6]\nline=chip:1\n[portLink]\ndevice=" + link.toUtf8());
    m_ports->switchRelay(3, true);
    m_ports->setUpSerial(1, { SerialSetup::Protocol::Rs232, 9600, SerialSetup::Parity::None, 1 });
    m_ports->sendSerial(1, "A");
    const QByteArray kept = "ca0009150100010000002580acca0003160301ac";
    QByteArray sent;
    QTRY_COMPARE((sent += m_peer->receive()).toHex(),
                 QByteArray("ca0003160301acca0009150100010000002580acca000415010141ac"));
    // Garbage, a contact, data of two ports, garbage without an end; then the board starts again.
    m_peer->send(QByteArray::fromHex(
        "00CA0FFF CA00051807000001AC CA00051806000001AC CA0005150201 4142AC CA000415080143AC CA0F"));
    QTRY_COMPARE(m_received, QByteArray("ABC"));
    QCOMPARE(m_seen, QStringLiteral("io6- io7+ ")); // 6 is not the board's
    sent.clear();
    m_peer->send(QByteArray::fromHex("CA00011AAC"));
    QTRY_COMPARE((sent += m_peer->receive()).toHex(), kept);
    // The line goes and comes back.
    m_peer->hangUp();
    QTRY_VERIFY(!isOpen("serial1"));
    SerialPeer back;
    QVERIFY(QFile::remove(link));
    QVERIFY(QFile::link(back.deviceFile(), link));
    sent.clear();
    QTRY_COMPARE((sent += back.receive()).toHex(), kept);
}

TEST_CLASS(ConfiguredPortsTest)
#include "ConfiguredPortsTest.moc"
