#include "devices/PortManager.h"
#include "MonitorLines.h"
#include "base/Clock.h"
#include "devices/frames/FramedPorts.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTemporaryDir>

/// Frames, LEDs and their times, on a clock driven by hand.
class PortManagerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void io();
    void pulsesFollowTheProgramsTime();
    void infrared_data();
    void infrared();
    void relays();
    void ledOfSerialData();
    void longDataIsSplit();
    void heldOutputsGoOffTogether();
    void input();
    void closing();

private:
    QByteArrayList frames();
    QStringList leds(); // since the last call, as "12+" and "12-"

    std::unique_ptr<Clock> m_clock;
    std::unique_ptr<MonitorLines> m_monitor;
    std::unique_ptr<PortManager> m_ports;
    SimulatedPorts *m_hardware = nullptr;
    QStringList m_leds;
    QTemporaryDir m_directory;
    int m_pulseMs = 500;
};

void PortManagerTest::init()
{
    m_clock = std::make_unique<Clock>(Clock::Drive::ByHand);
    m_monitor = std::make_unique<MonitorLines>();
    auto hardware = std::make_unique<SimulatedPorts>();
    m_hardware = hardware.get();
    m_ports = std::make_unique<PortManager>(std::move(hardware));
    m_pulseMs = 500;
    m_ports->setPulseTime([this] { return m_pulseMs; });
    // Emitter 1 has a file with code 5, the others have none.
    QFile file(m_directory.filePath(QStringLiteral("ir1.ir")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray::fromHex("00000004 00490052 00000001 00000000 00000000 00000000 00000000 00000000 00000001"
                                   "00000000 00000005 00000000 00000000 00000000 00000000 00000000 00000000"
                                   "00000002 A1A2"));
    m_ports->setIrFilePath([this](int port) { return m_directory.filePath(QStringLiteral("ir%1.ir").arg(port - 9)); });
    m_leds.clear();
    connect(m_ports.get(), &PortManager::sendLedInfo, this,
            [this](int led, bool on) { m_leds << QString::number(led) + QLatin1Char(on ? '+' : '-'); });
}

void PortManagerTest::cleanup()
{
    m_ports.reset();
    m_monitor.reset();
    m_clock.reset();
}

QByteArrayList PortManagerTest::frames()
{
    QByteArrayList written;
    for (const QByteArray &frame : m_hardware->frames()) {
        written << frame.toHex();
    }
    m_hardware->clearFrames();
    return written;
}

QStringList PortManagerTest::leds()
{
    return std::exchange(m_leds, {});
}

void PortManagerTest::io()
{
    m_ports->switchPort(18, PortAction::On, 3);
    m_ports->switchPort(18, PortAction::Off, 3);
    m_ports->switchPort(18, PortAction::On, 0);
    m_ports->switchPort(18, PortAction::On, 7);
    m_ports->switchPort(18, static_cast<PortAction>(9), 3); // a number that a program may assign
    QCOMPARE(frames(), (QByteArrayList{ "1803000001", "1803000000" }));
    QCOMPARE(m_monitor->take(), QStringList());
}

void PortManagerTest::pulsesFollowTheProgramsTime()
{
    m_ports->switchPort(18, PortAction::Pulse, 2);
    m_clock->advance(499);
    QCOMPARE(frames(), QByteArrayList{ "1802000001" });
    m_clock->advance(1);
    QCOMPARE(frames(), QByteArrayList{ "1802000000" });

    m_pulseMs = 100;
    m_ports->switchPort(18, PortAction::Pulse, 2);
    frames();
    m_clock->advance(100);
    QCOMPARE(frames(), QByteArrayList{ "1802000000" });

    m_ports->switchPort(18, PortAction::Pulse, 2);
    m_ports.reset();
    m_clock->advance(1000); // the end of a pulse whose manager has gone touches nothing
}

void PortManagerTest::infrared_data()
{
    // leds: until 500 ms
    const Table<int, int, int, QByteArrayList, QByteArrayList, QStringList, QStringList> row(
        "port", "action", "channel", "now", "later", "leds", "lines");
    const QStringList blink{ QStringLiteral("8+"), QStringLiteral("8-") };
    const QString tooLarge = QStringLiteral("4 Error: Too large IR number called.");
    const QString noFile = QStringLiteral("5 Warning: Failed to open IR file corresponding with port %1.");
    const QString wrongPort = QStringLiteral("5 Warning: Wrong port number was referred.");
    const QByteArrayList none;
    row("on", 10, 1, 105, { "2301a1a2" }, none, blink, {});
    row("off plays too", 10, 0, 105, { "2301a1a2" }, none, blink, {});
    row("pulse", 10, 2, 105, { "250101a1a2" }, { "2601" }, blink, {});
    row("to", 10, 3, 105, { "250101a1a2" }, none, QStringList(blink.first()), {});
    row("channel without a record", 10, 1, 100, none, none, {}, {});
    row("channel 99", 10, 1, 99, none, none, {}, {});
    row("channel 355", 10, 1, 355, none, none, {}, {});
    row("channel 356", 10, 1, 356, none, none, {}, { tooLarge });
    row("no file", 12, 1, 105, none, none, {}, { noFile.arg(12) });
    row("emitter 5", 14, 1, 105, none, none, {}, { wrongPort });
    row("no such port", 19, 1, 105, none, none, {}, { wrongPort });
}

void PortManagerTest::infrared()
{
    QFETCH(int, port);
    QFETCH(int, action);
    QFETCH(int, channel);
    QFETCH(QByteArrayList, now);
    QFETCH(QByteArrayList, later);
    QFETCH(QStringList, leds);
    QFETCH(QStringList, lines);
    m_ports->switchPort(port, static_cast<PortAction>(action), channel);
    QCOMPARE(frames(), now);
    m_clock->advance(500);
    QCOMPARE(frames(), later);
    QCOMPARE(this->leds(), leds);
    QCOMPARE(m_monitor->take(), lines);
}

void PortManagerTest::relays()
{
    QVERIFY(!m_ports->isRelayOn(3));
    m_ports->switchPort(9, PortAction::On, 3);
    QVERIFY(m_ports->isRelayOn(3));
    QVERIFY(!m_ports->isRelayOn(4));
    QCOMPARE(m_monitor->take(), QStringList());
    m_ports->switchPort(9, PortAction::Pulse, 3);
    m_ports->switchPort(9, PortAction::To, 3);
    QVERIFY(m_ports->isRelayOn(3));
    QCOMPARE(m_monitor->take().size(), 2);
    m_ports->switchPort(9, PortAction::Off, 3);
    QVERIFY(!m_ports->isRelayOn(3));
    m_ports->switchPort(9, PortAction::On, 9); // there is no such relay
    QCOMPARE(frames(), (QByteArrayList{ "160301", "160300" }));
}

void PortManagerTest::ledOfSerialData()
{
    m_ports->sendSerial(1, "A");
    m_clock->advance(10);
    m_ports->sendSerial(2, "B");
    QCOMPARE(leds().join(QLatin1Char(' ')), QStringLiteral("12+ 0+ 12+ 2+"));
    m_clock->advance(30);
    QCOMPARE(leds().join(QLatin1Char(' ')), QStringLiteral("0-"));
    m_clock->advance(9);
    QCOMPARE(leds(), QStringList());
    m_clock->advance(1);
    QCOMPARE(leds().join(QLatin1Char(' ')), QStringLiteral("2- 12-"));
    QCOMPARE(frames(), (QByteArrayList{ "15010141", "15020142" }));

    m_ports->sendSerial(5, "C");
    m_ports->sendSerial(0, "C");
    QCOMPARE(frames(), QByteArrayList());
    QCOMPARE(leds(), QStringList());
    const QString refused = QStringLiteral("4 Error: Wrong serial port port number in send_string statement.");
    QCOMPARE(m_monitor->take(), (QStringList{ refused, refused }));
}

void PortManagerTest::longDataIsSplit()
{
    m_ports->sendSerial(1, QByteArray(70'000, 'x'));
    const auto written = m_hardware->frames();
    QCOMPARE(written.size(), size_t(2));
    QCOMPARE(written.front().size(), 65'535); // what 16 bits can count
    QCOMPARE(written.back().size(), 70'000 - 65'532 + 3);
}

void PortManagerTest::heldOutputsGoOffTogether()
{
    m_ports->switchPort(18, PortAction::To, 6);
    m_ports->switchPort(18, PortAction::To, 2);
    m_ports->switchPort(18, PortAction::To, 6);
    m_ports->switchPort(10, PortAction::To, 105);
    frames();
    leds();
    m_ports->releaseHeldOutputs();
    QCOMPARE(frames(), (QByteArrayList{ "2601", "1806000000", "1802000000" }));
    QCOMPARE(leds(), QStringList());
    m_clock->advance(0);
    QCOMPARE(leds().join(QLatin1Char(' ')), QStringLiteral("8- 9- 10- 11-"));
    m_ports->releaseHeldOutputs();
    m_clock->advance(0);
    QCOMPARE(frames(), QByteArrayList());
    QCOMPARE(leds(), QStringList());
}

void PortManagerTest::input()
{
    QStringList seen;
    connect(m_ports.get(), &PortManager::received, this,
            [&](int port, const QByteArray &data) { seen << QStringLiteral("%1:%2").arg(port).arg(data.size()); });
    connect(m_ports.get(), &PortManager::contactChanged, this, [&](int number, bool isOn) {
        seen << QStringLiteral("io%1%2").arg(number).arg(QLatin1Char(isOn ? '+' : '-'));
    });
    connect(m_ports.get(), &PortManager::gotPortStatus, this,
            [&](int, int channel, int status) { seen << QStringLiteral("io%1=%2").arg(channel).arg(status); });
    m_hardware->serialReceived(8, QByteArray(8193, 'x'));
    m_hardware->serialReceived(1, QByteArray());
    m_hardware->ioChanged(3, false); // as it was
    m_hardware->ioChanged(3, true);
    m_hardware->ioChanged(3, true);
    m_ports->queryStatus(18, 3);
    m_ports->switchPort(18, PortAction::On, 2); // an output is what it was driven to, and raises nothing
    m_ports->queryStatus(18, 2);
    m_hardware->ioChanged(3, false);
    QCOMPARE(seen.join(QLatin1Char(' ')), QStringLiteral("8:4096 8:4096 8:1 io3+ io3=1 io2=1 io3-"));
}

void PortManagerTest::closing()
{
    m_ports->writeClosingFrame();
    QCOMPARE(frames(), QByteArrayList{ "1900" });
}

TEST_CLASS(PortManagerTest)
#include "PortManagerTest.moc"
