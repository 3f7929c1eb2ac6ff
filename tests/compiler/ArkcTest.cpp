#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

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
    void saysWhatToTry_data();
    void saysWhatToTry();
    void checksWhatIsNotSaved();
    void formatsInPlace();
    void formatShowsWithoutChanging();
    void formatReadsStandardInput();
    void helpFitsAScreen();

private:
    ToolRun run(const QString &line, const QByteArray &input = {}) // its words between blanks
    {
        return runTool(QStringLiteral(ARKC), line.split(QLatin1Char(' '), Qt::SkipEmptyParts), input,
                       { m_directory->path() });
    }
    void write(const char *name, const QByteArray &content) { QVERIFY(writeFile(path(name), content)); }
    QByteArray read(const char *name) { return contentOf(path(name)); }
    QString path(const char *name) { return m_directory->filePath(QString::fromLatin1(name)); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void ArkcTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
}

void ArkcTest::buildsAndDumps()
{
    write("room.src", "integer n\nstart { n = 5 }\n");
    const ToolRun built = run(QStringLiteral("build --no-places room.src"));
    QCOMPARE(built.status, 0);
    QCOMPARE(built.errors, QByteArray());
    QVERIFY(read("room.pobj").startsWith(QByteArray::fromHex("cefb2ef2")));
    const ToolRun dumped = run(QStringLiteral("dump room.pobj"));
    QCOMPARE(dumped.status, 0);
    write("again.src", dumped.output);
    QCOMPARE(run(QStringLiteral("build again.src -o again.pobj")).status, 0);
    QVERIFY(read("again.pobj").startsWith(read("room.pobj")) && read("again.pobj") != read("room.pobj"));
    QCOMPARE(run(QStringLiteral("dump again.pobj")).output, dumped.output); // places are not the program's
}

void ArkcTest::leavesOldOutputAfterErrors()
{
    write("room.src", "start { n = 5 }\n");
    write("room.pobj", "old");
    const ToolRun built = run(QStringLiteral("build room.src"));
    QCOMPARE(built.status, 1);
    QCOMPARE(built.errors,
             QByteArray("room.src:1:9: error: unknown name 'n'\nstart { n = 5 }\n        ^\n1 error, 0 warnings\n"));
    QCOMPARE(read("room.pobj"), QByteArray("old"));
    QCOMPARE(run(QStringLiteral("check room.src")).status, 1);
    QCOMPARE(run(QStringLiteral("dump room.pobj")).status, 1);
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), 2); // nothing half written is left
}

void ArkcTest::speaksJson()
{
    write("room.src", "integer unused\nstart { n = 1 }\n");
    const ToolRun checked = run(QStringLiteral("check room.src --format json"));
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
    QCOMPARE(QJsonDocument::fromJson(run(QStringLiteral("check room.src --format json")).output)
                 .object()
                 .value(QStringLiteral("diagnostics")),
             QJsonValue(QJsonArray()));
}

void ArkcTest::refusesWrongUse_data()
{
    const Table<QString> row("arguments");
    row("nothing", "");
    row("unknown command", "make room.src");
    row("no source", "build");
    row("unknown format", "check room.src --format xml");
    row("output over the source", "build room.src -o ./room.src");
    row("no such folder", "build room.src -o none/room.pobj");
}

void ArkcTest::refusesWrongUse()
{
    QFETCH(QString, arguments);
    write("room.src", "start { }\n");
    const ToolRun outcome = run(arguments);
    QCOMPARE(outcome.status, 2);
    QVERIFY(!outcome.errors.isEmpty());
    QCOMPARE(read("room.src"), QByteArray("start { }\n"));
}

void ArkcTest::saysWhatToTry_data()
{
    const Table<QString, int, QByteArray> row("arguments", "status", "line");
    row("check none.src", 1, "none.src: error: cannot be read: No such file or directory; check its name");
    row("check large.src", 1, "large.src: error: cannot be read: it is larger than 256 MB; name another");
    row("check folder", 1, "folder: error: cannot be read: it is a folder; name a file in it");
    row("check good.pobj", 1, "good.pobj: error: this is an object file, no source; 'arkc dump' writes it as source");
    row("build binary", 1, "binary:1:1: error: the file holds a NUL byte; it is no source text; name a source file");
    row("fmt latin.src", 1, "latin.src:1:1: error: the file is not UTF-8 text; save it as UTF-8 in the editor");
    row("build empty.src", 1, "empty.src: error: the file is empty; a program has at least a declaration or an event");
    row("check include.src", 1,
        "include.src:1:9: error: the include 'none.src' does not exist; it is looked for beside the file that names "
        "it");
    row("check folder.src", 1, "folder.src:1:9: error: the include 'folder' is a folder; name a file in it");
    row("dump good.src", 1,
        "arkc: good.src: this is no object file; it looks like a source: arkc build compiles it, arkc check checks it");
    row("dump binary", 1, "arkc: binary: this is no object file; name a file that arkc build has made");
    row("build good.src -o folder", 2,
        "arkc: cannot write folder: Filename refers to a directory; check the folder, its rights and the space on the "
        "disk");
    row("build good.src -o /dev/full", 2,
        "arkc: cannot write /dev/full: No space left on device; check the folder, its rights and the space on the "
        "disk");
    row("build whole.src -o part.src", 2, "arkc: the output part.src would overwrite the source; name another with -o");
    row("build good.src -o link.src", 2, "arkc: the output link.src would overwrite the source; name another with -o");
    row("build -", 2, "arkc: standard input has no name for the object file: give one with -o; see arkc --help");
    row("fmt /dev/null", 2, "arkc: /dev/null is no plain file; - reads standard input");
}

void ArkcTest::saysWhatToTry()
{
    QFETCH(QString, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, line);
    write("good.src", "start { }\n");
    QCOMPARE(run(QStringLiteral("build good.src")).status, 0);
    write("empty.src", " \n");
    write("binary", QByteArray("a\0b", 3));
    write("large.src", "");
    QVERIFY(QFile::resize(m_directory->filePath(QStringLiteral("large.src")), qint64{ 3 } << 30)); // takes no room
    write("latin.src", "char a[] = '\xe4'\n");
    write("include.src", "include 'none.src'\n");
    write("part.src", "integer a\n");
    write("whole.src", "include 'part.src'\nstart { a = 1 }\n");
    write("folder.src", "include 'folder'\n");
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("folder")));
    QVERIFY(QFile::link(QStringLiteral("good.src"), m_directory->filePath(QStringLiteral("link.src"))));
    const ToolRun outcome = run(arguments);
    QCOMPARE(outcome.status, status);
    QCOMPARE(outcome.errors.split('\n').first(), line);
    QCOMPARE(outcome.output, QByteArray());
}

/// As an editor does it: the text comes on standard input, its includes are files beside the name it has.
void ArkcTest::checksWhatIsNotSaved()
{
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("room")));
    write("room/lamp.src", "integer nLamp = nothing\n");
    write("other.src", "start { }\n");
    const ToolRun checked = run(QStringLiteral("check other.src - --stdin-name room/room.src --format json"),
                                "include 'lamp.src'\nstart { nLamp = gr\xc3\xb6\xc3\x9f"
                                "e }\n");
    QCOMPARE(checked.status, 1);
    QStringList places;
    for (const QJsonValue &value :
         QJsonDocument::fromJson(checked.output).object().value(QStringLiteral("diagnostics")).toArray()) {
        const QJsonObject remark = value.toObject();
        places += QStringLiteral("%1 %2:%3-%4:%5")
                      .arg(remark.value(QStringLiteral("file")).toString())
                      .arg(remark.value(QStringLiteral("line")).toInt())
                      .arg(remark.value(QStringLiteral("column")).toInt())
                      .arg(remark.value(QStringLiteral("endLine")).toInt())
                      .arg(remark.value(QStringLiteral("endColumn")).toInt());
    }
    QCOMPARE(places,
             QStringList({ QStringLiteral("room/room.src 2:17-2:22"), QStringLiteral("room/lamp.src 1:17-1:24") }));
}

void ArkcTest::formatsInPlace()
{
    write("room.src", "INTEGER a\r\n");
    write("bad.src", "start { (\n");
    const QString path = m_directory->filePath(QStringLiteral("room.src"));
    const QString link = m_directory->filePath(QStringLiteral("link.src"));
    const QFile::Permissions rights = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    QVERIFY(QFile::setPermissions(path, rights));
    QVERIFY(QFile::link(QStringLiteral("room.src"), link));
    const ToolRun outcome = run(QStringLiteral("fmt bad.src link.src"));
    QCOMPARE(outcome.status, 1);
    QVERIFY(outcome.errors.startsWith("bad.src:1:9: error: this '(' is not closed\n"));
    QCOMPARE(read("bad.src"), QByteArray("start { (\n"));
    QCOMPARE(read("room.src"), QByteArray("integer a\r\n"));
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(QFile::permissions(path) & (QFile::ExeOwner | QFile::ReadGroup | QFile::ReadOther), QFile::ExeOwner);

    // What needs no change is not touched.
    QFile file(path);
    const QDateTime past = QDateTime::fromSecsSinceEpoch(1000000000);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(past, QFileDevice::FileModificationTime));
    file.close();
    QCOMPARE(run(QStringLiteral("fmt room.src")).status, 0);
    QCOMPARE(QFileInfo(path).lastModified(), past);
}

void ArkcTest::formatShowsWithoutChanging()
{
    QByteArray source;
    for (int i = 0; i < 20; ++i) {
        source += "integer n" + QByteArray::number(i) + (i == 2 || i == 19 ? "  = 1\n" : "\n");
    }
    source.chop(1);
    write("room.src", source);
    write("good.src", "integer a\n");
    const ToolRun checked = run(QStringLiteral("fmt --check good.src room.src"));
    QCOMPARE(checked.status, 1);
    QCOMPARE(checked.output, QByteArray("room.src\n"));
    const ToolRun shown = run(QStringLiteral("fmt --diff good.src room.src"));
    QCOMPARE(shown.status, 1);
    QCOMPARE(shown.output,
             QByteArray("--- room.src\n+++ room.src\n"
                        "@@ -1,6 +1,6 @@\n integer n0\n integer n1\n-integer n2  = 1\n+integer n2 = 1\n integer n3\n"
                        " integer n4\n integer n5\n"
                        "@@ -17,4 +17,4 @@\n integer n16\n integer n17\n integer n18\n-integer n19  = 1\n"
                        "\\ No newline at end of file\n+integer n19 = 1\n"));
    QCOMPARE(read("room.src"), source);
    QCOMPARE(run(QStringLiteral("fmt --check good.src")).status, 0);
}

void ArkcTest::formatReadsStandardInput()
{
    const ToolRun formatted = run(QStringLiteral("fmt -"), "start{n=1}");
    QCOMPARE(formatted.status, 0);
    QCOMPARE(formatted.output, QByteArray("start { n = 1 }\n"));
    const ToolRun refused = run(QStringLiteral("fmt - --stdin-name room.src"), "start {");
    QCOMPARE(refused.status, 1);
    QCOMPARE(refused.output, QByteArray());
    QVERIFY(refused.errors.startsWith("room.src:1:7: error: "));
}

void ArkcTest::helpFitsAScreen()
{
    const ToolRun help = run(QStringLiteral("--help"));
    QCOMPARE(help.status, 0);
    QVERIFY(help.output.contains("arkc dump program.pobj > room.src"));
    QVERIFY2(help.output.count('\n') <= 24, help.output.constData());
}

TEST_CLASS(ArkcTest)
#include "ArkcTest.moc"
