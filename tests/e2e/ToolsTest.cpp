#include "ControllerProcess.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest>

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
};

namespace {
struct Ended
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

Ended arkctl(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ARKCTL_PROGRAM), arguments);
    const bool isFinished = process.waitForFinished(20000);
    return { isFinished ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError() };
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}
} // namespace

#define STARTS(controller)                                                                                             \
    (controller).start();                                                                                              \
    QTRY_VERIFY2((controller).output().contains("Network started."), (controller).errors().constData())

void ToolsTest::showsAndChanges()
{
    ControllerProcess controller;
    STARTS(controller);
    const QStringList host{ QStringLiteral("--host"), controller.address() };
    QCOMPARE(arkctl(host + words("sysnum 7")).output, QByteArray("system number 7\n"));
    const Ended info = arkctl(host + words("info --json"));
    QCOMPARE(info.status, 0);
    const QJsonObject shown = QJsonDocument::fromJson(info.output).object();
    QCOMPARE(shown.value(QStringLiteral("system")).toInt(), 7);
    QCOMPARE(shown.value(QStringLiteral("mode")).toString(), QStringLiteral("dhcp"));
    QVERIFY(arkctl(host + words("info")).output.contains("\nversion  2.3.15.008\n"));

    const Ended found = arkctl({ QStringLiteral("discover"), QStringLiteral("--at"), controller.address(),
                                 QStringLiteral("--for"), QStringLiteral("0.5") });
    QCOMPARE(found.status, 0);
    QVERIFY2(found.output.contains("\n" + controller.address().toLatin1() + ' '), found.output.constData());

    const Ended now = arkctl(host + words("datetime"));
    QVERIFY(QRegularExpression(QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\n\\z"))
                .match(QString::fromLatin1(now.output))
                .hasMatch());
    const Ended refused =
        arkctl(host + QStringList{ QStringLiteral("datetime"), QStringLiteral("2031-05-06 07:08:09") });
    QCOMPARE(refused.status, 1);
    QVERIFY(refused.errors.contains("still says"));
    QTRY_VERIFY(controller.output().contains("System changes are off"));
}

void ToolsTest::restarts_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArrayList>("settings");
    QTest::newRow("reboot") << "reboot" << QByteArrayList{};
    QTest::newRow("static") << "network static 10.1.2.3 255.255.0.0 10.1.0.1 10.1.0.2"
                            << QByteArrayList{ "dhcp=false", "ip=10.1.2.3", "mask=255.255.0.0", "gateway=10.1.0.1",
                                               "dns=10.1.0.2" };
    QTest::newRow("dhcp") << "network dhcp --mac 08:90:00:01:02:03" << QByteArrayList{ "dhcp=true", "networkSet=true" };
    QTest::newRow("mac") << "mac 08:90:00:01:02:04" << QByteArrayList{ "dhcp=true" };
}

void ToolsTest::restarts()
{
    QFETCH(QString, command);
    QFETCH(QByteArrayList, settings);
    ControllerProcess controller;
    STARTS(controller);
    const QStringList parts = command.split(QLatin1Char(' '));
    const Ended ended = arkctl(QStringList{ QStringLiteral("--host"), controller.address() } + parts);
    QVERIFY2(ended.status == 0, ended.errors.constData());
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
    QFile file(controller.filePath(QStringLiteral("settings.ini")));
    const QByteArray stored = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    for (const QByteArray &line : settings) {
        QVERIFY2(stored.contains(line + '\n'), stored.constData());
    }
    if (command.contains(QLatin1String("08:90"))) {
        QFile mac(controller.filePath(QStringLiteral("mac")));
        QVERIFY(mac.open(QIODevice::ReadOnly));
        QVERIFY(command.endsWith(QString::fromLatin1(mac.readAll())));
    }
}

void ToolsTest::refusals_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("error"); // begins with
    QTest::newRow("nobody there") << "--host 127.1.1.1 info" << 1 << QByteArray("no connection to 127.1.1.1:6139");
    QTest::newRow("nobody found") << "discover --at 127.1.1.1 --for 0.3" << 1
                                  << QByteArray("no controller answers at 127.1.1.1");
    QTest::newRow("no command") << "--timeout 1" << 2 << QByteArray("no command given");
    QTest::newRow("two words of a name") << "network static 10.0.0.1 255.0.0.0 10.0.0.1 dns.example" << 2
                                         << QByteArray("not an IPv4 address: dns.example");
    QTest::newRow("half a network") << "network static 10.0.0.1 255.0.0.0" << 2 << QByteArray("ADDRESSES");
    QTest::newRow("mac") << "mac 08-90-00-01-02-03" << 2 << QByteArray("not a MAC address such as");
    QTest::newRow("system number") << "sysnum 0" << 2 << QByteArray("NUMBER");
    QTest::newRow("date") << "datetime tomorrow" << 2 << QByteArray("not a date and time such as");
    QTest::newRow("address") << "--host a:b:c info" << 2 << QByteArray("not an address: a:b:c");
    QTest::newRow("listen") << "listen add fe80::1" << 2 << QByteArray("not an IPv4 address: fe80::1");
}

void ToolsTest::refusals()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, error);
    const Ended ended = arkctl(command.split(QLatin1Char(' ')));
    QTEST(ended.status, "status");
    QVERIFY2(ended.errors.startsWith("arkctl: " + error), ended.errors.constData());
    QCOMPARE(ended.errors.count('\n'), 1);
    QVERIFY(ended.output.isEmpty());
}

QTEST_GUILESS_MAIN(ToolsTest)
#include "ToolsTest.moc"
