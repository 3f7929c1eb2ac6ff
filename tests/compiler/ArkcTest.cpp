#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {
struct Outcome
{
    int status = -1;
    QByteArray output;
    QByteArray errors;
};
} // namespace

/// The tool as a person or an editor runs it.
class ArkcTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void buildsAndDumps();
    void leavesOldOutputAfterErrors();
    void speaksJson();
    void refusesWrongUse_data();
    void refusesWrongUse();
    void helpFitsAScreen();

private:
    Outcome run(const QStringList &arguments);
    void write(const char *name, const QByteArray &content);
    QByteArray read(const char *name);

    std::unique_ptr<QTemporaryDir> m_directory;
};

void ArkcTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
}

Outcome ArkcTest::run(const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(m_directory->path());
    process.start(QStringLiteral(ARKC), arguments);
    process.waitForFinished();
    return { process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError() };
}

void ArkcTest::write(const char *name, const QByteArray &content)
{
    QFile file(m_directory->filePath(QString::fromLatin1(name)));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray ArkcTest::read(const char *name)
{
    QFile file(m_directory->filePath(QString::fromLatin1(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void ArkcTest::buildsAndDumps()
{
    write("room.src", "integer n\nstart { n = 5 }\n");
    const Outcome built = run({ QStringLiteral("build"), QStringLiteral("room.src") });
    QCOMPARE(built.status, 0);
    QCOMPARE(built.errors, QByteArray());
    QVERIFY(read("room.pobj").startsWith(QByteArray::fromHex("cefb2ef2")));
    const Outcome dumped = run({ QStringLiteral("dump"), QStringLiteral("room.pobj") });
    QCOMPARE(dumped.status, 0);
    write("again.src", dumped.output);
    QCOMPARE(run({ QStringLiteral("build"), QStringLiteral("again.src"), QStringLiteral("-o"),
                   QStringLiteral("again.pobj") })
                 .status,
             0);
    QCOMPARE(read("again.pobj"), read("room.pobj"));
}

void ArkcTest::leavesOldOutputAfterErrors()
{
    write("room.src", "start { n = 5 }\n");
    write("room.pobj", "old");
    const Outcome built = run({ QStringLiteral("build"), QStringLiteral("room.src") });
    QCOMPARE(built.status, 1);
    QCOMPARE(built.errors,
             QByteArray("room.src:1:9: error: unknown name 'n'\nstart { n = 5 }\n        ^\n1 error, 0 warnings\n"));
    QCOMPARE(read("room.pobj"), QByteArray("old"));
    QCOMPARE(run({ QStringLiteral("check"), QStringLiteral("room.src") }).status, 1);
    QCOMPARE(run({ QStringLiteral("dump"), QStringLiteral("room.pobj") }).status, 1);
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), 2); // nothing half written is left
}

void ArkcTest::speaksJson()
{
    write("room.src", "integer unused\nstart { n = 1 }\n");
    const Outcome checked = run(
        { QStringLiteral("check"), QStringLiteral("room.src"), QStringLiteral("--format"), QStringLiteral("json") });
    QCOMPARE(checked.status, 1);
    const QJsonArray list =
        QJsonDocument::fromJson(checked.output).object().value(QStringLiteral("diagnostics")).toArray();
    QVERIFY2(!list.isEmpty(), checked.output.constData());
    const QJsonObject first = list.first().toObject();
    QCOMPARE(first.value(QStringLiteral("file")).toString(), QStringLiteral("room.src"));
    QCOMPARE(first.value(QStringLiteral("line")).toInt(), 2);
    QCOMPARE(first.value(QStringLiteral("column")).toInt(), 9);
    QCOMPARE(first.value(QStringLiteral("severity")).toString(), QStringLiteral("error"));
    QCOMPARE(first.value(QStringLiteral("message")).toString(), QStringLiteral("unknown name 'n'"));

    write("room.src", "start { }\n");
    QCOMPARE(QJsonDocument::fromJson(run({ QStringLiteral("check"), QStringLiteral("room.src"),
                                           QStringLiteral("--format"), QStringLiteral("json") })
                                         .output)
                 .object()
                 .value(QStringLiteral("diagnostics")),
             QJsonValue(QJsonArray()));
}

void ArkcTest::refusesWrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("unknown command") << QStringList{ QStringLiteral("make"), QStringLiteral("room.src") };
    QTest::newRow("no source") << QStringList{ QStringLiteral("build") };
    QTest::newRow("unknown format") << QStringList{ QStringLiteral("check"), QStringLiteral("room.src"),
                                                    QStringLiteral("--format"), QStringLiteral("xml") };
    QTest::newRow("output over the source") << QStringList{ QStringLiteral("build"), QStringLiteral("room.src"),
                                                            QStringLiteral("-o"), QStringLiteral("./room.src") };
    QTest::newRow("no such folder") << QStringList{ QStringLiteral("build"), QStringLiteral("room.src"),
                                                    QStringLiteral("-o"), QStringLiteral("none/room.pobj") };
}

void ArkcTest::refusesWrongUse()
{
    QFETCH(QStringList, arguments);
    write("room.src", "start { }\n");
    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.status, 2);
    QVERIFY(!outcome.errors.isEmpty());
    QCOMPARE(read("room.src"), QByteArray("start { }\n"));
}

void ArkcTest::helpFitsAScreen()
{
    const Outcome help = run({ QStringLiteral("--help") });
    QCOMPARE(help.status, 0);
    QVERIFY(help.output.contains("arkc build room.src -o program.pobj"));
    QVERIFY2(help.output.count('\n') <= 24, help.output.constData());
}

QTEST_GUILESS_MAIN(ArkcTest)
#include "ArkcTest.moc"
