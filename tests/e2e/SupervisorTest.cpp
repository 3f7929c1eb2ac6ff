#include "ControllerProcess.h"
#include "net/LinkClient.h"

#include <QtTest>

#include <csignal>

/// The supervisor with a real controller below it.
class SupervisorTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startsAgainAfterAReboot();
    void showsLedsAndPorts();
    void givesUpOnWrongArguments();
};

namespace {
void startHost(ControllerProcess &controller, const QStringList &hostOptions = {})
{
    controller.startWith(QStringLiteral(ARKHOST_PROGRAM),
                         hostOptions + QStringList{ QStringLiteral("--") } + controller.standardArguments());
}
} // namespace

void SupervisorTest::startsAgainAfterAReboot()
{
    ControllerProcess controller;
    startHost(controller);
    QTRY_VERIFY2(controller.output().contains("Network started."), controller.errors().constData());
    LinkClient tool({ 2, 100, "tool", "1" });
    QSignalSpy introduced(&tool, &LinkClient::introduced);
    tool.connectTo(controller.address());
    QTRY_COMPARE(introduced.count(), 1);
    tool.sendTextCommand("reboot");
    QTRY_VERIFY(controller.output().contains("is started again"));
    QTRY_VERIFY2(controller.output().count("Network started.") == 2, controller.output().constData());
    controller.signal(SIGTERM); // passed on: both end
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
    QVERIFY(!QFile::exists(controller.filePath(QStringLiteral("emulator")))); // free for the next one
}

void SupervisorTest::showsLedsAndPorts()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("device dvPanel = 10001:1:0\n"
                                "button_event [dvPanel, 1] { push: { on [5001:18:0, 2]; send_string 5001:1:0, 'A' } }"),
             QString());
    startHost(controller, { QStringLiteral("--ports") });
    QTRY_VERIFY2(controller.output().contains("Online Event: 5001:4:0"), controller.errors().constData());
    LinkClient panel({ 1, 10001, "panel", "1" });
    QSignalSpy introduced(&panel, &LinkClient::introduced);
    panel.connectTo(controller.address());
    QTRY_COMPARE(introduced.count(), 1);
    panel.push(1);
    QTRY_VERIFY2(controller.output().contains("port frame 18 02 00 00 01\n"), controller.output().constData());
    QTRY_VERIFY(controller.output().contains("LED 0 on\n"));
    QTRY_VERIFY(controller.output().contains("LED 12 off\n"));
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
}

void SupervisorTest::givesUpOnWrongArguments()
{
    ControllerProcess controller;
    controller.startWith(QStringLiteral(ARKHOST_PROGRAM), { QStringLiteral("--"), QStringLiteral("--nonsense") });
    QTRY_VERIFY(controller.errors().contains("nonsense"));
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 2);
}

QTEST_GUILESS_MAIN(SupervisorTest)
#include "SupervisorTest.moc"
