#include "ControllerProcess.h"
#include "base/Frame.h"
#include "net/LinkClient.h"
#include "support/Table.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QtTest>

#include <csignal>

/// How the process starts and ends.
class ProcessTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void unknownOption();
    void takenPort();
    void dataDirectoryThatCannotBe();
    void dataDirectoryThatTakesNothing();
    void missingNamedFile();
    void damagedFile();
    void twoFilesAreNone();
    void monitorFromTheFirstLine();
    void chineseTexts();
    void signalsDuringAnEndlessLoop_data();
    void signalsDuringAnEndlessLoop();
    void endlessStartBlock();
    void rebootDuringAnEndlessLoop();
    void rebootByTheProgram();
    void supervisorsFrames();
};

namespace {
const char kEndless[] = "device dvPort = 5001:1:0\n integer n\n"
                        "data_event [dvPort] { online: { send_string dvPort, 'looping'\n while (1) { n = n + 1 } } }";
}

#define STARTS(controller)                                                                                             \
    QTRY_VERIFY2((controller).output().contains("Network started."), (controller).errors().constData())
#define ENDS_WITH(controller, status)                                                                                  \
    QTRY_VERIFY2(!(controller).isRunning(), "still running");                                                          \
    QCOMPARE((controller).process().exitStatus(), QProcess::NormalExit);                                               \
    QCOMPARE((controller).exitCode(), status)

void ProcessTest::unknownOption()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("--nonsense") });
    QTRY_VERIFY(controller.errors().contains("nonsense"));
    ENDS_WITH(controller, 2);
}

void ProcessTest::takenPort()
{
    ControllerProcess first;
    first.start();
    STARTS(first);
    ControllerProcess second;
    QStringList arguments = second.standardArguments();
    arguments.replace(arguments.indexOf(second.address()), first.address());
    second.startWith(QStringLiteral(ARKIVON_PROGRAM), arguments);
    QTRY_VERIFY(second.errors().contains("6139"));
    QVERIFY2(second.errors().contains(first.address().toLatin1()), second.errors().constData());
    ENDS_WITH(second, 2);
}

void ProcessTest::dataDirectoryThatCannotBe()
{
    ControllerProcess controller;
    QFile file(controller.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    controller.startWith(QStringLiteral(ARKIVON_PROGRAM),
                         { QStringLiteral("--data-dir"), file.fileName() + QStringLiteral("/below") });
    QTRY_VERIFY(controller.errors().contains("/file/below"));
    ENDS_WITH(controller, 2);
}

void ProcessTest::dataDirectoryThatTakesNothing()
{
    ControllerProcess controller;
    QStringList arguments = controller.standardArguments();
    arguments.replace(arguments.indexOf(QStringLiteral("--data-dir")) + 1, QStringLiteral("/proc")); // not even root's
    controller.startWith(QStringLiteral(ARKIVON_PROGRAM), arguments);
    STARTS(controller);
    QVERIFY2(controller.errors().startsWith("Values are not kept: cannot write in /proc: "),
             controller.errors().constData());
    QVERIFY(controller.output().contains("Error:Values are not kept"));
    controller.signal(SIGTERM);
    ENDS_WITH(controller, 0);
}

void ProcessTest::missingNamedFile()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("none.pobj") });
    STARTS(controller);
    QCOMPARE(controller.errors(), QByteArray("Object file none.pobj does not exist\n"));
    QVERIFY(controller.output().contains("Error:Object file none.pobj does not exist"));
    controller.signal(SIGTERM);
    ENDS_WITH(controller, 0);
}

void ProcessTest::damagedFile()
{
    ControllerProcess controller;
    QFile file(controller.filePath(QStringLiteral("program.pobj")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no program at all");
    file.close();
    controller.start();
    STARTS(controller);
    QVERIFY2(controller.errors().contains("is damaged or no program"), controller.errors().constData());
    controller.signal(SIGINT);
    ENDS_WITH(controller, 0);
}

void ProcessTest::twoFilesAreNone()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("start { send_string 5001:1:0, 'default' }"), QString());
    QCOMPARE(controller.install("start { send_string 5001:1:0, 'other' }", QStringLiteral("other.pobj")), QString());
    const QString other = controller.filePath(QStringLiteral("other.pobj"));
    controller.start({ other, other });
    QTRY_VERIFY(controller.output().contains("sended data is default"));
    QVERIFY(!controller.output().contains("sended data is other"));
}

void ProcessTest::monitorFromTheFirstLine()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("integer n\n start { n = 1 / n }"), QString());
    controller.start();
    QTRY_VERIFY(controller.output().contains("Online Event: 5001:4:0"));
    QStringList texts;
    for (const QByteArray &line : controller.output().split('\n')) {
        texts << QString::fromUtf8(line.mid(13)); // behind the time
    }
    QCOMPARE(texts.value(0), QStringLiteral("system    Network started."));
    QCOMPARE(texts.value(1), QStringLiteral("system    System changes are off: network and date stay"));
    QCOMPARE(texts.value(2), QStringLiteral("error     Error:Divided by 0"));
    QCOMPARE(texts.value(3), QStringLiteral("online    Online Event: 5001:1:0"));
}

void ProcessTest::chineseTexts()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("--language"), QStringLiteral("zh_CN") });
    QTRY_VERIFY(controller.output().contains("网络已启动"));

    ControllerProcess bySetting;
    QFile settings(bySetting.filePath(QStringLiteral("settings.ini")));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[General]\nlanguage=zh_CN\n");
    settings.close();
    bySetting.start();
    QTRY_VERIFY(bySetting.output().contains("网络已启动"));
}

void ProcessTest::signalsDuringAnEndlessLoop_data()
{
    const Table<int, int> row("number", "times");
    row("SIGTERM", SIGTERM, 1);
    row("SIGINT", SIGINT, 1);
    row("impatience", SIGTERM, 20);
}

void ProcessTest::signalsDuringAnEndlessLoop()
{
    QFETCH(int, number);
    QFETCH(int, times);
    ControllerProcess controller;
    QCOMPARE(controller.install(kEndless), QString());
    controller.start();
    QTRY_VERIFY(controller.output().contains("looping"));
    for (int count = 0; count < times; ++count) {
        controller.signal(number);
    }
    ENDS_WITH(controller, 0);
}

void ProcessTest::endlessStartBlock()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("start { send_string 5001:1:0, 'looping'\n while (1) { } }"), QString());
    controller.start();
    QTRY_VERIFY(controller.output().contains("looping"));
    controller.signal(SIGTERM);
    ENDS_WITH(controller, 0);
    QVERIFY(!controller.output().contains("Online Event"));
}

void ProcessTest::rebootDuringAnEndlessLoop()
{
    ControllerProcess controller;
    QCOMPARE(controller.install(kEndless), QString());
    controller.start();
    QTRY_VERIFY(controller.output().contains("looping"));
    LinkClient tool({ 2, 100, "tool", "1" });
    QSignalSpy introduced(&tool, &LinkClient::introduced);
    tool.connectTo(controller.address());
    QTRY_COMPARE(introduced.count(), 1);
    tool.sendTextCommand("reboot");
    ENDS_WITH(controller, 0);
    QVERIFY(controller.output().contains("Reboot device"));
}

void ProcessTest::rebootByTheProgram()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("start { reboot(0) }"), QString());
    controller.start();
    QTRY_VERIFY(controller.process().state() != QProcess::Starting);
    ENDS_WITH(controller, 0);
}

void ProcessTest::supervisorsFrames()
{
    ControllerProcess controller;
    QLocalServer server;
    QVERIFY(server.listen(controller.filePath(QStringLiteral("emulator"))));
    QCOMPARE(controller.install("device dvPanel = 10001:1:0\n"
                                "button_event [dvPanel, 1] { push: { send_string 5001:2:0, 'A' } }"),
             QString());
    controller.start();
    QTRY_VERIFY(server.hasPendingConnections());
    QLocalSocket *socket = server.nextPendingConnection();
    socket->write(QByteArray::fromHex("5651 00000001 03 03 AC")); // wants to see the port frames
    socket->flush();
    STARTS(controller);

    LinkClient panel({ 1, 10001, "panel", "1" });
    QSignalSpy introduced(&panel, &LinkClient::introduced);
    panel.connectTo(controller.address());
    QTRY_COMPARE(introduced.count(), 1);
    panel.push(1);
    const QByteArray lit = QByteArray::fromHex("5651 00000003 02 0C01 0F AC"
                                               "5651 00000003 02 0201 05 AC");
    const QByteArray port = QByteArray::fromHex("5651 00000005 04 15020141 5D AC");
    const QByteArray dark = QByteArray::fromHex("5651 00000003 02 0200 04 AC"
                                                "5651 00000003 02 0C00 0E AC");
    QByteArray bytes;
    connect(socket, &QLocalSocket::readyRead, this, [&] { bytes += socket->readAll(); });
    QTRY_COMPARE(bytes.toHex(), (lit + port + dark).toHex());

    socket->write(QByteArray::fromHex("5651 00000001 01 02 AC")); // a wrong checksum
    socket->write(QByteArray::fromHex("5651 00000001 07 07 AC")); // an unknown code
    panel.push(1);
    QTRY_VERIFY(bytes.count(port) == 2); // both were read and nothing came of them
    QVERIFY(controller.isRunning());
    bytes.clear();
    socket->write(QByteArray::fromHex("5651 00000001 01 01 AC"));
    ENDS_WITH(controller, 0);
    // The closing frame of the ports, twice because this was a reboot.
    QTRY_COMPARE(bytes.count(QByteArray::fromHex("5651 00000003 04 1900 1D AC")), 2);
}

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
