#include "compiler/Compiler.h"
#include "program/AST.h"
#include "runtime/ObjectFile.h"
#include "runtime/Places.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDataStream>

namespace {
QByteArray bytes(const char *hexWithBlanks)
{
    return QByteArray::fromHex(hexWithBlanks);
}

QByteArray compiled(const char *source)
{
    const CompileResult result = compileSource(QString::fromUtf8(source));
    if (!result.isGood()) {
        qWarning().noquote() << result.text();
    }
    return result.objectFile;
}
} // namespace

/// What the compiler writes, against bytes written by hand: reader and writer must not share a mistake.
class ObjectFileBytesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void writesWholeFile();
    void writesRecords_data();
    void writesRecords();
    void sharesEqualLists();
    void placesBelongToTheirProgram();
};

void ObjectFileBytesTest::writesWholeFile()
{
    const char *const source = "program 'P'\n"
                               "device dv = 10001:1:0\n"
                               "const integer N = 7\n"
                               "integer x\n"
                               "button_event [dv, N] { push: { x = x + 1 } }\n";
    const QByteArray expected = bytes("cefb2ef2 00000141 00000002 0050" // magic, version, name
                                      "00000000 00000003"               // types, globals
                                      // a Device: type 18, "DV", const, volatile, local, initialised; 10001:1:0
                                      "01 00000003 00000012 00000004 00440056 01 00000064 00000068 01"
                                      "00002711 00000001 00000000"
                                      "01 00000001 0000000a 00000002 004e 01 00000064 00000068 01 401c000000000000"
                                      "01 00000001 0000000a 00000002 0058 00 00000064 00000068 00 0000000000000000"
                                      "00000000 00000000 00000000 00 00" // groups, functions, routines, start, mainline
                                      "00000001 00000033 00000001"       // one handler, for buttons, one trigger
                                      "01 0000019d 00000002"             // a ButtonExpression of two items
                                      "00000001 01 00000193 00000004 00440056"
                                      "00000001 01 00000193 00000002 004e"
                                      "00000001 01 00000020"                  // one part: PUSH
                                      "01 00000066 01 00000071 00000001"      // block, list, one statement
                                      "01 00000065 01 00000193 00000002 0058" // X =
                                      "01 00000197 0000002b 01 00000193 00000002 0058 01 00000190 3ff0000000000000"
                                      "00000000 00000000 0000aa55"); // combinations, levels, end
    QCOMPARE(compiled(source).toHex(), expected.toHex());
}

void ObjectFileBytesTest::writesRecords_data()
{
    const Table<QByteArray, QByteArray> row("source", "record");

    row("nothing but a start block", "start { }", bytes("00000000 00000000 00000000 01 00000000 00"));
    row("= inside an expression is code 6", "integer x start { if (x = 1) { } }",
        bytes("01 00000069 01 0000019b 00000006 01 00000193 00000002 0058 01 00000190 3ff0000000000000"
              "01 00000066 01 00000071 00000000 00"));
    row("a shift has its count first", "integer x start { x = 1 << 2 }",
        bytes("01 00000191 00000000 01 00000190 4000000000000000 01 00000190 3ff0000000000000"));
    row("* binds tighter than +", "integer x start { x = 1 + 2 * 4 }",
        bytes("01 00000197 0000002b 01 00000190 3ff0000000000000"
              "01 00000197 0000002a 01 00000190 4000000000000000 01 00000190 4010000000000000"));
    row("- to the left", "integer x start { x = 4 - 2 - 1 }",
        bytes("01 00000197 0000002d 01 00000197 0000002d 01 00000190 4010000000000000 01 00000190 4000000000000000"
              "01 00000190 3ff0000000000000"));
    row("a for has its body first", "integer i start { for (i = 1; i < 2; i++) { } }",
        bytes("01 00000070 01 00000066 01 00000071 00000000"
              "01 00000071 00000001 01 00000065 01 00000193 00000002 0049 01 00000190 3ff0000000000000"
              "01 0000019b 00000003 01 00000193 00000002 0049 01 00000190 4000000000000000"
              "01 00000071 00000001 01 00000072 01 00000193 00000002 0049"));
    row("x += 1", "integer x start { x += 1 }",
        bytes("01 00000065 01 00000193 00000002 0058"
              "01 00000197 0000002b 01 00000193 00000002 0058 01 00000190 3ff0000000000000"));
    row("a postfix step in an expression", "integer x start { x = x++ }",
        bytes("01 0000019a 00 01 00000193 00000002 0058"));
    row("switch: cases, then the value", "integer x start { switch (x) { case 'A': { } default: { } } }",
        bytes("01 00000079 01 00000002"
              "00000000 00000002 0041 0000000000000000 01 00000071 00000000"
              "00000002 ffffffff 0000000000000000 01 00000071 00000000"
              "01 00000193 00000002 0058"));
    row("select", "integer x start { select { active (x): { } } }",
        bytes("01 00000077 01 00000001 01 00000193 00000002 0058 01 00000066 01 00000071 00000000"));
    row("a wait: name, captured names, body, time", "integer x start { wait 5 'w' capture (x) { } }",
        bytes("01 00000068 00000002 0077 00000001 00000002 0058 01 00000066 01 00000071 00000000"
              "01 00000190 4014000000000000"));
    row("block variables: codes as written, declarators; the mainline keeps them in a block",
        "mainline { stack_var integer a, b[3]; a = b[1] }",
        bytes("01 00000001 01 00000066 01 00000071 00000002"
              "01 00000067 00000002"
              "00000002 00000067 0000000a 01 00000193 00000002 0041"
              "00000002 00000067 0000000a 01 00000194 01 00000193 00000002 0042 01 00000190 4008000000000000"));
    row("pulse of an inline address", "start { pulse [5001:9:0, 3] }",
        bytes("01 0000006e 00000003 01 0000019d 00000002"
              "00000002 01 00000003 00000012 ffffffff 00 00000064 00000068 00 00001389 00000009 00000000"
              "00000001 01 00000190 4008000000000000"));
    row("send_string to computed parts: text, then text list",
        "integer x start { send_string (x):(1):(0), \"'A', 13\" }",
        bytes("01 00000064 01 000001a1 00000005 00000003 01 00000193 00000002 0058 01 00000190 3ff0000000000000"
              "01 00000190 0000000000000000"
              "01 00000198 00000001 00000002 01 00000198 00000002 00000002 0041 01 00000190 402a000000000000"));
    row("a list of constants: a hidden array of doubles", "start { on [5001:9:0, {1, 300}] }",
        bytes("01 00000002 00000010 00000006 007b0031007d 01 00000064 00000068 01 00000002 00000002"
              "01 00000001 00000010 ffffffff 00 00000064 00000068 01 3ff0000000000000"
              "01 00000001 00000010 ffffffff 00 00000064 00000068 01 4072c00000000000"));
    row("an initial text sets the length, [n] the maximum", "char s[4] = 'A' start { s = '' }",
        bytes("01 00000002 0000000e 00000002 0053 00 00000064 00000068 01 00000004 00000001"
              "01 00000001 0000000e ffffffff 00 00000064 00000068 01 4050400000000000"));
    row("a matrix keeps a template row", "double m[4][8] start { m[1][1] = 1 }",
        bytes("01 00000002 00000010 00000002 004d 00 00000064 00000068 00 00000004 00000001"
              "01 00000002 00000010 ffffffff 00 00000064 00000068 00 00000008 00000000"));
    row("a devchan is a structure with its members by name", "devchan d = {10001:1:0, 5} start { on [d] }",
        bytes("01 00000064 000000c8 00000002 0044 00 00000064 00000068 01 00000002"
              "0000000e 004300480041004e004e0045004c 01 00000001 0000000a ffffffff 00 00000064 00000068 01 "
              "4014000000000000"
              "0000000c 004400450056004900430045 01 00000003 00000012 ffffffff 00 00000064 00000068 01"
              "00002711 00000001 00000000"));
    row("structure types count from 202", "struct S { integer a[2] } S s start { s.a[1] = 1 }",
        bytes("00000001 000000ca 00000002 0053 00000001 00000002 0041 0000000a 00000001 00000002"));
    row("a function: name as written, parameters, body, result",
        "function integer Add(integer a, char t[]) { return a + t[1] } start { Add(1, 'x') }",
        bytes("00000001 00000006 004100640064 00000000"
              "01 00000002 0000000a 01 00000193 00000002 0041 0000000e 01 00000194 01 00000193 00000002 0054 00"
              "01 01 00000071 00000001 01 00000074"));
    row("hold with repeat", "device d = 1:1:0 button_event [d, 1] { hold [5, repeat]: { } }",
        bytes("00000001 01 00000021 01 00000066 01 00000071 00000000 01 00000005"));
    row("data handlers name their devices", "device d = 1:1:0 data_event [d], [5001:1:0] { online: { } }",
        bytes("00000032 00000002 01 00000001 00000002 0044"
              "01 0000000a 00000012 ffffffff 00 00000064 00000068 00 00001389 00000001 00000000"));
    row("exclusive list, ascending", "device d = 1:1:0 exclusive [d, {5, 3}]",
        bytes("00000001 00000033 01 00000001 00000002 0044 00000002 00000003 00000005"));
    row("combination with the virtual device first, level, end",
        "device d = 1:1:0\ninteger x\ncombine (d, 33000:1:0)\nlevel [d, 2] x",
        bytes("00000001 00000002 000080e8 00000001 00000000 00000001 00000001 00000000"
              "00000001 00000001 00000001 00000000 00000002 00000002 0058 0000aa55"));
}

void ObjectFileBytesTest::writesRecords()
{
    QFETCH(QByteArray, source);
    QFETCH(QByteArray, record);
    // Declarations stand on lines of their own
    for (const char *word : { " start", " exclusive", " button_event", " data_event", " S s" }) {
        source.replace(word, QByteArray(word).replace(0, 1, "\n"));
    }
    const QByteArray file = compiled(source.constData());
    QVERIFY2(file.contains(record), file.toHex().constData());
}

void ObjectFileBytesTest::sharesEqualLists()
{
    const QByteArray file = compiled("integer a[3]\nstart { a = {1, 2}; a = {1, 2}; a = {2, 1} }");
    QVERIFY(file.contains(bytes("007b0031007d")));
    QVERIFY(file.contains(bytes("007b0032007d")));
    QVERIFY(!file.contains(bytes("007b0033007d")));
}

void ObjectFileBytesTest::placesBelongToTheirProgram()
{
    const auto read = [](const QByteArray &file) {
        AST program;
        QDataStream stream(file);
        return loadObjectFile(program, stream) ? Places::read(stream) : Places();
    };
    const CompileResult result =
        compileSource(QStringLiteral("integer n\ndevice dvPort = 5001:1:0\n"
                                     "data_event [dvPort] {\n string: {\n n = 1\n wait 1 {\n n = 2 } } }\n"),
                      QStringLiteral("/rooms/hall/hall.src"));
    QCOMPARE(result.places.mid(38).toHex(),      // behind magic, version and digest
             bytes("02 10 68616c6c2e737263"      // one file
                   "02 12 0c 6476506f7274 00 08" // string of dvPort, line 4
                   "0e 00 02 00 02 00 02 00"     // block and list, n = 1, wait, its block and list, n = 2
                   "04 00 02 02 6e 00 04 0c 6476506f7274")
                 .toHex()); // n and dvPort
    const Places places = read(result.objectFile + result.places);
    QCOMPARE(places.lineOf(7), QStringLiteral("hall.src:7"));
    QCOMPARE(places.lineOf(8), QString());
    QCOMPARE(places.lineOf(0), QString());
    QCOMPARE(places.bodyOf(2), QStringLiteral("string of dvPort"));

    QVERIFY(read(result.objectFile).isEmpty());
    QByteArray other = result.objectFile;
    other[other.indexOf(QByteArray("\0N", 2)) + 1] = 'M'; // another name of a global
    QVERIFY(read(other + result.places).isEmpty());
    for (int at = 0; at < result.places.size(); ++at) {
        QByteArray damaged = result.places;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
        QVERIFY2(read(result.objectFile + damaged).isEmpty(), qPrintable(QString::number(at)));
        QVERIFY(read(result.objectFile + result.places.left(at)).isEmpty());
    }
}

TEST_CLASS(ObjectFileBytesTest)
#include "ObjectFileBytesTest.moc"
