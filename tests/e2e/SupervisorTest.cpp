#include "ControllerProcess.h"
#include "base/Frame.h"
#include "net/client/LinkClient.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>

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
    void startsAgainWhatHangs();
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
    const QString fake = controller.filePath(QStringLiteral("fake"));
    QVERIFY(writeFile(fake, "#!/bin/sh\n" + script));
    QFile::setPermissions(fake, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    startHost(controller, { QStringLiteral("--controller"), fake });
}

struct StatusRun : ToolRun
{
    QJsonObject json;

    qint64 processId() const { return static_cast<qint64>(json.value(QLatin1String("pid")).toDouble()); }
    int number(const char *key) const { return json.value(QLatin1String(key)).toInt(-1); }
    QString state() const { return json.value(QLatin1String("state")).toString(); }
};

/// arkhost status, beside the supervisor of a controller.
StatusRun askStatus(const ControllerProcess &controller, const QStringList &options = { QStringLiteral("--json") })
{
    const ToolRun run = runTool(QStringLiteral(ARKHOST_PROGRAM), QStringList{ QStringLiteral("status") } + options, {},
                                { {}, controller.environment() });
    return { run, QJsonDocument::fromJson(run.output).object() };
}

/// The crash reports, oldest first.
QByteArrayList reportsOf(const ControllerProcess &controller)
{
    const QDir directory(controller.filePath(QStringLiteral("crash-reports")));
    QByteArrayList texts;
    for (const QString &name : directory.entryList(QDir::Files, QDir::Name)) {
        texts << contentOf(directory.filePath(name));
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
    IS_UP(controller);
    LinkClient tool({ 2, 100, "tool", "1" });
    JOINS(tool, controller);
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
    JOINS(panel, controller);
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
    INSTALLS(controller, "device dvPanel = 10001:1:0\nbutton_event [dvPanel, 1] { push: { on [dvPanel, 1] } }");
    startHost(controller);
    int crashes = 0;
    StatusRun waiting;
    while (crashes < 2 || (waiting.state() != QLatin1String("waiting") && crashes < 5)) { // the pause may be missed
        QTRY_COMPARE(controller.output().count("Network started."), crashes + 1);
        const StatusRun before = askStatus(controller);
        QCOMPARE(before.status, 0);
        QCOMPARE(before.number("crashes"), crashes);
        ::kill(static_cast<pid_t>(before.processId()), SIGABRT); // SIGSEGV the sanitizers would turn into a status
        ++crashes;
        QTRY_COMPARE(reportsOf(controller).size(), crashes);
        waiting = askStatus(controller);
    }
    QCOMPARE(waiting.status, 1);
    QCOMPARE(waiting.state(), QStringLiteral("waiting"));
    QVERIFY(waiting.json.value(QLatin1String("nextStartInSeconds")).isDouble());
    QTRY_COMPARE(controller.output().count("Network started."),
                 crashes + 1); // and it is whole: it has its program, and serves
    LinkClient panel({ 1, 10001, "panel", "1" });
    JOINS(panel, controller);

    QVERIFY(controller.output().contains("crashed: signal SIGABRT"));
    QVERIFY(controller.output().contains("It is started again in 2 s."));
    const QByteArray count = QByteArray::number(crashes);
    const QByteArray report = reportsOf(controller).last();
    QVERIFY2(report.contains("crashes:      " + count + '\n'), report.constData());
    for (const char *part :
         { "reason:       signal SIGABRT\n", "--data-dir", "program.pobj\n", "sha256:", "Network started.\n" }) {
        QVERIFY2(report.contains(part), (report + "\nlacks\n" + part).constData());
    }
    const StatusRun text = askStatus(controller, {});
    const QByteArray counts = "\nstarts      " + QByteArray::number(crashes + 1) + "\ncrashes     " + count;
    QVERIFY2(text.output.contains(counts + "\nlast end    signal SIGABRT, "), text.output.constData());
    controller.signal(SIGHUP);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void SupervisorTest::reportsWhatAControllerDoes_data()
{
    const Table<QByteArray, QByteArray, QByteArray> row("script", "reason", "lastLines");
    row("a status", "echo out; echo err >&2; exit 3", "exit status 3", "");
    row("a signal, in the middle of a line", "printf 'half a li'; kill -ABRT $$", "signal SIGABRT", "half a li\n");
    row("wrong use, but not of the first", "test -e $2/once && { echo taken; exit 2; }; touch $2/once; exit 1",
        "exit status 2", "taken\n");
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

void SupervisorTest::startsAgainWhatHangs()
{
    ControllerProcess controller;
    INSTALLS(controller, "integer n\nstart { wait 1 { while (1) { n = 1 } } }");
    startHost(controller, { QStringLiteral("--watchdog"), QStringLiteral("0.5") });
    QTRY_COMPARE_WITH_TIMEOUT(reportsOf(controller).size(), 1, 30000);
    const QByteArray report = reportsOf(controller).first();
    QVERIFY2(report.contains("reason:       no sign of life for 0.5 s\n"), report.constData());
    QTRY_VERIFY_WITH_TIMEOUT(controller.output().count("Network started.") == 2, 30000);
    controller.signal(SIGTERM);
    QTRY_VERIFY_WITH_TIMEOUT(!controller.isRunning(), 20000);
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

    const ToolRun second = runTool(QStringLiteral(ARKHOST_PROGRAM), {}, {}, { {}, controller.environment() });
    QCOMPARE(second.status, 2);
    QVERIFY(second.errors.contains("Another supervisor"));

    controller.signal(SIGKILL);
    QTRY_VERIFY(!controller.isRunning());
    QTRY_VERIFY(!isAlive(process));
    QVERIFY(QFile::exists(controller.filePath(QStringLiteral("emulator")))); // and is in nobody's way
    startHost(controller);
    IS_UP(controller);
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
    QCOMPARE(none.status, 1);
    QCOMPARE(none.output, QByteArray("{\"state\":\"none\"}\n"));
    QVERIFY(none.errors.contains("no supervisor"));
    const StatusRun wrong = askStatus(controller, { QStringLiteral("--nonsense") });
    QCOMPARE(wrong.status, 2);
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

TEST_CLASS(SupervisorTest)
#include "SupervisorTest.moc"
