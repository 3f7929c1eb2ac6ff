#include "ControllerProcess.h"
#include "base/Frame.h"
#include "net/client/LinkClient.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QLocalServer>
#include <QLocalSocket>

#include <csignal>

/// How the process starts and ends.
class ProcessTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void refusesToStart_data();
    void refusesToStart();
    void startsAllTheSame_data();
    void startsAllTheSame();
    void twoFilesAreNone();
    void monitorFromTheFirstLine();
    void chineseTexts();
    void signalsDuringAnEndlessLoop_data();
    void signalsDuringAnEndlessLoop();
    void rebootDuringAnEndlessLoop();
    void rebootByTheProgram();
    void supervisorsFrames();
};

namespace {
const char kEndless[] = "device dvPort = 5001:1:0\n integer n\n"
                        "data_event [dvPort] { online: { send_string dvPort, 'looping'\n while (1) { n = n + 1 } } }";
}

#define ENDS_WITH(controller, status)                                                                                  \
    QTRY_VERIFY2(!(controller).isRunning(), "still running");                                                          \
    QCOMPARE((controller).process().exitStatus(), QProcess::NormalExit);                                               \
    QCOMPARE((controller).exitCode(), status)

void ProcessTest::refusesToStart_data()
{
    const Table<QStringList, QByteArray> row("arguments", "error"); // FILE is a plain file
    row("unknown option", { "--nonsense" }, "nonsense");
    row("data directory below a file", { "--data-dir", "FILE/below" }, "/file/below");
}

void ProcessTest::refusesToStart()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, error);
    ControllerProcess controller;
    const QString file = controller.filePath(QStringLiteral("file"));
    QVERIFY(writeFile(file, {}));
    controller.startWith(QStringLiteral(ARKIVON_PROGRAM), arguments.replaceInStrings(QStringLiteral("FILE"), file));
    QTRY_VERIFY(controller.errors().contains(error));
    ENDS_WITH(controller, 2);
}

void ProcessTest::startsAllTheSame_data()
{
    const Table<QStringList, QByteArray, QByteArray> row("arguments", "errors", "line");
    row("data directory that takes nothing", { "--data-dir", "/proc" }, // not even root's
        "Values are not kept: cannot write in /proc: ", "Error:Values are not kept");
    row("missing file", { "none.pobj" }, "Object file none.pobj does not exist\n",
        "Error:Object file none.pobj does not exist");
    row("damaged file", {}, "", "is damaged or no program");
}

void ProcessTest::startsAllTheSame()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, errors);
    QFETCH(QByteArray, line);
    ControllerProcess controller;
    QVERIFY(writeFile(controller.filePath(QStringLiteral("program.pobj")), "no program at all"));
    controller.startWith(QStringLiteral(ARKIVON_PROGRAM), controller.standardArguments() + arguments);
    IS_UP(controller);
    QVERIFY2(controller.errors().startsWith(errors), controller.errors().constData());
    QVERIFY2(controller.output().contains(line), controller.output().constData());
    controller.signal(SIGINT);
    ENDS_WITH(controller, 0);
}

void ProcessTest::twoFilesAreNone()
{
    ControllerProcess controller;
    INSTALLS(controller, "start { send_string 5001:1:0, 'default' }");
    QCOMPARE(controller.install("start { send_string 5001:1:0, 'other' }", QStringLiteral("other.pobj")), QString());
    const QString other = controller.filePath(QStringLiteral("other.pobj"));
    controller.start({ other, other });
    QTRY_VERIFY(controller.output().contains("sended data is default"));
    QVERIFY(!controller.output().contains("sended data is other"));
}

void ProcessTest::monitorFromTheFirstLine()
{
    ControllerProcess controller;
    INSTALLS(controller, "integer n\n start { n = 1 / n }");
    controller.start();
    QTRY_VERIFY(controller.output().contains("Online Event: 5001:4:0"));
    QStringList texts;
    for (const QByteArray &line : controller.output().split('\n')) {
        texts << QString::fromUtf8(line.mid(13)); // behind the time
    }
    QCOMPARE(texts.value(0), QStringLiteral("system       Network started."));
    QCOMPARE(texts.value(1), QStringLiteral("system       System changes are off: network and date stay"));
    QCOMPARE(texts.value(2), QStringLiteral("error        Error:Divided by 0"));
    QCOMPARE(texts.value(3), QStringLiteral("online       Online Event: 5001:1:0"));
}

void ProcessTest::chineseTexts()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("--language"), QStringLiteral("zh_CN") });
    QTRY_VERIFY(controller.output().contains("网络已启动"));

    ControllerProcess bySetting;
    QVERIFY(writeFile(bySetting.filePath(QStringLiteral("settings.ini")), "[General]\nlanguage=zh_CN\n"));
    bySetting.start();
    QTRY_VERIFY(bySetting.output().contains("网络已启动"));
}

void ProcessTest::signalsDuringAnEndlessLoop_data()
{
    const Table<QByteArray, int, int> row("program", "number", "times");
    row("SIGTERM", kEndless, SIGTERM, 1);
    row("SIGINT", kEndless, SIGINT, 1);
    row("impatience", kEndless, SIGTERM, 20);
    row("in the start block", "start { send_string 5001:1:0, 'looping'\n while (1) { } }", SIGTERM, 1);
}

void ProcessTest::signalsDuringAnEndlessLoop()
{
    QFETCH(QByteArray, program);
    QFETCH(int, number);
    QFETCH(int, times);
    ControllerProcess controller;
    INSTALLS(controller, program.constData());
    controller.start();
    SAYS(controller, "looping");
    for (int count = 0; count < times; ++count) {
        controller.signal(number);
    }
    ENDS_WITH(controller, 0);
    QCOMPARE(controller.output().contains("Online Event"), program == kEndless);
}

void ProcessTest::rebootDuringAnEndlessLoop()
{
    ControllerProcess controller;
    INSTALLS(controller, kEndless);
    controller.start();
    QTRY_VERIFY(controller.output().contains("looping"));
    LinkClient tool({ 2, 100, "tool", "1" });
    JOINS(tool, controller);
    tool.sendTextCommand("reboot");
    ENDS_WITH(controller, 0);
    QVERIFY(controller.output().contains("Reboot device"));
}

void ProcessTest::rebootByTheProgram()
{
    ControllerProcess controller;
    INSTALLS(controller, "start { reboot(0) }");
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
    IS_UP(controller);

    LinkClient panel({ 1, 10001, "panel", "1" });
    JOINS(panel, controller);
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

TEST_CLASS(ProcessTest)
#include "ProcessTest.moc"
