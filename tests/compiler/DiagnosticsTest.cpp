#include "compiler/Compiler.h"
#include "compiler/Sources.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace {
using Remarks = std::initializer_list<const char *>;

QStringList textsOf(const Remarks &remarks)
{
    QStringList texts;
    for (const char *remark : remarks) {
        texts += QString::fromUtf8(remark);
    }
    return texts;
}

/// "2:5: error: …" for every remark.
QStringList remarksOn(const QString &source)
{
    QStringList lines;
    for (const Diagnostic &diagnostic : compileSource(source, QStringLiteral("p")).diagnostics) {
        lines += headlineOf(diagnostic).mid(2);
    }
    return lines;
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}
} // namespace

/// What the compiler says to wrong programs: the place and the text.
class DiagnosticsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tellsWhatIsHardlyMeant_data();
    void tellsWhatIsHardlyMeant();
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();
    void acceptsWhatIsRight_data();
    void acceptsWhatIsRight();
    void goesOnAfterErrors();
    void tellsOneMistakeOnce();
    void chainsConstants();
    void showsThePlace();
    void limitsNesting_data();
    void limitsNesting();
    void readsIncludes();
    void refusesUnreadableFiles();
};

void DiagnosticsTest::tellsWhatIsHardlyMeant_data()
{
    const Table<QString, QString> row("code", "source");
    const auto statement = [&row](const char *name, const char *code, const char *text) {
        row(name, code,
            QStringLiteral(
                "device dvPanel = 10001:1:0\ndevice dvRelay = 5001:9:0\ndevice dvSerial = 5001:1:0\n"
                "integer n = 1\ninteger m\nchar s[5]\nchar t[]\ninteger list[4]\nsinteger sn\nchar c\n"
                "const integer UP[] = {1, 2, 3}\nconst integer DOWN[] = {3, 2}\nconst integer ZERO = 0\n"
                "struct Pair { integer a  integer b[2] }\nPair pair\n"
                "function integer Change(integer k) { m = k; return m }\n"
                "function integer Calls(integer k) { return Change(k) }\n"
                "function integer Pure(integer k) { stack_var integer i; i = k + 1; return i }\n"
                "timeline_event [1] { n = 1 }\n"
                "start {\nn = Change(1) + Calls(1) + Pure(1) + m + list[1] + sn + c + pair.a\nlist[1] = UP[1] + "
                "DOWN[1]\ns = t\non [dvPanel, 1]; send_string dvSerial, ''\non [dvRelay, 1 + ZERO]\nwait 5 'lamp' "
                "{ n = 1 }\ntimeline_create(1, UP, 3, timeline_absolute, timeline_once)\n%1\n}")
                .arg(QString::fromUtf8(text)));
    };
    statement("a call right of and", "unguarded-operand", "if (n and Change(1)) { n = 1 }");
    statement("a call of a call", "unguarded-operand", "if (n or not Calls(1)) { n = 1 }");
    statement("a built-in that acts", "unguarded-operand", "if (n and timeline_kill(1)) { n = 1 }");
    statement("a pure call", "", "if (n and Pure(1) and find_string(s, 'x')) { n = 1 }");
    statement("a guarded division", "unguarded-operand", "if (m <> 0 and n / m > 2) { n = 1 }");
    statement("another divisor", "", "if (n <> 0 and n / m > 2) { n = 1 }");
    statement("a panel's state", "unguarded-operand", "if (n and [dvPanel, 1]) { n = 1 }");
    statement("a relay's state", "", "if (n and [dvRelay, 1]) { n = 1 }");
    statement("two assignments", "chained-assignment", "n = m = 5");
    statement("a comparison", "", "n = (m = 5)");
    statement("or 2", "literal-operand", "if (n = 1 or 2) { n = 1 }");
    statement("or true", "", "if (n = 1 or true) { n = 1 }");
    statement("text and number", "text-number", "if (s = 5) { n = 1 }");
    statement("number and text", "text-number", "if (n <> '12') { n = 1 }");
    statement("a character", "", "if (c = 'a' or s[1] = '1') { n = 1 }");
    statement("a sum of texts", "text-sum", "s = 'VOL ' + itoa(5)");
    statement("a sum of strings", "text-sum", "s = s + t");
    statement("a sum with a byte", "", "c = 'A' + 1");
    statement("a list to push", "push-list", "do_push({dvPanel, 3})");
    statement("a return in a text", "escape-in-text", R"(send_string dvSerial, 'ON\r\n')");
    statement("a byte in a text", "escape-in-text", "send_string dvSerial, 'ON$0D'");
    statement("a path", "", R"(send_command dvPanel, 'C:\room\new.png')");
    statement("at least 0", "constant-condition", "while (n >= 0) { n-- }");
    statement("of a signed one", "", "while (sn >= 0) { sn-- }");
    statement("one of two", "constant-condition", "if (n <> 1 or n <> 2) { n = 1 }");
    statement("none of two", "", "if (n <> 1 and n <> 2) { n = 1 }");
    statement("behind an array", "index-range", "list[5] = 1");
    statement("before an array", "index-range", "n = UP[0]");
    statement("behind a member", "index-range", "pair.b[3] = 1");
    statement("behind a local one", "index-range", "{ stack_var integer i[2]; i[3] = 1 }");
    statement("the last", "", "list[4] = 1; list[n] = pair.b[2] + t[900]");
    statement("by 0", "zero-divisor", "n = n % ZERO");
    statement("a long text", "too-long", "s = 'POWER ON'");
    statement("a long list", "too-long", "list = {1, 2, 3, 4, 5}");
    statement("any text", "", "t = 'POWER ON'");
    statement("a number for a text", "argument-number", "n = length_string(n)");
    statement("a device for a number", "argument-kind", "s = itoa(dvPanel)");
    statement("a string to a relay", "port-use", "send_string dvRelay, 'x'");
    statement("on of a serial port", "port-use", "on [dvSerial, 1]");
    statement("relay 9", "port-use", "on [dvRelay, {1, 9}]");
    statement("port 30", "port-use", "off [5001:30:0, 1]");
    statement("IO 6", "", "off [5001:18:0, 6]");
    statement("a case before another", "empty-case", "switch (n) { case 1: case 2: { n = 1 } }");
    statement("a case that does nothing", "", "switch (n) { case 1: { } case 2: { n = 1 } }");
    statement("a name of no wait", "unknown-wait", "cancel_wait 'lmap'");
    statement("that of a wait", "", "cancel_wait 'lamp'");
    statement("too many times", "timeline-length", "timeline_create(1, UP, 4, timeline_absolute, timeline_once)");
    statement("descending times", "timeline-order", "timeline_create(1, DOWN, 2, timeline_absolute, timeline_once)");
    statement("intervals", "", "timeline_create(1, DOWN, 2, timeline_relative, timeline_once)");
    statement("nobody hears", "timeline-unheard", "timeline_create(2, UP, 3, timeline_absolute, timeline_once)");
    statement("silenced", "", "n = m = 5 // arkc: ok, for it is meant");
    row("nobody makes", "timeline-unmade", "integer n\ntimeline_event [1] { n = 1 }");
    row("any may make it", "",
        "integer n\nlong t[] = {1}\nstart { timeline_create(n, t, 1, 0, 0) }\ntimeline_event [1] { n = 1 }");
    row("never called", "unused-function", "integer n\nroutine R() { n = 1 }\nstart { n = 2 }");
    row("a library", "", "integer n\nroutine R() { n = 1 }");
    row("a path without return", "missing-return",
        "function integer F(integer k) { if (k) { return 1 } }\nstart { F(1) }");
    row("all paths return", "",
        "function integer F(integer k)\n{\nwhile (1) { if (k) { switch (k) { case 1: { return 1 } default: { return 2 "
        "} } } "
        "else { select { active (k): { return 3 } active (1): { return 4 } } } }\n}\nstart { F(1) }");
    row("a break leaves", "missing-return",
        "function integer F(integer k) { while (1) { if (k) { break } return 1 } }\n"
        "start { F(1) }");
    row("one button twice", "duplicate-button",
        "button_event [5001:18:0, 1] { push: { } }\nbutton_event [5001:18:0, {2, 1}] { push: { } }");
    row("its other part", "",
        "button_event [5001:18:0, 1] { push: { } }\nbutton_event [5001:18:0, 1] { release: { } }");
    row("groups that overlap", "exclusive-overlap", "exclusive [5001:9:0, 1..3]\nexclusive [5001:9:0, {3, 4}]");
    row("groups of two ports", "", "exclusive [5001:9:0, 1..3]\nexclusive [5001:18:0, {3, 4}]");
    row("strings of a relay", "port-use", "data_event [5001:9:0] { string: { } }");
    row("a copy of nothing", "empty-copy", "integer a[3]\ninteger b[3]\nstart { a[1] = 5; b = a }");
    row("a copy of what was set", "", "integer a[3]\ninteger b[3]\nstart { a[1] = 5; set_length_array(a, 1); b = a }");
    row("elements that are lost", "not-stored", "persistent integer a[3]\nstart { a[1] = 5 }");
    row("a member that is lost", "not-stored", "struct S { integer a }\npersistent S s\nstart { s.a = 5 }");
    row("elements that are kept", "", "persistent integer a[3] = {0}\nstart { a[1] = 5 }");
}

/// The one code that a program gives, or none.
void DiagnosticsTest::tellsWhatIsHardlyMeant()
{
    QFETCH(QString, code);
    QFETCH(QString, source);
    const CompileResult result = compileSource(source, QStringLiteral("p"));
    QStringList codes;
    for (const Diagnostic &diagnostic : result.diagnostics) {
        codes << diagnostic.code;
    }
    QVERIFY2(codes == (code.isEmpty() ? QStringList() : QStringList{ code }), qPrintable(result.text()));
}

void DiagnosticsTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("remarks");
    const auto row = [](const char *name, const char *source, const Remarks &remarks) {
        QTest::newRow(name) << QString::fromUtf8(source) << textsOf(remarks);
    };
    const auto statement = [](const char *name, const char *text, const Remarks &remarks) {
        // Line 6 holds the statement, from column 1 on.
        QTest::newRow(name) << QStringLiteral("device dvPanel = 10001:1:0\ninteger nVolume\nchar sText[20]\n"
                                              "start {\nnVolume = length_string(sText)\n%1\n}")
                                   .arg(QString::fromUtf8(text))
                            << textsOf(remarks);
    };

    // Names
    statement("unknown name", "nVolum = 1", { "6:1: error: unknown name 'nVolum'; did you mean 'nVolume'?" });
    statement("nothing like it", "qqq = 1", { "6:1: error: unknown name 'qqq'" });
    statement("unknown function", "nVolume = lenght_string(sText)",
              { "6:11: error: unknown function 'lenght_string'; did you mean 'length_string'?" });
    statement("unknown routine", "call Shov()", { "6:6: error: unknown routine 'Shov'" });
    statement("unknown member", "nVolume = dvPanel.prot",
              { "6:19: error: device has no member 'prot'; did you mean 'port'?" });
    statement("unknown statement", "sned_string dvPanel, 'x'",
              { "6:1: error: a statement expected, found 'sned_string'; did you mean 'send_string'?" });
    statement("event data elsewhere", "sText = data.text",
              { "6:9: error: 'data' is known only inside the handlers of data events" });
    statement("a function without its call", "nVolume = get_system_number",
              { "6:11: error: 'get_system_number' is a function; call it as get_system_number(…)" });
    row("unknown type", "intger x", { "1:1: error: unknown type 'intger'; did you mean 'integer'?" });
    row("unknown declaration", "buton_event [5001:1:0, 1] { }",
        { "1:1: error: a declaration expected, found 'buton_event'; did you mean 'button_event'?" });
    row("a statement outside", "send_string 1:1:0, 'x'",
        { "1:1: error: the statement 'send_string' can stand only in a block" });
    row("unknown part", "button_event [5001:1:0, 1] { pull: { } push: { } }",
        { "1:30: error: 'push:', 'release:' or 'hold [time]:' expected, found 'pull'" });

    // Names twice
    row("variable twice", "integer a\nchar A[3]", { "2:6: error: 'A' is already defined (line 1)" });
    row("system variable", "integer time", { "1:9: error: 'time' is already defined by the system" });
    row("system constant, another value", "const integer TRUE = 2",
        { "1:15: error: 'TRUE' is already defined by the system, with the value 1" });
    row("function twice", "function f() { }\nfunction F() { }",
        { "2:10: error: the function 'F' is already defined (line 1)" });
    row("function of the library", "function itoa(integer n) { }",
        { "1:10: error: 'itoa' is a function of the library" });
    row("routine twice", "routine r() { }\nroutine r() { }",
        { "2:9: error: the routine 'r' is already defined (line 1)" });
    row("member twice", "struct S { integer a char a[3] }", { "1:27: error: the structure has a member 'a' already" });
    row("type twice", "struct S { char a }\nstruct s { char a }", { "2:8: error: the type 's' is already defined" });
    row("parameter twice", "routine r(char a, char a) { }", { "1:24: error: there is a parameter 'a' already" });
    row("local in an inner block", "start { stack_var char a; a = 1; { stack_var char a; a = 2 } }",
        { "1:51: error: 'a' is already defined here (line 1)" });
    row("start twice", "start { }\nstart { }", { "2:1: error: there is a start block already (line 1)" });
    row("word of the language", "integer while", { "1:9: error: 'while' is a word of the language" });
    row("told once", "start {\nx = 1\nX = y\nx++\ny = 2\n}",
        { "2:1: error: unknown name 'x' (and 2 more uses)", "3:5: error: unknown name 'y' (and 1 more use)" });
    row("what follows from a faulty constant",
        "const integer A = 1 / 0\nconst integer B = A\ninteger c[B]\nstart { c[1] = B }",
        { "1:19: error: a constant value expected" });
    row("array with the name of a statement", "char on[3]",
        { "1:6: error: an array cannot be called 'on': on [ begins a statement" });

    // Calls
    statement("too few for a built-in", "nVolume = left_string('x')",
              { "6:11: error: 'left_string' takes 2 arguments, not 1" });
    statement("too many for a built-in", "nVolume = itoa(1, 2)", { "6:11: error: 'itoa' takes 1 argument, not 2" });
    row("wrong count for a function", "function f(char a) { }\nstart { f() }",
        { "2:9: error: 'f' takes 1 argument, not 0" });
    row("wrong count for a routine", "routine r() { }\nstart { call r(1) }",
        { "2:14: error: 'r' takes 0 arguments, not 1" });
    row("routine as a function", "routine r() { }\nstart { r() }",
        { "2:9: error: 'r' is a routine; write: call r(…)" });
    row("function as a routine", "function f() { }\nstart { call f() }",
        { "2:14: error: 'f' is a function; it is called without 'call'" });
    row("a number for a structure", "struct S { char a }\nroutine r(S s) { }\nstart { call r(5) }",
        { "3:16: error: S expected, found double" });

    // Constants
    statement("assigning a constant", "dvPanel = 1:1:0", { "6:1: error: 'dvPanel' is a constant" });
    statement("stepping a constant", "true++", { "6:1: error: 'true' is a constant" });
    statement("assigning a system variable", "time = '00:00:00'", { "6:1: error: 'time' is a constant" });
    row("element of a constant", "const char A[] = 'x'\nstart { A[1] = 2 }", { "2:9: error: 'A' is a constant" });
    row("constant without a value", "const integer A", { "1:15: error: the constant 'A' needs a value" });
    row("value that changes", "integer a = 1\nconst integer B = a", { "2:19: error: a constant value expected" });
    row("values in a circle", "const integer A = B\nconst integer B = A",
        { "1:15: error: the value of 'A' depends on itself" });
    row("a constant with a storage class", "const persistent char A = 1",
        { "1:7: error: a constant has no storage class" });
    row("divided by zero", "const integer A = 1 / 0", { "1:19: error: a constant value expected" });

    // Devices
    row("number too large", "device d = 47000:1:0",
        { "1:12: error: the number of a device must be a whole number from 0 to 46999" });
    row("port 0", "device d = 1:0:0", { "1:14: error: the port of a device must be a whole number from 1 to 65535" });
    row("system in parts", "const integer S = 65536\nstart { on [(1):(1):(65536), 1] }",
        { "2:22: error: the system of a device must be a whole number from 0 to 65535" });
    row("two parts", "device d = 1:1", { "1:12: error: a device address has three parts: number:port:system" });
    row("without address", "device d", { "1:8: error: the device 'd' needs an address: = number:port:system" });
    statement("no device", "send_string nVolume, 'x'", { "6:13: error: a device expected, found integer" });
    statement("channel without device", "on [nVolume, 1]", { "6:5: error: a device expected, found integer" });
    statement("device without channel", "on [dvPanel]", { "6:5: error: devchan expected, found device" });
    statement("a device compared", "if (dvPanel = 1) { nVolume = 1 }",
              { "6:5: error: device cannot be used as a number" });
    row("handler on an undeclared device", "button_event [7:1:0, 1] { }",
        { "1:15: warning: the device 7:1:0 is never declared" });

    // Values
    row("text too long", "char s[3] = 'four'", { "1:13: error: the text has 4 bytes, the array holds 3" });
    row("list too long", "integer a[1] = {1, 2}", { "1:16: error: the list has 2 items, the array holds 1" });
    row("too many members", "struct S { char a }\nS s = {1, 2}",
        { "2:7: error: the list has 2 items, the structure 1 members" });
    row("number for an array", "char s[3] = 5\nstart { s = '' }", { "1:13: error: a text or a list {…} expected" });
    row("text for a number", "integer n = 'text'", { "1:13: error: a number expected" });
    row("size 0", "char s[0]", { "1:8: error: the size of an array must be a whole number from 1 to 2147483647" });
    row("structure in itself", "struct S { S s }", { "1:8: error: the structure contains itself" });
    row("value out of range", "char c = 300\nstart { c = 1 }",
        { "1:10: warning: 300 does not fit into char; it becomes 44" });

    // Control
    statement("break outside", "break", { "6:1: error: break stands outside a loop" });
    statement("continue in a switch outside", "switch (nVolume) { case 1: { continue } }",
              { "6:30: error: continue stands outside a loop" });
    statement("break of a wait inside a loop", "while (1) { wait 5 { break } }",
              { "6:22: error: break stands outside a loop" });
    statement("never reached", "return\nnVolume = 1\nnVolume = 2", { "7:1: warning: this statement is never reached" });
    statement("always true", "if (1 + 1) { nVolume = 1 }", { "6:5: warning: this condition is always true" });
    statement("never true", "while (false) { nVolume = 1 }", { "6:8: warning: this condition is always false" });
    statement("for without condition", "for (nVolume = 1; ; nVolume++) { }",
              { "6:19: error: a for needs a condition; without one its body never runs" });
    statement("case twice", "switch (nVolume) { case 65: { } case 65: { } }",
              { "6:33: error: this case stands here already" });
    statement("late definition", "stack_var integer i", { "6:1: error: definitions stand first in a block" });
    statement(
        "initial value of a local_var", "{ local_var integer i = 5\ni = 6 }",
        { "6:23: error: only a stack_var can have an initial value; a local_var keeps its content between runs" });
    row("never used", "integer a\nstart { stack_var char b }",
        { "1:9: warning: the variable 'a' is never used", "2:24: warning: the variable 'b' is never used" });
    row("captured local", "start { stack_var char a; a = 1; wait 5 capture (a) { a = 2 } }",
        { "1:50: warning: 'a' is not global; a wait takes its local variables along without capture" });
    row("lost result", "routine r() { return 5 }",
        { "1:22: warning: only a function has a result; the value is lost" });
    row("no result", "function integer f() { }", { "1:18: warning: the function 'f' never returns a value" });

    // Braces and slips: the place where the indentation shows it, and nothing that follows from it
    row("brace missing in an indented body",
        "start {\n    if (true = day[1]) {\n        on [5001:9:0, 1]\n    on [x, 2]\n}\n"
        "mainline { y = 1 }",
        { "4:5: error: '}' expected before this: the '{' of line 2 is not closed", "6:12: error: unknown name 'y'" });
    row("brace missing at the end", "routine r()\n{\n    x = 1\n\nstart { call r() }",
        { "5:1: error: '}' expected before this: the '{' of line 2 is not closed" });
    row("opening brace missing",
        "start {\n    while (true = day[1])\n        x = 1\n        x = 2\n    }\n    x = 3\n}",
        { "3:9: error: '{' expected before this: the '}' of line 5 closes nothing" });
    row("brace too many", "start { } }\nmainline { }", { "1:11: error: this '}' closes nothing" });
    row("misspelt words",
        "cosnt integer A = 1\nfuction integer F(integer n)\n{\nretrun n\n}\nbuton_event [5001:18:0, A]\n{\npush: {\n"
        "wile (F(1)) {\nbraek\n}\n}\n}",
        { "1:1: error: a declaration expected, found 'cosnt'; did you mean 'const'?",
          "2:1: error: a declaration expected, found 'fuction'; did you mean 'function'?",
          "4:1: error: a statement expected, found 'retrun'; did you mean 'return'?",
          "6:1: error: a declaration expected, found 'buton_event'; did you mean 'button_event'?",
          "9:1: error: a statement expected, found 'wile'; did you mean 'while'?",
          "10:1: error: a statement expected, found 'braek'; did you mean 'break'?" });

    // Words of other languages
    row("elif", "integer a\nstart {\nif (a) { a = 1 }\nelif (a = 2) { a = 3 }\n}",
        { "4:1: error: 'elif' is no word of this language; write else if (…) { … }" });
    row("a type", "string s\nint n = 5\nstart { n = 1 }",
        { "1:1: error: 'string' is no word of this language; write char name[100]",
          "2:1: error: 'int' is no word of this language; write integer (unsigned) or sinteger" });
    statement(
        "a function", "sleep(5)\nprint('x')",
        { "6:1: error: 'sleep' is no word of this language; write wait 10 { … }: the block runs 1 s later",
          "7:1: error: 'print' is no word of this language; write send_string device, text; arkctl monitor shows it" });
    statement(
        "double quotes", R"(sText = "POWER ON\r")",
        { "6:9: error: a text stands in single quotes, and double quotes hold a list of bytes; write \"'POWER ON', "
          "$0D\"" });
    statement("double quotes around a word", R"(sText = "POWER")",
              { "6:9: error: a text stands in single quotes, and double quotes hold a list of bytes; write 'POWER'" });

    // Form
    statement("two statements on a line", "nVolume = 1 nVolume = 2",
              { "6:13: error: the end of the statement expected, found 'nVolume'" });
    statement("a member of a number", "nVolume.x = 1", { "6:9: error: integer has no members" });
    statement("an element of a number", "nVolume[1] = 1", { "6:8: error: this is integer, not an array" });
    statement("a step inside an expression", "nVolume = sText[1]++",
              { "6:11: error: inside an expression only a plain variable can be stepped" });
    statement("comparison as a statement", "nVolume == 1", { "6:9: error: '=' (an assignment) expected, found '=='" });
    row("text without end", "const char A[] = 'abc\nstart { }",
        { "1:18: error: this text has no end on its line; ' is missing" });
    row("comment without end", "start { }\n/* abc", { "2:1: error: this comment has no end; '*/' is missing" });
    row("brace missing", "routine r() {\nif (1 = time[1]) {\n}\nstart { }\nmainline { }",
        { "1:13: error: this '{' is not closed before 'start'" });
    row("unexpected character", "integer a # b\n", { "1:11: error: unexpected character '#'" });
    row("bad number", "const integer A = 5x", { "1:20: error: 'x' does not belong to a number" });
}

void DiagnosticsTest::tellsWhatIsWrong()
{
    QFETCH(QString, source);
    QFETCH(QStringList, remarks);
    QCOMPARE(remarksOn(source), remarks);
}

void DiagnosticsTest::acceptsWhatIsRight_data()
{
    const Table<QString> row("source");
    row("empty", "");
    row("only a comment, no line end", "// nothing");
    row("line ends of all kinds, a byte order mark's place", "integer a\r\nstart { a = 1\ra = 2 }\r\n");
    row("case does not matter", "INTEGER A\nStart { a = LENGTH_ARRAY('x') }");
    row("no separators", "integer a\nstart { if (a) { a = 1 } a = 2; while (a) { break } a = 3 }");
    row("an expression over lines", "integer a\nstart {\na = 1 +\n2 * (\n3\n+ a)\n}");
    row("a channel on the next line is no index", "device d = 1:1:0\ninteger a\nstart {\na = 1\n[d, 1] = a\n}");
    row("else on the next line", "integer a\nstart {\nif (a)\na = 1\nelse\na = 2\n}");
    row("operators between words in double quotes", "integer a\nchar s[9]\nstart { s = \"a mod a, not a, 'a b', a\" }");
    row("names used before their declaration",
        "const integer B = A + 1\nstart { f(B) }\nfunction f(integer n) { n = A }\nconst integer A = 1");
    row("a system constant again", "const integer FILE_RW_NEW = 2");
    row("words of statements as names", "integer on\ninteger pulse\nroutine r(integer to) { on = to; pulse++ }");
    row("a local hides a global", "integer a\nroutine r(char a[]) { a = 'x' }\nstart { a = 1; call r('y') }");
    row("while (1), active (1)", "integer a\nstart { while (1) { select { active (1): { a = 1; break } } } }");
    row("doubled quote, comment signs in a text", "const char A[] = 'it''s // no /* comment'");
    row("a wait's body sees locals", "start { stack_var char a; a = 1; wait 5 { a = 2 } }");
}

void DiagnosticsTest::acceptsWhatIsRight()
{
    QFETCH(QString, source);
    const CompileResult result = compileSource(source);
    QCOMPARE(result.text(), QString());
    QVERIFY(!result.objectFile.isEmpty());
}

/// One run finds what is wrong in all parts, and nothing that is right.
void DiagnosticsTest::goesOnAfterErrors()
{
    const QStringList remarks = remarksOn(QStringLiteral("integer a = \n"
                                                         "start {\n"
                                                         "    a = (1 + \n"
                                                         "    b = 1\n"
                                                         "    if (a { a = 2 }\n"
                                                         "    a = 3\n"
                                                         "    c = 1\n"
                                                         "}\n"
                                                         "struct { integer x }\n"
                                                         "integer d[x]\n"
                                                         "button_event [5001:1:0, ] { push: { e = 1 } }\n"
                                                         "mainline { f() }\n"));
    QStringList places;
    for (const QString &remark : remarks) {
        places += remark.section(QLatin1Char(':'), 0, 0);
    }
    QCOMPARE(places.join(QLatin1Char(' ')), QStringLiteral("2 4 5 7 9 10 11 11 12"));
}

namespace {
/// A line broken in one way; null where the way does not apply.
QString brokenLine(const QString &line, int way)
{
    static const QString kSigns = QStringLiteral("()[]{};'\"");
    static const QRegularExpression kWord(
        QStringLiteral("^\\s*(const|device|integer|struct|routine|function|button_event|"
                       "if|while|wait|case|send_\\w+|push|release|start)\\b"));
    QString broken = line;
    if (way < 2 * kSigns.size()) {
        const QChar sign = kSigns.at(way / 2);
        const int at = way % 2 == 0 ? line.indexOf(sign) : line.lastIndexOf(sign);
        return at < 0 ? QString() : broken.remove(at, 1);
    }
    const QRegularExpressionMatch word = kWord.match(line);
    return word.hasMatch() ? broken.remove(word.capturedEnd(1) - 2, 1) : QString();
}
} // namespace

/// A real program, each line of it broken in one of the ways in turn: few messages, the first where the fault is.
void DiagnosticsTest::tellsOneMistakeOnce()
{
    constexpr int kWays = 19;
    const QString path = QStringLiteral(ROOT "/examples/boardroom/boardroom.src");
    const QStringList lines = QString::fromUtf8(readSource(path).text.toUtf8()).split(QLatin1Char('\n'));
    int way = 0;
    int wrong = 0;
    for (int at = 0; at < lines.size(); ++at) {
        const auto hasCode = [&lines](int line) {
            return !lines.at(line).section(QStringLiteral("//"), 0, 0).trimmed().isEmpty();
        };
        QString broken;
        for (int tried = 0; tried < kWays && broken.isNull() && hasCode(at); ++tried) {
            broken = brokenLine(lines.at(at), way++ % kWays);
        }
        if (broken.isNull()) {
            continue;
        }
        int next = at + 1;
        while (next < lines.size() - 1 && !hasCode(next)) {
            ++next;
        }
        QStringList program = lines;
        program[at] = broken;
        const CompileResult result = compileSource(program.join(QLatin1Char('\n')), path);
        if (result.isGood()) {
            continue;
        }
        ++wrong;
        const int first = result.diagnostics.front().line - 1;
        QVERIFY2(errorCount(result.diagnostics) <= 3 && first >= at && first <= next,
                 qPrintable(QStringLiteral("line %1: %2\n%3").arg(at + 1).arg(broken, result.text())));
    }
    QVERIFY(wrong > 150);
}

/// A chain of constants may be longer than the stack is deep; an array of them takes no room for each.
void DiagnosticsTest::chainsConstants()
{
    QString source = QStringLiteral("start { on [5001:9:0, A0 - 8000] }\n");
    for (int i = 0; i < 8000; ++i) {
        source += QStringLiteral("const integer A%1 = A%2 + 1\n").arg(i).arg(i + 1);
    }
    QCOMPARE(compileSource(source + QStringLiteral("const integer A8000 = 1\n")).text(), QString());
    QCOMPARE(remarksOn(source + QStringLiteral("const integer A8000 = A0\n")),
             QStringList{ QStringLiteral("2:15: error: the value of 'A0' depends on itself") });
}

void DiagnosticsTest::showsThePlace()
{
    const CompileResult result =
        compileSource(QStringLiteral("char s[9]\nstart {\n\ts = '\U0001F600', x\n}"), QStringLiteral("a.src"));
    QCOMPARE(result.text(), QStringLiteral("a.src:3:9: error: the end of the statement expected, found ','\n"
                                           "\ts = '\U0001F600', x\n"
                                           "\t       ^\n"));

    const QString longLine =
        QStringLiteral("start { call x() ") + QString(300, QLatin1Char(';')) + QStringLiteral(" break }");
    const QStringList lines = compileSource(longLine, QStringLiteral("a.src")).text().split(QLatin1Char('\n'));
    QCOMPARE(lines.at(3), QStringLiteral("a.src:1:319: error: break stands outside a loop"));
    QCOMPARE(lines.at(4).mid(lines.at(5).size() - 1), QStringLiteral("break }"));
}

void DiagnosticsTest::limitsNesting_data()
{
    const Table<QString, QString> row("source", "message");
    const auto repeated = [](const char *text, int times) { return QString::fromLatin1(text).repeated(times); };
    const QString start = QStringLiteral("integer a\nstart {\n%1\n}");
    const QString levels = QStringLiteral("nested too deeply");
    row("parentheses", start.arg(QStringLiteral("a = ") + repeated("(", 100000)), levels);
    row("signs", start.arg(QStringLiteral("a = ") + repeated("- ", 100000)), levels);
    row("brackets", start.arg(QStringLiteral("a = ") + repeated("a[", 100000)), levels);
    row("lists", start.arg(QStringLiteral("a = ") + repeated("{", 100000)), "not closed");
    row("initial lists", QStringLiteral("integer a = ") + repeated("{", 50000) + repeated("}", 50000), levels);
    row("blocks", start.arg(repeated("{", 50000) + repeated("}", 50000)), levels);
    row("ifs", start.arg(repeated("if (a) ", 50000) + QStringLiteral("a = 1")), levels);
    row("a long sum", start.arg(QStringLiteral("a = 1") + repeated(" + 1", 5000)), "too long here");
    row("else-ifs", start.arg(QStringLiteral("if (a) { }") + repeated(" else if (a) { }", 5000)), levels);
}

void DiagnosticsTest::limitsNesting()
{
    QFETCH(QString, source);
    QFETCH(QString, message);
    const CompileResult result = compileSource(source);
    QVERIFY(!result.isGood());
    QVERIFY2(result.text().contains(message), qPrintable(result.text().left(2000)));
}

void DiagnosticsTest::readsIncludes()
{
    QTemporaryDir directory;
    QDir(directory.path()).mkdir(QStringLiteral("lib"));
    const QString main = directory.filePath(QStringLiteral("room.src"));
    write(main, "include 'lib/a.src'\ninclude 'lib/a.src'\nstart { Twice(1) }\n");
    write(directory.filePath(QStringLiteral("lib/a.src")),
          "include 'b.src'\ninclude '../room.src'\nfunction Twice(integer n) { n = n * TWO }\n");
    write(directory.filePath(QStringLiteral("lib/b.src")), "const integer TWO = 2\n");
    QCOMPARE(compileFile(main).text(), QString());

    write(directory.filePath(QStringLiteral("lib/b.src")),
          "const integer TWO = 2\ninclude 'none.src'\ninteger x = y\n");
    QVERIFY(mkfifo(QFile::encodeName(directory.filePath(QStringLiteral("pipe.src"))).constData(), 0600) == 0);
    write(directory.filePath(QStringLiteral("pipes.src")), "include 'pipe.src'\ninclude '/dev/zero'\n");
    const CompileResult pipes = compileFile(directory.filePath(QStringLiteral("pipes.src")));
    QVERIFY2(pipes.diagnostics.size() == 2 && pipes.text().count(QStringLiteral("' is no plain file")) == 2,
             qPrintable(pipes.text()));

    const CompileResult result = compileFile(main);
    QStringList headlines;
    for (const Diagnostic &diagnostic : result.diagnostics) {
        headlines += headlineOf(diagnostic).remove(directory.path() + QLatin1Char('/'));
    }
    QCOMPARE(
        headlines,
        textsOf(
            { "lib/b.src:2:9: error: the include 'lib/none.src' does not exist; it is looked for beside the file that "
              "names it",
              "lib/b.src:3:13: error: unknown name 'y'" }));
}

void DiagnosticsTest::refusesUnreadableFiles()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("x.src"));
    const auto headline = [&path] {
        const CompileResult result = compileFile(path);
        return result.diagnostics.size() == 1 ? headlineOf(result.diagnostics.front()).mid(path.size()) : result.text();
    };
    QCOMPARE(headline(), QStringLiteral(": error: cannot be read: No such file or directory"));
    write(path, "integer a\nchar s[] = 'gr\xfc\xdf'\n");
    QCOMPARE(headline(), QStringLiteral(":2:1: error: the file is not UTF-8 text"));
    write(path, QByteArray("start {\n\0 }", 11));
    QCOMPARE(headline(), QStringLiteral(":2:1: error: the file holds a NUL byte; it is no source text"));
    write(path, "\xef\xbb\xbfstart { }");
    QCOMPARE(compileFile(path).text(), QString());
}

TEST_CLASS(DiagnosticsTest)
#include "DiagnosticsTest.moc"
