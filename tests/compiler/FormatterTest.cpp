#include "compiler/format/Formatter.h"
#include "compiler/Compiler.h"
#include "support/SourceWords.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

/// The formatter: what it makes of sources, and that it changes neither programs nor itself.
class FormatterTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void laysOut_data();
    void laysOut();
    void refuses_data();
    void refuses();
    void keepsPrograms_data();
    void keepsPrograms();
    void keepsStraySemicolons();
    void keepsBytesAroundLines();
    void repositoryIsFormatted();
};

namespace {
QString fileText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList filesBelow(const QString &folder, const QString &pattern)
{
    QStringList files;
    for (QDirIterator found(QStringLiteral(ROOT "/") + folder, { pattern }, QDir::Files, QDirIterator::Subdirectories);
         found.hasNext();) {
        files += found.next();
    }
    files.sort();
    return files;
}

/// The parts of a file of scripted programs, or the indented blocks of a page.
QStringList piecesOf(const QString &path)
{
    const QString text = fileText(path);
    if (!path.endsWith(QLatin1String(".md"))) {
        return text.split(QRegularExpression(QStringLiteral("^(?=//# )"), QRegularExpression::MultilineOption));
    }
    QStringList blocks{ QString() };
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("    ")) || (line.isEmpty() && !blocks.last().isEmpty())) {
            blocks.last() += line.mid(4) + QLatin1Char('\n');
        } else if (!blocks.last().isEmpty()) {
            blocks += QString();
        }
    }
    return blocks;
}
} // namespace

void FormatterTest::laysOut_data()
{
    const Table<QString, QString> row("source", "expected");
    row("nothing", " \n\n\t\n", "");
    row("only a comment, no line end", "   // end", "// end\n");
    row("spaces, keywords, names",
        "FUNCTION  Integer F( INTEGER a,char B [ ] )\n{\nIF(a=1 AND  not  B[ 1 ])  RETURN -a*( 2+a ) -  - 1\nX . "
        "Level=Data\n}\n",
        "function integer F(integer a, char B[])\n{\n    if (a = 1 and not B[1]) return -a * (2 + a) - -1\n"
        "    X.Level = data\n}\n");
    row("devices, ranges, numbers", "exclusive[ 5001 : 1:0 ,1 .. 3]\ndevice d=( n ) : (2):$0d\ndouble x=1. *.5",
        "exclusive [5001:1:0, 1..3]\ndevice d = (n):(2):$0d\ndouble x = 1. * .5\n");
    row("statements of a line, semicolons that end one", "start {\na = 1; b++;c--; ;\n}",
        "start\n{\n    a = 1\n    b++\n    c--\n}\n");
    row("a semicolon that may stand for a missing statement", "start {\nif (a);\nb = 1\n}",
        "start\n{\n    if (a);\n    b = 1\n}\n");
    row("blocks of one line stay", "routine A(){on[d,1];off[d,2];}\nstart\n{ if(a){b}c }",
        "routine A() { on [d, 1]; off [d, 2] }\nstart { if (a) { b }  c }\n");
    row("braces", "start{\nif(a)\n{\nb = 1\n}\nelse if(c)\n{\n}\n\nelse\n{ d = 1 }\nwait 5 'x'\n{\ne = {\n1,2\n}\n}\n}",
        "start\n{\n    if (a) {\n        b = 1\n    } else if (c) {\n    } else { d = 1 }\n    wait 5 'x' {\n"
        "        e = {\n            1, 2\n        }\n    }\n}\n");
    row("a brace that belongs to nothing before it",
        "start {\nwait 5 off [d, 1]\n{\na = 1\n}\nreturn\n{\nb = 1\n}\nx = y\n{ }\n}",
        "start\n{\n    wait 5 off [d, 1]\n    {\n        a = 1\n    }\n    return\n    {\n        b = 1\n    }\n    x "
        "= y\n    { }\n}\n");
    row("statements in place of blocks", "start {\nif (a)\nif (b)\nx = 1\nelse\ny = 1\nelse\nfor (;;)\nz = 1\nw = 1\n}",
        "start\n{\n    if (a)\n        if (b)\n            x = 1\n        else\n            y = 1\n    else\n"
        "        for (;;)\n            z = 1\n    w = 1\n}\n");
    row("labels",
        "button_event[d,1]{PUSH:{\nswitch(a){\ncase 1:\n{ b }\ncase 'x': c = 1\nd = 2\ndefault : \ne = "
        "3\n}\n}\nHold[3,Repeat]:{ f } release:{ }}",
        "button_event [d, 1]\n{\n    push: {\n        switch (a) {\n            case 1: { b }\n            case 'x': c "
        "= 1\n"
        "                d = 2\n            default:\n                e = 3\n        }\n    }\n    hold [3, repeat]: { "
        "f }\n"
        "    release: { }\n}\n");
    row("hold as a name", "start { Hold[3] = 1; Push = 2 }", "start { Hold[3] = 1; Push = 2 }\n");
    row("members, whose names may be words", "struct S{Integer Level char Text[ 3 ];long a,b\ninteger If}",
        "struct S\n{\n    integer Level\n    char Text[3]\n    long a, b\n    integer If\n}\n");
    row("comments of all kinds and places",
        "/* a */ integer x /* b */ = (* c *) 1 // d\n// e\nstart // f\n{ // g\n\n// h\nfoo(1, // i\n/* j */ 2\n// "
        "k\n)\n"
        "if (a) // l\n{\n}\n// m\nelse { } // n\n// o\n}\n(* p *)",
        "/* a */ integer x /* b */ = (* c *) 1  // d\n// e\nstart  // f\n{      // g\n    // h\n    foo(1,  // i\n"
        "        /* j */ 2\n        // k\n    )\n    if (a)  // l\n    {\n    }\n    // m\n    else { }  // n\n    // "
        "o\n}\n(* p *)\n");
    row("a comment of several lines moves with its place and ends a statement",
        "start {\n/* a\n   b\n\tc */ x = 1 /*\n */ y = 2\n}",
        "start\n{\n    /* a\n       b\n        c */\n    x = 1  /*\n*/\n    y = 2\n}\n");
    row("the lines of a comment keep their place below its first, behind tabs, pairs of code units and other comments",
        "long x\t\t/* \xF0\x9F\x98\x80 */ /* a\n\t\t\t\t\t   b */\n",
        "long x  /* \xF0\x9F\x98\x80 */ /* a\n                   b */\n");
    row("comments of neighbours are aligned", "integer a // 1\ninteger bb\nlong ccc /* 3 */\n\nchar d // 4\n",
        "integer a  // 1\ninteger bb\nlong ccc   /* 3 */\n\nchar d  // 4\n");
    row("= and { are aligned where they were",
        "const integer A   = 1\nconst integer LONGER = 2\ninteger b   = 1\n\nlong c=1\nlong dd=2\n",
        "const integer A      = 1\nconst integer LONGER = 2\ninteger b            = 1\n\nlong c = 1\nlong dd = 2\n");
    row("lines go on where they did", "start {\nx = a +\nb\ny = \"'a',\n'b'\"\nz = f(\n1,\n2)\n}",
        "start\n{\n    x = a +\n        b\n    y = \"'a',\n         'b'\"\n    z = f(\n        1,\n        2)\n}\n");
    row("empty lines", "\n\n\ninteger a\n\n\n\ninteger b\nstart {\n\nx\n\n\n// c\n\n}\n\n\n",
        "integer a\n\ninteger b\nstart\n{\n    x\n\n    // c\n}\n");
    row("signs that would become others stay apart", "start {\na = b - -c\na = ( *d\na = 1 .. .5\na = ! =b\n)\n}",
        "start\n{\n    a = b - -c\n    a = ( * d\n         a = 1.. .5\n         a = ! = b\n    )\n}\n");
    row("an else behind a superfluous semicolon", "start {\nif (a) {\nb\n} ;\nelse { c };\n}",
        "start\n{\n    if (a) {\n        b\n    } else { c }\n}\n");
    row("a statement behind a list", "start { [d, 1] = {1, 0} [d, 2] = 3 }", "start { [d, 1] = {1, 0}  [d, 2] = 3 }\n");
    row("too long for one line",
        "button_event [dvPanelOnTheTable, 1] { push: { call DoSomethingThatHasALongName('and some text', 1, 2, 3, 4, "
        "5, 6, 7, 8) } }\n"
        "integer listOfNumbers[] = {100000, 200000, 300000, 400000, 500000, 600000, 700000, 800000, 900000, 1000000, "
        "1100000, 12000000, 13}\n",
        "button_event [dvPanelOnTheTable, 1]\n{\n    push: { call DoSomethingThatHasALongName('and some text', 1, 2, "
        "3, 4, 5, 6, 7, 8) }\n}\n"
        "integer listOfNumbers[] = {100000, 200000, 300000, 400000, 500000, 600000, 700000, 800000, 900000, 1000000, "
        "1100000,\n"
        "                           12000000, 13}\n");
    row("words of other alphabets", "integer größe=1\nchar 名[]='…  \U0001F600'//ü",
        "integer größe = 1\nchar 名[] = '…  \U0001F600'  //ü\n");
    row("a program with errors", "start { x = ; } integer = 5 else if { push: } ]x[", nullptr);
}

void FormatterTest::laysOut()
{
    QFETCH(QString, source);
    QFETCH(QString, expected);
    const FormattedSource formatted = formatSource(source);
    if (expected.isNull()) {
        QVERIFY(!formatted.isGood());
        return;
    }
    QVERIFY(formatted.isGood());
    QCOMPARE(formatted.text, expected);
    QCOMPARE(formatSource(formatted.text).text, expected);
    QCOMPARE(wordsOf(formatted.text), wordsOf(source));
}

void FormatterTest::refuses_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("headline");
    const auto row = [](const char *source, const char *headline) {
        QTest::newRow(headline) << QString::fromUtf8(source)
                                << QStringLiteral("program.src:%1").arg(QString::fromUtf8(headline));
    };
    row("start {\n  x = (1\n}", "2:7: error: this '(' is not closed before '}'");
    row("start {\n", "1:7: error: this '{' is not closed");
    row("integer a\n}\n", "2:1: error: this '}' closes nothing");
    row("x = \"1, 2", "1:5: error: this '\"' is not closed");
    row("x = 'abc\n", "1:5: error: this text has no end on its line; ' is missing");
    row("integer a\n  /* no end", "2:3: error: this comment has no end; '*/' is missing");
    QTest::newRow("deep") << QString(600, QLatin1Char('{')) + QString(600, QLatin1Char('}'))
                          << QStringLiteral("program.src:1:500: error: brackets are nested too deeply here");
    row("a = 1 # 2", "1:7: error: unexpected character '#'");
}

void FormatterTest::refuses()
{
    QFETCH(QString, source);
    QFETCH(QString, headline);
    const FormattedSource formatted = formatSource(source);
    QVERIFY(formatted.text.isEmpty());
    QCOMPARE(headlineOf(formatted.diagnostics.at(0)), headline);
}

void FormatterTest::keepsPrograms_data()
{
    const Table<QString> row("path");
    QStringList files = filesBelow(QStringLiteral("examples"), QStringLiteral("*.src"));
    files += filesBelow(QStringLiteral("bench"), QStringLiteral("*.src"));
    files += filesBelow(QStringLiteral("tests/interp/programs"), QStringLiteral("*.src"));
    files += filesBelow(QStringLiteral("docs"), QStringLiteral("*.md"));
    for (const QString &file : files) {
        row(qPrintable(QDir(QStringLiteral(ROOT)).relativeFilePath(file)), file);
    }
}

/// Every source in the tree compiles to the same bytes afterwards, also when its layout has been thrown away before.
void FormatterTest::keepsPrograms()
{
    QFETCH(QString, path);
    int formatted = 0;
    for (const QString &source : piecesOf(path)) {
        const FormattedSource once = formatSource(source, path);
        if (!once.isGood()) {
            continue; // of a page: no program
        }
        ++formatted;
        QCOMPARE(formatSource(once.text).text, once.text);
        QCOMPARE(wordsOf(once.text), wordsOf(source));
        const CompileResult before = compileSource(source, path);
        const CompileResult after = compileSource(once.text, path);
        QCOMPARE(after.objectFile, before.objectFile);
        QVERIFY(!before.isGood() || after.diagnostics.size() == before.diagnostics.size());
        QString flattened = source;
        flattened.replace(QRegularExpression(QStringLiteral("^[ \t]+|[ \t]+$"), QRegularExpression::MultilineOption),
                          QString());
        QCOMPARE(compileSource(formatSource(flattened, path).text, path).objectFile, before.objectFile);
    }
    QVERIFY(formatted > 0 || path.endsWith(QLatin1String(".md")));
}

/// A semicolon too many behind any token: what was wrong stays wrong, what was right stays right.
void FormatterTest::keepsStraySemicolons()
{
    const QString source = QStringLiteral(
        "program 'P'\nstruct S { integer a char b[2] }\nconst S s = {1, 'x'}\nconst integer A = 1\nvolatile integer n\n"
        "device d = 5001:9:0\nexclusive [d, 1..2]\nlevel [10001:1:0, 1] n\n"
        "routine R(integer k) { stack_var integer i; i = k; i++; ++i; if (i) n = 1 else { n = s.a } return }\n"
        "start { call R(A); on [d, 1]; wait 5 'w' { n++ } switch (n) { case 1: { n = 2 } default: { } }\n"
        "select { active (n): { n = 1 } } while (n) { break } send_string d, \"'x', 13\" }\n"
        "button_event [d, 1], [d, 2] { push: { n = 1 } release: { n = 2 } }\n");
    QVERIFY2(compileSource(source).isGood(), qPrintable(compileSource(source).text()));
    static const QRegularExpression token(QStringLiteral("'[^']*'|\\w+|\\S"));
    for (auto match = token.globalMatch(source); match.hasNext();) {
        for (const char *const stray : { ";", ";;" }) {
            QString changed = source;
            changed.insert(match.peekNext().capturedEnd(), QLatin1String(stray));
            const FormattedBytes formatted = formatBytes(changed.toUtf8(), QStringLiteral("p"));
            QVERIFY2(!formatted.isGood() ||
                         compileSource(changed).isGood() == compileSource(QString::fromUtf8(formatted.bytes)).isGood(),
                     formatted.bytes.constData());
        }
        match.next();
    }
}

void FormatterTest::keepsBytesAroundLines()
{
    const QByteArray mark = QByteArray::fromHex("efbbbf");
    QCOMPARE(formatBytes(mark + "integer  a\r\nstart {\r\rx}", {}).bytes,
             mark + "integer a\r\nstart\r\n{\r\n    x\r\n}\r\n");
    QCOMPARE(formatBytes("integer  a\rinteger b\n", {}).bytes, QByteArray("integer a\ninteger b\n"));
    QVERIFY(!formatBytes("char a[] = '\xe4'", {}).isGood());
}

void FormatterTest::repositoryIsFormatted()
{
    for (const QString &folder : { QStringLiteral("examples"), QStringLiteral("bench") }) {
        for (const QString &path : filesBelow(folder, QStringLiteral("*.src"))) {
            QVERIFY2(formatSource(fileText(path)).text == fileText(path),
                     qPrintable(QStringLiteral("run arkc fmt %1").arg(path)));
        }
    }
}

TEST_CLASS(FormatterTest)
#include "FormatterTest.moc"
