#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "tools/arkhost/ControllerArguments.h"
#include "tools/arkhost/CrashReports.h"
#include "tools/arkhost/HostLeds.h"
#include "tools/arkhost/HostStatus.h"
#include "tools/arkhost/HostStatusLine.h"
#include "tools/arkhost/OutputTail.h"
#include "tools/arkhost/RestartPauses.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>

/// The supervisor's logic, without a process.
class ArkhostTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pauses_data();
    void pauses();
    void tailIsBounded();
    void statusLine();
    void ledsFlicker();
    void statusSurvivesTheWire();
    void reportHasTheFacts();
    void keepsTheNewestReports();
    void argumentsOfTheController_data();
    void argumentsOfTheController();
};

void ArkhostTest::pauses_data()
{
    // lives: o: ends in order, c: crashes; after so many ms
    const Table<QString, QString> row("lives", "pauses");
    row("crashes in a row, up to a minute", "c100 c100 c100 c100 c100 c100 c100 c100 c100",
        "1000 2000 4000 8000 16000 32000 60000 60000 60000");
    row("a minute of life begins anew", "c100 c100 c59999 c60000 c100", "1000 2000 4000 1000 2000");
    row("restarts and reboots cost nothing", "o5000 o90000 o1000 o1000", "0 0 0 0");
    row("a reboot in the start block", "o20 o20 o20 o20 o20", "0 1000 2000 4000 8000");
    row("a restart ends a row of crashes", "c100 c100 o5000 c100", "1000 2000 0 1000");
    row("quick ends of both kinds", "c100 o20 c100", "1000 1000 4000");
    row("very many", QStringLiteral("c1 ").repeated(80).trimmed(),
        QStringLiteral("1000 2000 4000 8000 16000 32000 ") + QStringLiteral("60000 ").repeated(74).trimmed());
}

void ArkhostTest::pauses()
{
    QFETCH(QString, lives);
    QFETCH(QString, pauses);
    RestartPauses policy;
    QStringList got;
    qint64 nowMs = 1000000;
    for (const QString &life : lives.split(QLatin1Char(' '))) {
        policy.started(nowMs);
        nowMs += life.mid(1).toLongLong();
        const auto end = life.startsWith(QLatin1Char('o')) ? RestartPauses::End::InOrder : RestartPauses::End::Crash;
        const qint64 pauseMs = policy.pauseMs(end, nowMs);
        nowMs += pauseMs;
        got << QString::number(pauseMs);
    }
    QCOMPARE(got.join(QLatin1Char(' ')), pauses);
}

void ArkhostTest::tailIsBounded()
{
    OutputTail tail;
    tail.take("lost\n");
    for (int line = 1; line < OutputTail::kMaxLines; ++line) {
        tail.take(QByteArray::number(line));
        tail.take("\n");
    }
    tail.take("\nop");
    tail.take("en");
    QCOMPARE(tail.lines().size(), OutputTail::kMaxLines + 1);
    QCOMPARE(tail.lines().first(), QByteArray("1"));
    QCOMPARE(tail.lines().mid(OutputTail::kMaxLines - 1), (QByteArrayList{ "", "open" }));

    for (int piece = 0; piece < 100; ++piece) { // a line without an end
        tail.take(QByteArray(100, 'x'));
    }
    QCOMPARE(tail.lines().last().size(), OutputTail::kMaxLineBytes);
}

void ArkhostTest::statusLine()
{
    HostStatusLine line;
    const QByteArray erase = "\r\033[K";
    QCOMPARE(line.output("one\n"), QByteArray("one\n"));
    QCOMPARE(line.show("running", 80), QByteArray("\033[7mrunning\033[0m"));
    QCOMPARE(line.output("two\nthr"), erase + "two\nthr"); // an open line has no status below it
    QCOMPARE(line.show("running", 80), QByteArray());
    QCOMPARE(line.output("ee\n"), QByteArray("ee\n\033[7mrunning\033[0m"));
    QCOMPARE(line.show("running", 5), erase + "\033[7mrunn\033[0m");
    QCOMPARE(line.away(), erase);
    QCOMPARE(line.away(), QByteArray());
}

void ArkhostTest::ledsFlicker()
{
    HostLeds leds;
    leds.set(2, true);
    leds.set(12, true);
    leds.set(12, false); // before anybody could see it
    QVERIFY(!leds.set(1, true));
    QVERIFY(!leds.set(13, true));
    QVERIFY(!leds.set(255, true));
    QCOMPARE(leds.namesOfThoseOn(), QStringList{ QStringLiteral("serial 2") });
    QCOMPARE(leds.takeLine(), QStringLiteral("serial - 2 - -  ir - - - -  any *"));
    QCOMPARE(leds.takeLine(), QStringLiteral("serial - 2 - -  ir - - - -  any -"));
}

void ArkhostTest::statusSurvivesTheWire()
{
    HostStatus status;
    status.state = HostStatus::State::Waiting;
    status.starts = 3;
    status.crashes = 2;
    HostStatus::LastEnd &end = status.lastEnd.emplace();
    end.at = QStringLiteral("2026-01-02T03:04:05+01:00");
    end.reason = QStringLiteral("signal SIGSEGV");
    end.uptimeSeconds = 3661;
    status.nextStartInSeconds = 1.5;
    status.leds = QStringList{ QStringLiteral("serial 1"), QStringLiteral("any") };
    status.supervisorId = 77;
    status.supervisorUptimeSeconds = 100000;
    const std::optional<HostStatus> read = HostStatusText::fromJson(HostStatusText::json(status));
    QVERIFY(read);
    QCOMPARE(HostStatusText::lines(*read),
             QStringLiteral("state       waiting\n"
                            "process     none\n"
                            "uptime      0:00:00\n"
                            "starts      3\n"
                            "crashes     2\n"
                            "last end    signal SIGSEGV, 2026-01-02T03:04:05+01:00, after 1:01:01\n"
                            "next start  in 1.5 s\n"
                            "LEDs on     serial 1, any\n"
                            "supervisor  77, up 27:46:40\n"));
    for (const char *other : { "", "[]", "{}", "{\"state\":\"odd\"}", "no json" }) {
        QVERIFY2(!HostStatusText::fromJson(other), other);
    }
}

void ArkhostTest::reportHasTheFacts()
{
    QTemporaryDir directory;
    const QString object = directory.filePath(QStringLiteral("room.pobj"));
    QVERIFY(writeFile(object, "abc"));

    CrashReport report;
    report.at = QDateTime({ 2026, 1, 2 }, { 3, 4, 5 }, Qt::OffsetFromUTC, 3600);
    report.end = { true, SIGSEGV };
    report.uptimeSeconds = 61;
    report.pauseMs = 2000;
    report.controller = QStringLiteral("/opt/ark ivon");
    report.arguments = QStringList{ QStringLiteral("--monitor"), QStringLiteral("it's"), QString() };
    report.objectFile = object;
    report.lastLines = { "first", "last" };
    const QByteArray text = report.text();
    for (const char *line : { "time:         2026-01-02T03:04:05+01:00\n", "reason:       signal SIGSEGV\n",
                              "uptime:       0:01:01\n", "next start:   after 2 s\n", "size:         3 bytes\n",
                              "command:      '/opt/ark ivon' --monitor 'it'\\''s' ''\n",
                              "sha256:       ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n",
                              "output:\n\nfirst\nlast\n" }) {
        QVERIFY2(text.contains(line), (text + "\nlacks\n" + line).constData());
    }
    report.objectFile = directory.filePath(QStringLiteral("none.pobj"));
    QVERIFY(report.text().contains("none.pobj: No such file"));
}

void ArkhostTest::keepsTheNewestReports()
{
    QTemporaryDir directory;
    const QString folder = directory.filePath(QStringLiteral("made/here"));
    const CrashReports reports(folder, 3);
    CrashReport report;
    report.at = QDateTime({ 2026, 1, 2 }, { 3, 4, 5 }, Qt::UTC);
    QString last;
    for (int count = 0; count < 6; ++count) { // two within each second
        const CrashReports::Outcome outcome = reports.write(report);
        QCOMPARE(outcome.problem, QString());
        last = outcome.path;
        report.at = report.at.addMSecs(500);
    }
    QFile notes(folder + QStringLiteral("/notes.txt"));
    QVERIFY(notes.open(QIODevice::WriteOnly));                // somebody's own
    report.at = QDateTime({ 1970, 1, 1 }, { 0, 0 }, Qt::UTC); // a clock that has lost the time
    const QString oldest = QFileInfo(reports.write(report).path).fileName();
    QCOMPARE(QDir(folder).entryList(QDir::Files, QDir::Name),
             (QStringList{ oldest, QStringLiteral("crash-20260102-030407-00.txt"), QFileInfo(last).fileName(),
                           QStringLiteral("notes.txt") }));

    const CrashReports nowhere(notes.fileName() + QStringLiteral("/reports"), 3); // below a file
    QVERIFY(!nowhere.write(report).problem.isEmpty());
}

void ArkhostTest::argumentsOfTheController_data()
{
    // objectFile: % is the data directory, which exists
    const Table<QStringList, QString> row("arguments", "objectFile");
    const QString option = QStringLiteral("--data-dir");
    row("default program", { option, "%" }, "%/program.pobj");
    row("in one word", { option + QStringLiteral("=%") }, "%/program.pobj");
    row("named", { option, "%", "%/a" }, "%/a");
    row("two are as good as none", { option, "%", "%/a", "%/b" }, "%/program.pobj");
}

void ArkhostTest::argumentsOfTheController()
{
    QTemporaryDir directory;
    for (const char *name : { "/a", "/b" }) {
        QVERIFY(writeFile(directory.path() + QLatin1String(name), {}));
    }
    QFETCH(QStringList, arguments);
    QFETCH(QString, objectFile);
    arguments.replaceInStrings(QStringLiteral("%"), directory.path());
    QCOMPARE(ControllerArguments::objectFile(arguments), objectFile.replace(QLatin1Char('%'), directory.path()));
}

TEST_CLASS(ArkhostTest)
#include "ArkhostTest.moc"
