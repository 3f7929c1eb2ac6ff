#include "ControllerProcess.h"
#include "compiler/Compiler.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

#include <csignal>

/// Files on their way to a real controller and back, with the real tool.
class UploadTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void newProgramTakesOver();
    void oldProgramStaysWhenTheToolIsKilled();
    void namedObjectFileIsTheOneReplaced();
    void filesThereAndBack();
    void webArchiveIsUnpacked();
    void refusals_data();
    void refusals();

private:
    static QByteArray program(const char *name);
};

namespace {
ToolRun arkctl(const ControllerProcess &controller, const QStringList &arguments)
{
    return runTool(QStringLiteral(ARKCTL_PROGRAM),
                   QStringList{ QStringLiteral("--host"), controller.address() } + arguments, {},
                   { controller.filePath(QString()) });
}
} // namespace

/// Counts its starts in a value that goes with it and in one that stays, and then never comes to rest.
QByteArray UploadTest::program(const char *name)
{
    const QString source = QStringLiteral("device dvPort = 5001:1:0\n"
                                          "non_volatile integer nGoes\n persistent integer nStays\n"
                                          "data_event [dvPort] { online: {\n"
                                          "nGoes = nGoes + 1\n nStays = nStays + 1\n"
                                          "send_string dvPort, \"'%1 ', itoa(nGoes), ' ', itoa(nStays)\"\n"
                                          "while (1) { } } }")
                               .arg(QLatin1String(name));
    return compileSource(source).objectFile;
}

void UploadTest::newProgramTakesOver()
{
    ControllerProcess controller;
    QVERIFY(writeFile(controller.filePath(QStringLiteral("program.pobj")), program("first")));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("new.pobj")), program("second")));
    controller.startWith(QStringLiteral(ARKHOST_PROGRAM),
                         QStringList{ QStringLiteral("--") } + controller.standardArguments());
    SAYS(controller, "first 1 1");
    const ToolRun tool = arkctl(controller, { QStringLiteral("upload"), QStringLiteral("new.pobj") });
    QVERIFY2(tool.status == 0, tool.errors.constData());
    QVERIFY2(tool.output.startsWith("new.pobj: "), tool.output.constData());
    SAYS(controller, "second 1 2");
    QVERIFY(controller.output().contains("status 0 and is started again"));
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
}

void UploadTest::oldProgramStaysWhenTheToolIsKilled()
{
    ControllerProcess controller;
    QVERIFY(writeFile(controller.filePath(QStringLiteral("program.pobj")), program("first")));
    controller.start();
    SAYS(controller, "first 1 1");
    QTcpSocket tool;
    tool.connectToHost(controller.address(), 6139);
    tool.write(QByteArray::fromHex("5651 0000000C 22 00 00001000 612E706F626A 6C AC")); // 4096 bytes, "a.pobj"
    tool.write(QByteArray::fromHex("5651 00000006 23 00000000 41 64 AC"));              // and the first of them
    const QString temporary = controller.filePath(QStringLiteral("program.pobj.unfinished"));
    QTRY_VERIFY(QFile::exists(temporary));
    tool.abort();
    QTRY_VERIFY(!QFile::exists(temporary));
    QVERIFY(writeFile(temporary, "of a controller that lost its power"));
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("program.pobj"))), program("first"));
    controller.start();
    SAYS(controller, "first 2 2"); // nothing forgotten
    QVERIFY(!QFile::exists(temporary));
}

void UploadTest::namedObjectFileIsTheOneReplaced()
{
    ControllerProcess controller;
    const QString named = controller.filePath(QStringLiteral("room.pobj"));
    QVERIFY(writeFile(named, program("first")));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("new.pobj")), program("second")));
    controller.start({ named });
    QTRY_VERIFY(controller.output().contains("first 1 1"));
    QCOMPARE(arkctl(controller, { QStringLiteral("upload"), QStringLiteral("new.pobj") }).status, 0);
    QCOMPARE(contentOf(named), program("second"));
    QVERIFY(!QFile::exists(controller.filePath(QStringLiteral("program.pobj"))));
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void UploadTest::filesThereAndBack()
{
    ControllerProcess controller;
    controller.start();
    IS_UP(controller);
    QByteArray large(3000000, Qt::Uninitialized);
    std::generate(large.begin(), large.end(),
                  [n = 0U]() mutable { return static_cast<char>((n += 2654435761U) >> 24); });
    QVERIFY(writeFile(controller.filePath(QStringLiteral("room.src")), large));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("panel.dtp")), "design"));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("tv-3.ir")), "codes"));
    const ToolRun sent =
        arkctl(controller, { QStringLiteral("upload"), QStringLiteral("room.src"), QStringLiteral("panel.dtp"),
                             QStringLiteral("tv-3.ir"), QStringLiteral("--json") });
    QVERIFY2(sent.status == 0, sent.errors.constData());
    QCOMPARE(sent.output.count('\n'), 3);
    const QJsonObject first = QJsonDocument::fromJson(sent.output.split('\n').first()).object();
    QCOMPARE(first.value(QStringLiteral("bytes")).toInt(), large.size());
    QCOMPARE(first.value(QStringLiteral("state")).toString(), QStringLiteral("done"));
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("source.src"))), large);
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("ui.dtp"))), QByteArray("design"));
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("ir3.ir"))), QByteArray("codes"));

    const QString back = controller.filePath(QStringLiteral("back"));
    for (const auto &[kind, bytes] : { std::pair("source", large), { "ui", "design" }, { "ir3", "codes" } }) {
        const ToolRun fetched = arkctl(controller, { QStringLiteral("download"), QLatin1String(kind),
                                                     QStringLiteral("-o"), QStringLiteral("back") });
        QVERIFY2(fetched.status == 0, fetched.errors.constData());
        QCOMPARE(contentOf(back), bytes);
    }
}

void UploadTest::webArchiveIsUnpacked()
{
    ControllerProcess controller;
    controller.start();
    IS_UP(controller);
    // "page.html" with "hi", stored.
    const QByteArray archive = QByteArray::fromHex(
        "504B0304 1400 0000 0000 00000000 AC2A93D8 02000000 02000000 0900 0000 706167652E68746D6C 6869"
        "504B0102 1400 1400 0000 0000 00000000 AC2A93D8 02000000 02000000 0900 0000 0000 0000 0000 00000000 00000000"
        "706167652E68746D6C 504B0506 0000 0000 0100 0100 37000000 29000000 0000");
    QVERIFY(writeFile(controller.filePath(QStringLiteral("site.zip")), archive));
    ToolRun tool = arkctl(controller, { QStringLiteral("upload"), QStringLiteral("site.zip") });
    QVERIFY2(tool.output.endsWith("; 1 files unpacked\n"), (tool.output + tool.errors).constData());
    QCOMPARE(tool.status, 0);
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("web/page.html"))), QByteArray("hi"));

    QVERIFY(writeFile(controller.filePath(QStringLiteral("site.zip")), "no archive"));
    tool = arkctl(controller, { QStringLiteral("upload"), QStringLiteral("site.zip") });
    QCOMPARE(tool.status, 1);
    QVERIFY2(tool.errors.contains("site.zip: This is no ZIP archive; the web folder is as it was"),
             tool.errors.constData());
    QCOMPARE(contentOf(controller.filePath(QStringLiteral("web/page.html"))), QByteArray("hi"));
}

void UploadTest::refusals_data()
{
    const Table<QString, int, QByteArray> row("command", "status", "text");
    row("upload none.pobj", 2, "none.pobj does not exist");
    row("upload empty.src", 2, "empty.src is empty");
    row("upload room.exe", 2, "a controller takes .pobj");
    row("upload text.pobj", 2, "text.pobj: this is no object file");
    row("upload source.src cut.pobj", 2, "cut.pobj: the object file is damaged"); // nothing is sent
    row("upload tv.ir", 2, "--ir NUMBER");
    row("upload tv.ir --ir 9", 2, "--ir");
    row("upload panel.dtp", 1, "panel.dtp: Failed to open file; the controller keeps its old file");
    row("download ir3 -o new", 1, "the controller has no such file");
    row("download source -o ui.dtp", 1, "ui.dtp: is there and no file");
    row("download program", 2, "nothing to download is called program");
    row("download source", 2, "source.src is here already");
}

void UploadTest::refusals()
{
    QFETCH(QString, command);
    QFETCH(int, status);
    QFETCH(QByteArray, text);
    ControllerProcess controller;
    QVERIFY(writeFile(controller.filePath(QStringLiteral("source.src")), "here"));
    for (const char *const name : { "room.exe", "tv.ir", "panel.dtp" }) {
        QVERIFY(writeFile(controller.filePath(QLatin1String(name)), "x"));
    }
    QVERIFY(writeFile(controller.filePath(QStringLiteral("empty.src")), {}));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("text.pobj")), "start {}"));
    QVERIFY(writeFile(controller.filePath(QStringLiteral("cut.pobj")), program("whole").chopped(1)));
    QVERIFY(QDir(controller.filePath(QString())).mkdir(QStringLiteral("ui.dtp"))); // in the way of the design
    controller.start();
    IS_UP(controller);
    const ToolRun tool = arkctl(controller, command.split(QLatin1Char(' ')));
    QCOMPARE(tool.status, status);
    QVERIFY2(tool.errors.contains(text), tool.errors.constData());
    QVERIFY(!QFile::exists(controller.filePath(QStringLiteral("new"))));
}

TEST_CLASS(UploadTest)
#include "UploadTest.moc"
