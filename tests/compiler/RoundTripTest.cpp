#include "compiler/Compiler.h"
#include "compiler/SourceWriter.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDirIterator>

namespace {
const char *const kSmall = "program 'P'\ndevice d = 1:1:0\ninteger x\nstruct S { char a[3] }\n"
                           "function integer f(S s) { return s.a[1] }\nbutton_event [d, {1, 2}] { push: { x = 1 } }\n";

QByteArray compiled(const QString &source)
{
    const CompileResult result = compileSource(source);
    if (!result.isGood()) {
        qWarning().noquote() << result.text();
    }
    return result.objectFile;
}
} // namespace

/// Object files as source: the way back to the same bytes, what cannot be said, and damaged files.
class RoundTripTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void comesBackToSameBytes_data();
    void comesBackToSameBytes();
    void writesWhatWasMeant_data();
    void writesWhatWasMeant();
    void programsOnDisk_data();
    void programsOnDisk();
    void saysWhatItCannotWrite();
    void refusesDamagedFiles();
    void survivesEveryCut();
};

void RoundTripTest::comesBackToSameBytes_data()
{
    const Table<QString> row("source");
    const auto statements = [&row](const char *name, const char *text) {
        row(name, QStringLiteral("integer a\ninteger b\ndouble m[3][4]\nchar s[20]\ndevice d = 5001:9:0\n"
                                 "struct S { char name[8] integer port integer l[2] }\nS r\ndevchan c\n"
                                 "function f(double l[]) { return l }\nstart {\n%1\n}\n")
                      .arg(QString::fromUtf8(text)));
    };
    row("empty", "");
    row("name with quotes", "program 'it''s'");
    row("numbers", "const double A = 0.1\nconst double B = -1e300\nconst integer C = 4294967295\nfloat d = 0.1\nslong "
                   "e = -9\ndouble f = -0.0");
    row("texts", "const char A[] = ''\nconst char B[] = 'é'\nconst char C[] = \"'a', 0, 39, $ff, 'b'\"\nconst char D[] "
                 "= {195, 40}\nwidechar e[] = {1000, 2}");
    row("matrices", "double a[2][3]\ndouble b[2][3] = {{1}, {}}\nchar c[][5] = {'one', 'two'}\ninteger "
                    "d[2][2][2]\ninteger e[2][2][2] = {{{1}}}");
    row("structures", "struct B { S inner S more[2] }\nstruct S { char name[4] integer m[2][3] device d devchan c }\n"
                      "S s = {'a'}\nB b\nB c = {{'x', {{1, 2}}, 1:1:0}}\nS list[4] = {{'x'}, {}, {'y', {{1}, {2, 3}}, "
                      "7:1:0, {7:1:0, 3}}}\nS none[]");
    row("devices", "device d = 1:2:3\ndevice list[] = {d, 9:1:0}\npersistent device kept = d\nvolatile device "
                   "v\ndevlev l = {d, 4}\ndevchan cs[2] = {{d, 1}}");
    row("members with words of the language",
        "struct S { device device integer level char while[3] }\nS s\nstart { s.level = s.device.port + s.while[1] }");
    row("groups", "device d = 1:1:0\ninteger x\nexclusive [d, 1..4]\nexclusive [7:1:0, {9, 2}]\n"
                  "combine (d, 33000:1:0, 33001:1:0, 2:1:0)\nlevel [d, 2] x\nlevel [8:1:0, 3] x");
    row("blocks with and without variables",
        "integer x\nstart { stack_var integer i = 3, j[x]; local_var persistent char t[9]; local_var k\n i = j[1]; t = "
        "'x'; k = 1 }\nmainline { { stack_var x; x = 1 } }");
    row("functions", "struct S { char a }\nfunction char[8] f(S s, char t[], integer m[2][3]) { return t }\nfunction "
                     "g() { }\nroutine r(devchan c, device d) { on [c]; off [d, 1] }");
    row("handlers",
        "device d = 1:1:0\ndevice both[] = {d, 2:1:0}\ndevchan c[2]\ndevlev l\ninteger x\n"
        "button_event [d, {1, 2}], [c], [both, 3] { push: { x = button.holdtime } hold [3]: { } hold [5, repeat]: { } "
        "release: { } }\n"
        "data_event [both], [5001:1:0] { online: { x = data.number } offline: { } string: { } command: { } onerror: { "
        "} }\n"
        "level_event [d, 1], [l] { x = level.value }\ntimeline_event [x + 1], [5] { x = timeline.sequence }");
    statements("operators", "a = 1 - (2 - 3) - 4 / (5 * 6) mod 7\na = (a | b & 1) ^ ~(a | 1)\na = a << (b >> 1)\na = "
                            "not (a and b) or a xor (b or a)\n"
                            "a = (a < b) = (a <> b)\na = -(-a) - -5 - -(5) - (-5)\na = a++ + ++b - --a - b--\na = not "
                            "not a\na = (1 + 2) * 3");
    statements("precedence that parentheses repeat", "a = ((1) + ((2 * 3)))\na = (a and b) and a\na = a and (b and a)");
    statements("texts and lists", "s = \"'a', (\"'b', 13\"), itoa(a), (\"\")\"\ns = ''\ns = 'a''b'\ns = f({1, 2.5, "
                                  "300})\ns = {a, 'x', 1}\ns = {}");
    statements("lists for structures",
               "r = {'one', 2}\nr = {'one', 2, {3, 4}}\nr = {'', 0}\nc = {d, 300}\nr = {'one'}");
    statements("devices", "on [d, {1, 2}]\nto [(a):(b):(0), a]\n[d, 1] = 0\n[{5001:9:0, 1:1:0}, {1, 2}] = {1, "
                          "0}\nsend_string (5001):(1):(0), a\n"
                          "send_level d, 1, a\nif ([d, 1] and not [c]) pulse [c]\nclear_buffer s\ncreate_buffer d, "
                          "s\ncreate_level 1:1:0, a + 1, b");
    statements("bodies without braces", "if (a) if (b) a = 1 else a = 2\nif (a) { if (b) a = 1 } else a = 2\nwhile (a) "
                                        "for (; a < 3; a++) if (a) break\n"
                                        "if (a) a = 1 else if (b) a = 2 else if (a) { } else { a = 3 }\nwait 5 a = "
                                        "1\nselect { active (a): a = 1\n active (1): b = 1 }");
    statements("switches", "switch (a) { case 1: case -2.5: { } case 'x': a = 1\nb = 2\n case '': { { } } default: { "
                           "stack_var q; q = 1 } }\nswitch (s) { }");
    statements("waits", "wait a + 1 'x y' capture (a, s) { wait 1 { cancel_wait 'x y' } }\ncancel_all_wait\nfor (a = "
                        "1, b = 2; a < b; a++, b--) { continue }");
    statements("elements and members",
               "m[1][a + 1] = r.l[2]\nr.l[a]++\nr.name = s\ns[1] += 2\na = button_text(d, 1, 1) + m[1][2]");
}

void RoundTripTest::comesBackToSameBytes()
{
    QFETCH(QString, source);
    const QByteArray file = compiled(source);
    QVERIFY(!file.isEmpty());
    const SourceText written = sourceOf(file);
    QCOMPARE(written.problem, QString());
    QVERIFY2(written.isExact, qPrintable(written.text));
    QVERIFY2(!written.text.contains(QStringLiteral("/*")), qPrintable(written.text));
    QCOMPARE(compiled(written.text).toHex(), file.toHex());
}

void RoundTripTest::writesWhatWasMeant_data()
{
    const Table<QString, QString> row("statement", "written");
    row("a = ((1 + 2)) * (3 * 4)", "A = (1 + 2) * (3 * 4)");
    row("a -= 1", "A = A - 1");
    row("a = a == 1 && !a", "A = A = 1 and not A");
    row("a = {1, 'A'}", "A = {1, 65}");
    row("send_string D, \"'x', $0D\"", "send_string D, \"'x', 13\"");
    row("on [5001:1:0, 1]", "on [5001:1:0, 1]");
}

void RoundTripTest::writesWhatWasMeant()
{
    QFETCH(QString, statement);
    QFETCH(QString, written);
    const QString source = QStringLiteral("device d = 5001:1:0\ndouble a\nstart { %1 }").arg(statement);
    const QString text = sourceOf(compiled(source)).text;
    QVERIFY2(text.contains(QStringLiteral("\n    %1\n").arg(written)), qPrintable(text));
}

void RoundTripTest::programsOnDisk_data()
{
    const Table<QString> row("path");
    for (const char *const folder : { ROOT "/examples", ROOT "/tests/compiler" }) {
        QDirIterator files(QString::fromUtf8(folder), { QStringLiteral("*.src") }, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            if (QFileInfo(path).completeBaseName() == QFileInfo(path).dir().dirName()) { // the others are included
                row(qPrintable(QFileInfo(path).fileName()), path);
            }
        }
    }
}

void RoundTripTest::programsOnDisk()
{
    QFETCH(QString, path);
    const CompileResult result = compileFile(path);
    QCOMPARE(result.text(), QString()); // examples are free of warnings, too
    const SourceText written = sourceOf(result.objectFile);
    QVERIFY2(written.isExact, qPrintable(written.text));
}

/// A file of another compiler may hold what the source form has no words for.
void RoundTripTest::saysWhatItCannotWrite()
{
    QByteArray file = compiled(QStringLiteral("integer a\nstart { a = a <= 1 }"));
    const QByteArray comparison = QByteArray::fromHex("0000019b00000000");
    QCOMPARE(file.count(comparison), 1);
    file.replace(comparison, QByteArray::fromHex("0000019b00000001")); // equality as a condition means it
    const SourceText written = sourceOf(file);
    QCOMPARE(written.problem, QString());
    QVERIFY(!written.isExact);
    QVERIFY2(written.text.contains(QStringLiteral("/* operator 1 */")), qPrintable(written.text));
    QVERIFY2(written.text.startsWith(QStringLiteral("// This text says less than its object file.")),
             qPrintable(written.text));
}

void RoundTripTest::refusesDamagedFiles()
{
    const QByteArray file = compiled(QString::fromLatin1(kSmall));
    QCOMPARE(sourceOf({}).problem, QStringLiteral("this is no object file"));
    QCOMPARE(sourceOf("start { }").problem, QStringLiteral("this is no object file"));
    QByteArray older = file;
    older[7] = 0x40;
    QCOMPARE(sourceOf(older).problem, QStringLiteral("the object file has version 320; only 321 is known"));
    QByteArray wrongEnd = file;
    wrongEnd[file.size() - 1] = 0x56;
    QVERIFY(sourceOf(wrongEnd).problem.startsWith(QStringLiteral("the object file is damaged")));
    QVERIFY(sourceOf(file + "x").text.contains(QStringLiteral("1 bytes stand behind the end mark")));
}

/// Every shorter file is refused; every file with one other byte is read or refused, without harm.
void RoundTripTest::survivesEveryCut()
{
    const QByteArray file = compiled(QString::fromLatin1(kSmall));
    for (int length = 0; length < file.size(); ++length) {
        QVERIFY2(!sourceOf(file.left(length)).problem.isEmpty(), qPrintable(QString::number(length)));
    }
    for (int place = 8; place < file.size(); ++place) {
        QByteArray other = file;
        other[place] = static_cast<char>(other.at(place) ^ 0x81);
        const SourceText written = sourceOf(other);
        QVERIFY(written.problem.isEmpty() != written.text.isEmpty());
    }
}

TEST_CLASS(RoundTripTest)
#include "RoundTripTest.moc"
