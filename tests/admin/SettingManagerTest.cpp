#include "admin/SettingManager.h"
#include "base/Clock.h"
#include "base/SystemNumber.h"
#include "devices/MonitorLines.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QTemporaryDir>

namespace {
const QByteArray kHeading = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";

/// A machine whose network is what the test says.
struct Machine : SystemNetwork
{
    QStringList interfaces{ QStringLiteral("eth0") };
    QString address;
    QString hardware;
    QByteArray routes;
    QByteArray resolver;

    bool hasInterface(const QString &name) const override { return interfaces.contains(name); }
    QString firstIpv4Address(const QString &name) const override { return hasInterface(name) ? address : QString(); }
    QString hardwareAddress(const QString &name) const override { return hasInterface(name) ? hardware : QString(); }
    QByteArray routeTable() const override { return routes; }
    QByteArray resolverConfiguration() const override { return resolver; }
};

/// A settings store in a directory of its own.
struct Store
{
    QTemporaryDir directory;

    void write(const char *name, const QByteArray &content) const
    {
        QVERIFY(writeFile(directory.filePath(QString::fromLatin1(name)), content));
    }

    QByteArray read(const char *name) const { return contentOf(directory.filePath(QString::fromLatin1(name))); }

    std::unique_ptr<SettingManager> open(const Machine &machine = Machine()) const
    {
        return std::make_unique<SettingManager>(SettingManager::locationIn(directory.path()),
                                                std::make_unique<Machine>(machine));
    }
};
} // namespace

class SettingManagerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void defaultRoutes_data();
    void defaultRoutes();
    void nameServers_data();
    void nameServers();
    void readsWhatIsStored_data();
    void readsWhatIsStored();
    void informationString();
    void showsWhatIsInForce_data();
    void showsWhatIsInForce();
    void macAddresses_data();
    void macAddresses();
    void changesAreKept();
    void wrongChangesAreIgnored();
    void onlyWhatAToolHasSetIsApplied();
    void storesThatCannotBeUsed();
    void whatCannotBeSavedIsTriedAgain();
};

void SettingManagerTest::defaultRoutes_data()
{
    const Table<QByteArray, QString, QString> row("table", "interfaceName", "route");
    const QString eth0 = QStringLiteral("eth0");
    const QString none = QStringLiteral("none");
    const QByteArray ours = "eth0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n";
    const QByteArray network = "eth0\t0002A8C0\t00000000\t0001\t0\t0\t100\t00FFFFFF\t0\t0\t0\n";
    const QByteArray theirs = "wlan0\t00000000\tFE01A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n";
    row("ours", kHeading + network + theirs + ours, eth0, "eth0 192.168.2.1");
    row("another interface's only", kHeading + theirs + network, eth0, none);
    row("any interface", kHeading + network + theirs, "", "wlan0 192.168.1.254");
    row("without a gateway", kHeading + "eth0 00000000 00000000 0001\n", eth0, none);
    row("the next has one", kHeading + "eth0 00000000 00000000 0001\n" + ours, eth0, "eth0 192.168.2.1");
    row("the heading is no route", "eth0 00000000 0102A8C0\n", eth0, none);
    row("two fields", kHeading + "eth0 00000000\n", eth0, none);
    row("no numbers", kHeading + "eth0 zero gate\n", eth0, none);
    row("highest bytes", kHeading + "eth0 00000000 FFFEFDFC", eth0, "eth0 252.253.254.255");
    row("empty", "", eth0, none);
}

void SettingManagerTest::defaultRoutes()
{
    QFETCH(QByteArray, table);
    QFETCH(QString, interfaceName);
    QFETCH(QString, route);
    const std::optional<DefaultRoute> found = defaultRoute(table, interfaceName);
    QCOMPARE(found ? found->interfaceName + QLatin1Char(' ') + found->gateway : QStringLiteral("none"), route);
}

void SettingManagerTest::nameServers_data()
{
    const Table<QByteArray, QString> row("text", "server");
    row("first of two", "# made\nsearch x\nnameserver 8.8.8.8\nnameserver 1.1.1.1\n", "8.8.8.8");
    row("tabs and blanks", " nameserver\t  8.8.4.4  # x", "8.8.4.4");
    row("commented out", "#nameserver 8.8.8.8\n; nameserver 1.1.1.1\n", "");
    row("no address", "nameserver\nnameservers 1.1.1.1\n", "");
}

void SettingManagerTest::nameServers()
{
    QFETCH(QByteArray, text);
    QTEST(firstNameServer(text), "server");
}

void SettingManagerTest::readsWhatIsStored_data()
{
    // firstLine: of the information string
    const Table<QByteArray, QString, int> row("file", "firstLine", "systemNumber");
    const QString defaults = QStringLiteral("dhcp_192.168.1.2_255.255.255.0_192.168.1.1_192.168.1.1_1");
    row("no file", "", defaults, 1);
    row("system number 0", "[General]\nsystemNum=0\n", defaults, 1);
    row("system number below 0", "[General]\nsystemNum=-4\n", defaults, 1);
    row("system number too large", "[General]\nsystemNum=70000\n", defaults.chopped(1) + QStringLiteral("65535"),
        65535);
    row("system number no number", "[General]\nsystemNum=seven\n", defaults, 1);
    row("all",
        "[General]\ndhcp=false\nip=10.0.0.2\nmask=255.0.0.0\ngateway=10.0.0.1\n"
        "dns=8.8.8.8\nsystemNum=7\n",
        "staticip_10.0.0.2_255.0.0.0_10.0.0.1_8.8.8.8_7", 7);
    row("half a file", QByteArray("[General]\nsystemNum=9\ndhcp=tr\x00\xFF\n[Gen", 34),
        "dhcp_192.168.1.2_255.255.255.0_192.168.1.1_192.168.1.1_9", 9);
    row("no text at all", QByteArray("\x00\x01\x02\xFF\xFE=]][[\n\n\x00", 14), defaults, 1);
}

void SettingManagerTest::readsWhatIsStored()
{
    QFETCH(QByteArray, file);
    QFETCH(int, systemNumber);
    const Store store;
    if (!file.isEmpty()) {
        store.write("settings.ini", file);
    }
    setLocalSystemNumber(99);
    const auto settings = store.open();
    QTEST(QString::fromUtf8(settings->informationString().split('\n').first()), "firstLine");
    QCOMPARE(settings->systemNumber(), systemNumber);
    QCOMPARE(localSystemNumber(), systemNumber);
}

void SettingManagerTest::informationString()
{
    const Store store;
    store.write("mac", "08:90:00:01:02:03\n");
    Machine machine;
    machine.address = QStringLiteral("10.1.2.3");
    machine.routes = kHeading + "eth0 00000000 0102010A 0003\n";
    machine.resolver = "nameserver 10.1.2.9\n";
    const auto settings = store.open(machine);
    QCOMPARE(settings->informationString(),
             QByteArray("dhcp_10.1.2.3_255.255.255.0_10.1.2.1_10.1.2.9_1\n2.3.15.008\nKV LITE\n08:90:00:01:02:03"));
}

void SettingManagerTest::showsWhatIsInForce_data()
{
    // inForce: address and gateway
    const Table<QByteArray, QStringList, QByteArray, QString> row("file", "interfaces", "routes", "inForce");
    const QByteArray remembered = "[General]\ninterface=lan1\n";
    const QStringList lan{ QStringLiteral("lan1"), QStringLiteral("wlan0") };
    const QStringList eth0{ QStringLiteral("eth0"), QStringLiteral("wlan0") };
    const QStringList wlan{ QStringLiteral("wlan0") };
    const QByteArray wlanRoute = kHeading + "wlan0 00000000 0101000A 0003\n";
    row("static: the stored ones", "[General]\ndhcp=false\n", eth0, wlanRoute, "192.168.1.2 192.168.1.1");
    row("route of another interface", "", eth0, wlanRoute, "10.0.1.7 192.168.1.1");
    row("no eth0: that of the route", "", wlan, wlanRoute, "10.0.1.7 10.0.1.1");
    row("no eth0: the remembered one", remembered, lan, wlanRoute, "10.0.1.7 192.168.1.1");
    row("the remembered one has gone", remembered, wlan, wlanRoute, "10.0.1.7 10.0.1.1");
    row("the remembered one, no route", remembered, lan, "", "10.0.1.7 192.168.1.1");
    row("the remembered one is to come", remembered, wlan, "", "192.168.1.2 192.168.1.1");
    row("eth0 comes before it", remembered, eth0, "", "10.0.1.7 192.168.1.1");
    row("no eth0, no route", "", wlan, "", "192.168.1.2 192.168.1.1");
}

void SettingManagerTest::showsWhatIsInForce()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, interfaces);
    QFETCH(QByteArray, routes);
    Machine machine;
    machine.address = QStringLiteral("10.0.1.7");
    machine.interfaces = interfaces;
    machine.routes = routes;
    const Store store;
    store.write("settings.ini", file);
    const auto settings = store.open(machine);
    QTEST(settings->currentIp() + QLatin1Char(' ') + settings->currentGateway(), "inForce");
}

void SettingManagerTest::macAddresses_data()
{
    // mac: a regular expression
    const Table<QByteArray, QString, QString> row("file", "hardware", "mac");
    const QString hardware = QStringLiteral("aa:bb:cc:dd:ee:ff");
    row("stored", "08:90:00:0a:0B:0c", hardware, "08:90:00:0a:0B:0c");
    row("stored with a line end", "08:90:00:0a:0B:0c\r\n", hardware, "08:90:00:0a:0B:0c");
    row("all zeros", "00:00:00:00:00:00", hardware, "aa:bb:cc:dd:ee:ff");
    row("none that is valid", "08-90-00-0a-0b-0c", hardware, "aa:bb:cc:dd:ee:ff");
    row("one pair too many", "08:90:00:0a:0b:0c:0d", hardware, "aa:bb:cc:dd:ee:ff");
    row("nothing anywhere", "x", "", "00:00:00:00:00:00");
    row("empty file: made up", "\n", hardware, "08:90:00(:[0-9a-f]{2}){3}");
    row("no file: made up", "", hardware, "08:90:00(:[0-9a-f]{2}){3}");
}

void SettingManagerTest::macAddresses()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, hardware);
    QFETCH(QString, mac);
    const Store store;
    if (!file.isEmpty()) {
        store.write("mac", file);
    }
    Machine machine;
    machine.hardware = hardware;
    const QString found = store.open(machine)->currentMac();
    QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(mac)).match(found).hasMatch(), qPrintable(found));
    QCOMPARE(store.read("mac"), file.isEmpty() ? QByteArray("nothing") : file); // a made-up one is not written
    QCOMPARE(macFromTimeOfDay(0x04A00B), QStringLiteral("08:90:00:04:a0:0b"));
}

void SettingManagerTest::changesAreKept()
{
    const Store store;
    {
        const auto settings = store.open();
        settings->setStaticIp(QStringLiteral("10.0.0.2"), QStringLiteral("255.0.0.0"), QStringLiteral("10.0.0.1"),
                              QStringLiteral("8.8.8.8"), QStringLiteral("08:90:00:01:02:03"));
        settings->setSystemNumber(5);
        settings->setListenAddresses({ QStringLiteral("10.0.0.3"), QStringLiteral("10.0.0.4") });
    }
    QCOMPARE(localSystemNumber(), 5);
    QCOMPARE(store.read("mac"), QByteArray("08:90:00:01:02:03"));
    {
        const auto settings = store.open();
        QCOMPARE(settings->informationString(),
                 QByteArray("staticip_10.0.0.2_255.0.0.0_10.0.0.1_8.8.8.8_5\n2.3.15.008\nKV LITE\n08:90:00:01:02:03"));
        QCOMPARE(settings->listenAddresses(), (QStringList{ QStringLiteral("10.0.0.3"), QStringLiteral("10.0.0.4") }));
        settings->setDhcp(QString());
        settings->setListenAddresses({ QStringLiteral("10.0.0.3") });
    }
    const auto settings = store.open();
    QVERIFY(settings->isDhcp());
    QCOMPARE(settings->currentMac(), QStringLiteral("08:90:00:01:02:03"));
    QCOMPARE(settings->currentIp(), QStringLiteral("10.0.0.2")); // DHCP has nothing yet: the last known
    QCOMPARE(settings->listenAddresses(), QStringList{ QStringLiteral("10.0.0.3") });
}

void SettingManagerTest::wrongChangesAreIgnored()
{
    const Store store;
    const auto settings = store.open();
    settings->setStaticIp(QStringLiteral("10.0.0.256"), QStringLiteral("255.0.0.0"), QStringLiteral("10.0.0.1"),
                          QStringLiteral("8.8.8.8"), QStringLiteral("08:90:00:01:02:03"));
    settings->setMac(QStringLiteral("08:90:00:01:02"));
    settings->setMac(QString());
    QVERIFY(settings->isDhcp());
    QCOMPARE(settings->netmask(), QStringLiteral("255.255.255.0"));
    QCOMPARE(store.read("mac"), QByteArray("nothing"));
    settings->setSystemNumber(-3);
    QCOMPARE(settings->systemNumber(), 1);
    QVERIFY(store.read("settings.ini").contains("systemNum=1"));
}

void SettingManagerTest::onlyWhatAToolHasSetIsApplied()
{
    const Store store;
    QVERIFY(!store.open()->networkToApply());
    store.open()->setSystemNumber(3); // writes all keys
    QVERIFY(!store.open()->networkToApply());
    store.open()->setDhcp(QString());
    QVERIFY(store.open()->networkToApply()->isDhcp);
    store.open()->setStaticIp(QStringLiteral("10.0.0.2"), QStringLiteral("255.0.0.0"), QStringLiteral("10.0.0.1"),
                              QString(), QString());
    const auto network = store.open()->networkToApply();
    QVERIFY(network && !network->isDhcp);
    QCOMPARE(network->ip, QStringLiteral("10.0.0.2"));

    const Store byHand; // a file without our own key
    byHand.write("settings.ini", "[General]\ndhcp=false\nip=10.0.0.7\n");
    QCOMPARE(byHand.open()->networkToApply()->ip, QStringLiteral("10.0.0.7"));
}

void SettingManagerTest::storesThatCannotBeUsed()
{
    MonitorLines monitor;
    const Store damaged;
    damaged.write("settings.ini", "systemNum=4\nno setting at all [\nmine=kept\n");
    QCOMPARE(damaged.open()->systemNumber(), 4);
    QCOMPARE(monitor.take(),
             QStringList(QStringLiteral("4 %1 cannot be read whole: some lines make no sense; it is kept as "
                                        "settings.ini.damaged-1")
                             .arg(damaged.directory.filePath(QStringLiteral("settings.ini")))));
    QVERIFY(damaged.read("settings.ini.damaged-1").contains("no setting at all"));
    QVERIFY(!damaged.open()->setSystemNumber(5));
    QCOMPARE(monitor.take(), QStringList());
    QVERIFY(damaged.read("settings.ini").contains("mine=kept\n"));
}

void SettingManagerTest::whatCannotBeSavedIsTriedAgain()
{
    MonitorLines monitor;
    Clock clock(Clock::Drive::ByHand);
    const Store store;
    const QString inTheWay = store.directory.filePath(QStringLiteral("settings.ini.unfinished/x"));
    const auto settings = store.open();
    QVERIFY(!settings->setSystemNumber(2));
    QVERIFY(QDir().mkpath(inTheWay));
    QVERIFY(QDir().mkpath(store.directory.filePath(QStringLiteral("mac/x"))));
    const QString complaint = QStringLiteral("Cannot save %1: File exists");
    QCOMPARE(settings->setSystemNumber(3).value_or(QString()),
             complaint.arg(store.directory.filePath(QStringLiteral("settings.ini"))));
    QCOMPARE(settings->systemNumber(), 3); // in force
    QVERIFY(store.read("settings.ini").contains("systemNum=2"));
    QVERIFY(settings->setMac(QStringLiteral("08:90:00:01:02:03")));
    QCOMPARE(monitor.take().size(), 2);
    clock.advance(60000);
    QCOMPARE(monitor.take(), QStringList()); // nothing new
    QVERIFY(QDir(store.directory.filePath(QStringLiteral("settings.ini.unfinished"))).removeRecursively());
    QVERIFY(QDir(store.directory.filePath(QStringLiteral("mac"))).removeRecursively());
    clock.advance(60000);
    QVERIFY(store.read("settings.ini").contains("systemNum=3"));
    QCOMPARE(store.read("mac"), QByteArray("08:90:00:01:02:03"));
    QCOMPARE(monitor.take().size(), 2); // they are saved again
}

TEST_CLASS(SettingManagerTest)
#include "SettingManagerTest.moc"
