#include "compiler/Compiler.h"
#include "inspect/Questions.h"
#include "runtime/BusyWatch.h"
#include "support/ScriptedProgram.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

/// Whole programs in the source form with what they must do: see support/ScriptedProgram.h for the notation.
/// A file holds several programs, each after a line "//# what it shows".
class ProgramsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void plays_data()
    {
        const Table<QString> row("source");
        const QDir folder(QStringLiteral(PROGRAMS_DIRECTORY));
        for (const QString &fileName : folder.entryList({ QStringLiteral("*.src") }, QDir::Files, QDir::Name)) {
            QFile file(folder.filePath(fileName));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(file.readAll());
            for (const QString &part : (QLatin1Char('\n') + text).split(QStringLiteral("\n//# ")).mid(1)) {
                const QString title = part.section(QLatin1Char('\n'), 0, 0);
                row(qPrintable(fileName + QStringLiteral(": ") + title), QStringLiteral("//# ") + part);
            }
        }
    }

    void plays()
    {
        QFETCH(QString, source);
        const QString difference = ScriptedProgram::play(source);
        QVERIFY2(difference.isEmpty(), qPrintable(QLatin1Char('\n') + difference));
    }

    /// A program in an endless loop says where it is, from a thread that does not wait for it.
    void saysWhereItIsBusy()
    {
        const CompileResult compiled =
            compileSource(QStringLiteral("device dvPanel = 10001:1:0\n"
                                         "integer n\n"
                                         "routine Spin()\n{\n"
                                         "    while (n < 1) { n = 0 }\n}\n"
                                         "button_event [dvPanel, 1] { push: { call Spin() } }\n"));
        const QTemporaryDir folder;
        ControlProgram program(folder.path());
        const QByteArray file = compiled.objectFile + compiled.places;
        QDataStream stream(file);
        QVERIFY(program.load(stream));
        QStringList lines;
        {
            const BusyWatch watch(
                program.interpreter().run(), program.places(),
                [&](const QString &text) {
                    if (lines.isEmpty()) {
                        lines << text;
                    }
                    program.state().requestStop();
                },
                std::chrono::milliseconds(1));
            program.dispatcher().press(10001, 1);
        }
        QCOMPARE(lines, { QStringLiteral("The program has been busy for 0 s (program.src:5, routine Spin)") });
    }

    /// A loop neither fills the trace nor pushes out what was before.
    void tracesLoopsBriefly()
    {
        const CompileResult compiled = compileSource(
            QStringLiteral("device dvPanel = 10001:1:0\n"
                           "integer n\n"
                           "button_event [dvPanel, 1] { push: { for (n = 0; n < 900; n++) { on [dvPanel, n] } } }\n"
                           "button_event [dvPanel, 2] { push: { for (n = 0; n < 900; n++)\n"
                           "    { on [dvPanel, 2]; off [dvPanel, 2] } } }\n"));
        Clock clock(Clock::Drive::ByHand);
        Player player(compiled.objectFile, clock, Player::Reports::AsOperatorsSee);
        player.happen(QStringLiteral("push 10001 2"));
        player.happen(QStringLiteral("push 10001 1"));
        player.takeLines();
        player.happen(QStringLiteral("trace"));
        const QStringList lines = player.takeLines();
        QCOMPARE(lines.mid(0, 5),
                 QStringList({ QStringLiteral("push of DVPANEL 2"), QStringLiteral("  "),
                               QStringLiteral("  on [DVPANEL, 2] 900*"), QStringLiteral("  off [DVPANEL, 2] 900*"),
                               QStringLiteral("  N = 900 (was 0)") }));
        QCOMPARE(lines.last(), QStringLiteral("  400 more steps"));
        QCOMPARE(lines.size(), 5 + 2 + 500 + 1);
    }

    /// However much happens while one event is handled, an answer fits into a frame.
    void answersFitIntoAFrame()
    {
        const CompileResult compiled = compileSource(
            QStringLiteral("device dvPanel = 10001:1:0\ndevchan dcTwo = {dvPanel, 2}\ninteger n\n"
                           "button_event [dvPanel, 1] { push: { for (n = 0; n < 3000; n++) { do_push(dcTwo) } } }\n"
                           "button_event [dvPanel, 2] { push: { on [dvPanel, n] } }\n"));
        const QTemporaryDir folder;
        ControlProgram program(folder.path());
        FakeDevices devices;
        program.setDevices(&devices);
        QDataStream stream(compiled.objectFile);
        QVERIFY(program.load(stream));
        program.dispatcher().press(10001, 1);
        const QByteArray answer = answerQuestion(&program, R"({"ask":"trace","after":0})");
        QVERIFY2(answer.size() > 100'000 && answer.size() < 512'000, qPrintable(QString::number(answer.size())));
        QVERIFY(answer.contains("more steps"));
        QVERIFY(answer.contains("\"isAll\":true"));
    }

    /// Who reads too late is told, and gets what is there; without memory there is no trace.
    void tracesInWhatMemoryThereIs()
    {
        const CompileResult compiled =
            compileSource(QStringLiteral("device dvPanel = 10001:1:0\n"
                                         "button_event [dvPanel, 1] { push: { on [dvPanel, 1] } }\n"));
        const QTemporaryDir folder;
        for (const int records : { 0, 64 }) {
            ControlProgram program(folder.path(), records * static_cast<int>(sizeof(TraceRecord)));
            QDataStream stream(compiled.objectFile);
            QVERIFY(program.load(stream));
            for (int count = 0; count < 1000; ++count) {
                program.dispatcher().press(10001, 1);
            }
            const QJsonObject answer =
                QJsonDocument::fromJson(answerQuestion(&program, R"({"ask":"trace","after":5})")).object();
            QCOMPARE(answer.contains(QLatin1String("error")), records == 0);
            QCOMPARE(answer.value(QLatin1String("lost")).toBool(), records > 0);
            const QJsonArray events = answer.value(QLatin1String("events")).toArray();
            QCOMPARE(events.size(), records / 2); // each is the push and its handler
            QCOMPARE(answer.value(QLatin1String("next")).toInt(), records == 0 ? 0 : 2000);
        }
    }

    /// In one process, with the same names for other things. What one does, the other does not see.
    void twoRunSideBySide()
    {
        const QTemporaryDir folder;
        const auto objectFile = [&folder](const QString &pair, int panel, int level, int value, int tenths) {
            const QString source = QString::fromLatin1(R"src(
device dvOut = 1:1:0
device dvPanel = %1:1:0
device dvRoom = 33000:1:0
struct Pair { %2 }
Pair pairs[2]
persistent integer kept = 1
integer vol
integer bad = -1
long times[1] = {%5}
combine (dvRoom, dvPanel)
level [dvPanel, %3] vol
start { send_string dvOut, itoa(kept) }
timeline_event [1] { send_string dvOut, 'timeline' }
button_event [dvPanel, 1]
{
    push:
    {
        send_string dvOut, "itoa(push_channel), ' ', itoa(get_pulse_time)"
        set_pulse_time(%4)
        kept = %4
        vol = %4
        pairs[2].text = 'abcd'
        on [dvRoom, 3]
        timeline_create(bad, times, 1, 0, 0)
        timeline_create(1, times, 1, 0, 0)
        wait %6 'w' { send_string dvOut, "'wait ', itoa(vol)" }
        send_string dvOut, "pairs[2].text, ' ', itoa(random_number(1000)), ' ', itoa(file_open('%7', 2))"
        }
    }
)src")
                                       .arg(panel)
                                       .arg(pair)
                                       .arg(level)
                                       .arg(value)
                                       .arg(100 * tenths)
                                       .arg(tenths)
                                       .arg(folder.filePath(QString::number(panel)));
            return compileSource(source).objectFile;
        };
        const auto lines = [](const TableCells::Texts &texts) { return texts.value; };
        Clock clock(Clock::Drive::ByHand);
        Player first(objectFile(QStringLiteral("integer n  char text[3]"), 10001, 2, 40, 2), clock);
        Player second(objectFile(QStringLiteral("char text[2]  integer n  integer more"), 10002, 9, 50, 3), clock);
        QCOMPARE(first.takeLines() + second.takeLines(), lines({ "1", "1" }));
        const auto happens = [&](Player &player, const char *what) { player.happen(QString::fromLatin1(what)); };
        constexpr const char *wrongId = "error: Timeline id of timeline_create function is not valid";

        happens(first, "push 10001 1");
        QCOMPARE(first.takeLines(),
                 lines({ "1 5", "level 10001:1:0 2 40", "feedback 10001 3 1 in 0..0", wrongId, "abc 271 4" }));
        QCOMPARE(second.takeLines(), QStringList());
        happens(first, "push 10002 1"); // the other's panel
        happens(second, "push 10002 1");
        QCOMPARE(first.takeLines(), QStringList());
        const QStringList ofSecond = lines({ "level 10002:1:0 9 50", "feedback 10002 3 1 in 0..0", wrongId });
        QCOMPARE(second.takeLines(), lines({ "1 5" }) + ofSecond + lines({ "ab 271 4" }));
        clock.advance(200);
        QCOMPARE(first.takeLines(), lines({ "wait 40", "timeline" }));
        QCOMPARE(second.takeLines(), QStringList());
        clock.advance(100);
        QCOMPARE(first.takeLines(), QStringList());
        QCOMPARE(second.takeLines(), lines({ "wait 50", "timeline" }));

        first.stop();
        happens(first, "push 10001 1");
        happens(second, "level 10002 9 60");
        happens(second, "push 10002 1");
        QCOMPARE(first.takeLines(), QStringList());
        QCOMPARE(second.takeLines(), lines({ "1 50" }) + ofSecond + lines({ "ab 794 5" }));
        happens(first, "reload");
        QCOMPARE(first.takeLines() + second.takeLines(), lines({ "40" }));
        happens(second, "reload");
        QCOMPARE(first.takeLines() + second.takeLines(), lines({ "50" }));
    }
};

TEST_CLASS(ProgramsTest)
#include "ProgramsTest.moc"
