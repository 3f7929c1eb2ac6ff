#include "ControllerProcess.h"
#include "base/Frame.h"
#include "net/LinkClient.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

/// The supervisor with a real controller below it.
class SupervisorTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startsAgainAfterAReboot();
    void showsLedsAndPorts();
    void givesUpOnWrongArguments();
    void survivesCrashes();
    void reportsWhatAControllerDoes_data();
    void reportsWhatAControllerDoes();
    void passesMuchOutputOn();
    void killsAControllerThatDoesNotEnd();
    void isNotSurvivedByItsController();
    void answersBesideOddClients();
    void saysThatThereIsNone();
    void saysThatItCannotWrite();
};

namespace {
void startHost(ControllerProcess &controller, const QStringList &hostOptions = {})
{
    controller.startWith(QStringLiteral(ARKHOST_PROGRAM),
                         hostOptions + QStringList{ QStringLiteral("--") } + controller.standardArguments());
}

/// A supervisor of a shell script in place of a controller.
void startHostOf(ControllerProcess &controller, const QByteArray &script)
{
    QFile file(controller.filePath(QStringLiteral("fake")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\n" + script);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    file.close();
    startHost(controller, { QStringLiteral("--controller"), file.fileName() });
}

struct StatusRun
{
    int exitStatus = -1;
    QByteArray output;
    QByteArray errors;
    QJsonObject json;

    qint64 processId() const { return static_cast<qint64>(json.value(QLatin1String("pid")).toDouble()); }
    int number(const char *key) const { return json.value(QLatin1String(key)).toInt(-1); }
    QString state() const { return json.value(QLatin1String("state")).toString(); }
};

/// arkhost status, beside the supervisor of a controller.
StatusRun askStatus(const ControllerProcess &controller, const QStringList &options = { QStringLiteral("--json") })
{
    QProcess process;
    process.setProcessEnvironment(controller.environment());
    process.start(QStringLiteral(ARKHOST_PROGRAM), QStringList{ QStringLiteral("status") } + options);
    process.waitForFinished();
    StatusRun run{ process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError(), {} };
    run.json = QJsonDocument::fromJson(run.output).object();
    return run;
}

/// The crash reports, oldest first.
QByteArrayList reportsOf(const ControllerProcess &controller)
{
    const QDir directory(controller.filePath(QStringLiteral("crash-reports")));
    QByteArrayList texts;
    for (const QString &name : directory.entryList(QDir::Files, QDir::Name)) {
        QFile file(directory.filePath(name));
        texts << (file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }
    return texts;
}

bool isAlive(qint64 process)
{
    return ::kill(static_cast<pid_t>(process), 0) == 0;
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

void SupervisorTest::survivesCrashes()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("device dvPanel = 10001:1:0\nbutton_event [dvPanel, 1] { push: { on [dvPanel, 1] } }"),
             QString());
    startHost(controller);
    for (int crash = 1; crash <= 2; ++crash) {
        QTRY_COMPARE(controller.output().count("Network started."), crash);
        const StatusRun before = askStatus(controller);
        QCOMPARE(before.exitStatus, 0);
        QCOMPARE(before.number("crashes"), crash - 1);
        ::kill(static_cast<pid_t>(before.processId()), SIGABRT); // SIGSEGV the sanitizers would turn into a status
        QTRY_COMPARE(reportsOf(controller).size(), crash);
    }
    const StatusRun waiting = askStatus(controller);
    QCOMPARE(waiting.exitStatus, 1);
    QCOMPARE(waiting.state(), QStringLiteral("waiting"));
    QVERIFY(waiting.json.value(QLatin1String("nextStartInSeconds")).isDouble());
    QTRY_COMPARE(controller.output().count("Network started."), 3); // and it is whole: it has its program, and serves
    LinkClient panel({ 1, 10001, "panel", "1" });
    QSignalSpy introduced(&panel, &LinkClient::introduced);
    panel.connectTo(controller.address());
    QTRY_COMPARE(introduced.count(), 1);

    QVERIFY(controller.output().contains("crashed: signal SIGABRT"));
    QVERIFY(controller.output().contains("It is started again in 2 s."));
    const QByteArray report = reportsOf(controller).last();
    for (const char *part : { "reason:       signal SIGABRT\n", "crashes:      2\n", "--data-dir", "program.pobj\n",
                              "sha256:", "Network started.\n" }) {
        QVERIFY2(report.contains(part), (report + "\nlacks\n" + part).constData());
    }
    const StatusRun text = askStatus(controller, {});
    QVERIFY2(text.output.contains("\nstarts      3\ncrashes     2\nlast end    signal SIGABRT, "),
             text.output.constData());
    controller.signal(SIGHUP);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void SupervisorTest::reportsWhatAControllerDoes_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("reason");
    QTest::addColumn<QByteArray>("lastLines");
    QTest::newRow("a status") << QByteArray("echo out; echo err >&2; exit 3") << QByteArray("exit status 3")
                              << QByteArray();
    QTest::newRow("a signal, in the middle of a line")
        << QByteArray("printf 'half a li'; kill -ABRT $$") << QByteArray("signal SIGABRT") << QByteArray("half a li\n");
    QTest::newRow("wrong use, but not of the first")
        << QByteArray("test -e $2/once && { echo taken; exit 2; }; touch $2/once; exit 1")
        << QByteArray("exit status 2") << QByteArray("taken\n");
}

void SupervisorTest::reportsWhatAControllerDoes()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, reason);
    QFETCH(QByteArray, lastLines);
    ControllerProcess controller;
    startHostOf(controller, script);
    QTRY_VERIFY2(controller.output().contains("in 2 s."), controller.output().constData());
    QTRY_COMPARE(reportsOf(controller).size(), 2);
    const QByteArray report = reportsOf(controller).last();
    QVERIFY2(report.contains("reason:       " + reason + '\n'), report.constData());
    QVERIFY2(report.endsWith(lastLines), report.constData());
    controller.signal(SIGINT); // while it waits for the next start
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void SupervisorTest::passesMuchOutputOn()
{
    ControllerProcess controller;
    startHostOf(controller, "seq 1000000 1299999\nprintf 'the end'\nexec sleep 100");
    QByteArray expected;
    for (int line = 1000000; line < 1300000; ++line) {
        expected += QByteArray::number(line) + '\n';
    }
    QTRY_VERIFY_WITH_TIMEOUT(controller.output().endsWith("the end"), 30000); // at once, without a line end
    QVERIFY(controller.output() == expected + "the end");
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
}

void SupervisorTest::killsAControllerThatDoesNotEnd()
{
    ControllerProcess controller;
    startHostOf(controller, "trap '' TERM INT HUP\necho deaf\nwhile :; do sleep 1; done");
    QTRY_VERIFY(controller.output().contains("deaf"));
    const qint64 process = askStatus(controller).processId();
    QVERIFY(isAlive(process));
    controller.signal(SIGTERM);
    QTRY_COMPARE(askStatus(controller).state(), QStringLiteral("ending"));
    QTRY_VERIFY_WITH_TIMEOUT(!controller.isRunning(), 20000);
    QVERIFY(!isAlive(process));
}

void SupervisorTest::isNotSurvivedByItsController()
{
    ControllerProcess controller;
    startHostOf(controller, "trap '' TERM INT HUP\necho deaf\nwhile :; do sleep 1; done");
    QTRY_VERIFY(controller.output().contains("deaf"));
    const qint64 process = askStatus(controller).processId();

    QProcess second;
    second.setProcessEnvironment(controller.environment());
    second.start(QStringLiteral(ARKHOST_PROGRAM), {});
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 2);
    QVERIFY(second.readAllStandardError().contains("Another supervisor"));

    controller.signal(SIGKILL);
    QTRY_VERIFY(!controller.isRunning());
    QTRY_VERIFY(!isAlive(process));
    QVERIFY(QFile::exists(controller.filePath(QStringLiteral("emulator")))); // and is in nobody's way
    startHost(controller);
    QTRY_VERIFY2(controller.output().contains("Network started."), controller.errors().constData());
}

void SupervisorTest::answersBesideOddClients()
{
    ControllerProcess controller;
    startHostOf(controller, "echo up; exec sleep 100");
    QTRY_VERIFY(controller.output().contains("up"));
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    for (int count = 0; count < 60; ++count) { // silent ones, garbage, half a question, LEDs that are not theirs
        const QByteArray words[] = { {}, QByteArray(5000, '\xff'), "VQ", frameBytes(2, QByteArray("\0\1", 2)) };
        clients.push_back(std::make_unique<QLocalSocket>());
        clients.back()->connectToServer(controller.filePath(QStringLiteral("emulator")));
        QVERIFY(clients.back()->waitForConnected());
        clients.back()->write(words[count % 4]);
        clients.back()->flush();
    }
    const StatusRun run = askStatus(controller);
    QCOMPARE(run.state(), QStringLiteral("running"));
    QVERIFY(run.output.contains("\"leds\":[]"));
    QVERIFY(!controller.output().contains("LED"));
    const auto connected = [&clients] {
        return std::count_if(clients.begin(), clients.end(), [](const std::unique_ptr<QLocalSocket> &client) {
            return client->state() == QLocalSocket::ConnectedState;
        });
    };
    QTRY_VERIFY(connected() <= 16);
    QTRY_COMPARE_WITH_TIMEOUT(connected(), 0, 15000);
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
}

void SupervisorTest::saysThatThereIsNone()
{
    const ControllerProcess controller;
    const StatusRun none = askStatus(controller);
    QCOMPARE(none.exitStatus, 1);
    QCOMPARE(none.output, QByteArray("{\"state\":\"none\"}\n"));
    QVERIFY(none.errors.contains("no supervisor"));
    const StatusRun wrong = askStatus(controller, { QStringLiteral("--nonsense") });
    QCOMPARE(wrong.exitStatus, 2);
    QCOMPARE(wrong.errors.count('\n'), 1);
}

void SupervisorTest::saysThatItCannotWrite()
{
    const ControllerProcess controller;
    for (const QStringList &words :
         { QStringList{ QStringLiteral("--help") }, { QStringLiteral("status"), QStringLiteral("--json") } }) {
        QProcess process;
        process.setProcessEnvironment(controller.environment());
        process.setStandardOutputFile(QStringLiteral("/dev/full"));
        process.start(QStringLiteral(ARKHOST_PROGRAM), words);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        const QByteArray errors = process.readAllStandardError();
        QVERIFY2(errors.contains("arkhost: cannot write the output: No space left on device"), errors.constData());
    }
}

QTEST_GUILESS_MAIN(SupervisorTest)
#include "SupervisorTest.moc"
