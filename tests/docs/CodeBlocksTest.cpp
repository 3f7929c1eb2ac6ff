#include "compiler/Compiler.h"
#include "compiler/Messages.h"
#include "runtime/ControlProgram.h"
#include "support/MarkdownPage.h"
#include "support/ScriptedProgram.h"
#include "support/TestClass.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

/// Holds every page to its word: the control language on it compiles, gives the values that stand beside it, reports
/// what it says, and does what the hidden scripts expect. CONTRIBUTING.md, "Pages", has the notation.
class CodeBlocksTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void hold_data();
    void hold();
    void noticesWhatIsWrong_data();
    void noticesWhatIsWrong();
    void explainsEveryMessage();
};

namespace {
const QString kSeen = QStringLiteral("seenByTheTest");

/// A value as a page writes it: a number, 'a text', or bytes like $0D 10. Invalid: the comment is prose.
QVariant written(const QString &comment)
{
    static const QRegularExpression number(QStringLiteral("^-?\\d+(\\.\\d+)?([eE][-+]?\\d+)?$"));
    static const QRegularExpression text(QStringLiteral("^'.*'$"));
    static const QRegularExpression bytes(
        QStringLiteral("^(\\$[0-9A-F]{1,2}|\\d{1,3})( (\\$[0-9A-F]{1,2}|\\d{1,3}))*$"));
    if (number.match(comment).hasMatch()) {
        return comment.toDouble();
    }
    if (text.match(comment).hasMatch()) {
        return comment.mid(1, comment.size() - 2).replace(QStringLiteral("''"), QStringLiteral("'")).toUtf8();
    }
    if (!bytes.match(comment).hasMatch()) {
        return QVariant();
    }
    QByteArray result;
    for (const QString &part : comment.split(QLatin1Char(' '))) {
        const bool isHex = part.startsWith(QLatin1Char('$'));
        result.append(static_cast<char>(isHex ? part.mid(1).toInt(nullptr, 16) : part.toInt()));
    }
    return result;
}

QVariant valueOf(const BasicType *value)
{
    if (const Array *array = asArray(value)) {
        return array->toBytes();
    }
    const Double *number = asDouble(value);
    return number ? QVariant(number->value()) : QVariant();
}

/// A block made into a program, and what its comments say about it.
/// Owns: nothing but values.
class Example
{
public:
    Example(const CodeBlock &block, const QStringList &preamble);
    QString check() const; // what is wrong, for a person; empty when nothing is

private:
    void addLine(const QString &line, int number, bool isExpression);
    void noteRemark(const QString &comment, int number);
    void addValue(const QVariant &value, const QString &target, int number);
    void addCode(const QString &line, int number);
    QString differenceOf(const CompileResult &compiled) const;
    QString run(const QByteArray &objectFile) const;

    QStringList m_outside;  // lines before the code
    QStringList m_inside;   // the code
    QStringList m_remarks;  // "12: error: text", lines of the page
    QStringList m_warnings; // the same for warnings, all of which need not be announced
    QStringList m_reports;  // what the program reports when it runs
    QVector<QVariant> m_values;
    QStringList m_plays;
    QVector<int> m_lines; // of the page, for each line inside
    QString m_problem;    // with the block itself
};

Example::Example(const CodeBlock &block, const QStringList &preamble)
    : m_plays(block.plays)
{
    const QString form = block.kind.section(QLatin1Char(' '), 1, 1);
    const bool isExpression = form == QLatin1String("expressions");
    const bool isBody = isExpression || form == QLatin1String("statements");
    const bool isFragment = isBody || form == QLatin1String("preamble") || form == QLatin1String("declarations");
    if (isFragment) {
        m_outside = preamble;
    } else if (!form.isEmpty() && !form.startsWith(QLatin1String("file="))) {
        m_problem = QStringLiteral("nothing is known of this kind of block");
    }
    for (int at = 0; at < block.code.size(); ++at) {
        addLine(block.code.at(at), block.line + at, isExpression);
    }
    if (isBody) {
        m_outside << QStringLiteral("start {");
        addCode(QStringLiteral("}"), 0);
    }
}

void Example::addLine(const QString &line, int number, bool isExpression)
{
    static const QRegularExpression commented(QStringLiteral("^(.*?\\S) +// (.*)$"));
    static const QRegularExpression assigned(QStringLiteral("^ *([a-zA-Z_][\\w.]*(?:\\[[^=]*\\])*(?:\\.\\w+)*) = "));
    const QRegularExpressionMatch parts = commented.match(line);
    const QString comment = parts.captured(2).trimmed();
    const QVariant value = written(comment);
    const QString target = isExpression ? parts.captured(1) : assigned.match(line).captured(1);
    noteRemark(comment, number);
    if (!isExpression) {
        addCode(line, number);
    }
    if (value.isValid() && !target.isEmpty()) {
        addValue(value, target, number);
    } else if (value.isValid() || (isExpression && !line.isEmpty())) {
        m_problem = QStringLiteral("line %1: a value belongs to an assignment, and an expression has one").arg(number);
    }
}

void Example::noteRemark(const QString &comment, int number)
{
    const QString text = comment.section(QStringLiteral(": "), 1);
    if (comment.startsWith(QLatin1String("reports: "))) {
        m_reports << text;
    } else if (comment.startsWith(QLatin1String("error: "))) {
        m_remarks << QStringLiteral("%1: %2").arg(number).arg(text);
    } else if (comment.startsWith(QLatin1String("warning: "))) {
        m_warnings << QStringLiteral("%1: %2").arg(number).arg(text);
    }
}

/// A variable of its own, which takes the value when the program gets there.
void Example::addValue(const QVariant &value, const QString &target, int number)
{
    const QString name = kSeen + QString::number(m_values.size());
    m_outside << (value.type() == QVariant::ByteArray ? QStringLiteral("char %1[200]") : QStringLiteral("double %1"))
                     .arg(name);
    addCode(QStringLiteral("%1 = %2").arg(name, target), number);
    m_values << value;
}

void Example::addCode(const QString &line, int number)
{
    m_inside << line;
    m_lines << number;
}

QString Example::check() const
{
    if (!m_problem.isEmpty()) {
        return m_problem;
    }
    QString source = (m_outside + m_inside).join(QLatin1Char('\n')) + QLatin1Char('\n');
    const CompileResult compiled = compileSource(source);
    if (const QString difference = differenceOf(compiled); !difference.isEmpty() || !compiled.isGood()) {
        return difference;
    }
    if (const QString difference = run(compiled.objectFile); !difference.isEmpty() || m_plays.isEmpty()) {
        return difference;
    }
    for (const QString &line : m_plays) {
        source += QStringLiteral("//") + line + QLatin1Char('\n');
    }
    return ScriptedProgram::play(source);
}

QString Example::differenceOf(const CompileResult &compiled) const
{
    QStringList seen;
    QStringList warned;
    for (const Diagnostic &diagnostic : compiled.diagnostics) {
        const int line = m_lines.value(diagnostic.line - 1 - m_outside.size());
        (diagnostic.isError() ? seen : warned) << QStringLiteral("%1: %2").arg(line).arg(diagnostic.message);
    }
    for (const QString &warning : m_warnings) {
        if (!warned.contains(warning)) {
            return QStringLiteral("no warning %1; there are: %2").arg(warning, warned.join(QStringLiteral(" | ")));
        }
    }
    int same = 0;
    while (same < seen.size() && seen.value(same) == m_remarks.value(same)) {
        ++same;
    }
    return seen == m_remarks
               ? QString()
               : QStringLiteral("error expected: %1\nseen: %2").arg(m_remarks.value(same), seen.value(same));
}

QString Example::run(const QByteArray &objectFile) const
{
    QTemporaryDir directory;
    const QString before = QDir::currentPath();
    QDir::setCurrent(directory.path()); // examples name files
    FakeDevices devices;
    ControlProgram program(directory.path());
    QStringList messages;
    const auto note = [&messages](const QString &text) { messages << text; };
    QObject::connect(&program.tree(), &AST::error, &program.tree(), note);
    QObject::connect(&program.tree(), &AST::warning, &program.tree(), note);
    program.state().setDevices(&devices);
    QDataStream stream(objectFile);
    const bool isLoaded = program.load(stream);
    program.dispatcher().runStartBlock();
    QDir::setCurrent(before);
    if (!isLoaded) {
        return QStringLiteral("the object file does not load");
    }
    if (messages != m_reports) {
        return QStringLiteral("reports expected: %1\nseen: %2")
            .arg(m_reports.join(QStringLiteral(" | ")), messages.join(QStringLiteral(" | ")));
    }
    for (int at = 0; at < m_values.size(); ++at) {
        const QVariant seen = valueOf(program.tree().findGlobal(Name(kSeen + QString::number(at))));
        if (seen != m_values.at(at)) {
            return QStringLiteral("value %1: expected %2, seen %3")
                .arg(at + 1)
                .arg(m_values.at(at).toString(), seen.toString());
        }
    }
    return QString();
}

QStringList pages()
{
    const QDir root(QStringLiteral(SOURCE_ROOT));
    QStringList found{ QStringLiteral("README.md"), QStringLiteral("CONTRIBUTING.md"),
                       QStringLiteral("bench/README.md") };
    for (const char *const folder : { "docs", "examples" }) {
        QDirIterator files(root.filePath(QLatin1String(folder)), { QStringLiteral("*.md") }, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            found << root.relativeFilePath(files.next());
        }
    }
    found.sort();
    return found;
}
} // namespace

Q_DECLARE_METATYPE(CodeBlock)

void CodeBlocksTest::initTestCase()
{
    QVERIFY2(pages().size() > 15, "the pages are not where they should be");
}

void CodeBlocksTest::hold_data()
{
    QTest::addColumn<CodeBlock>("block");
    QTest::addColumn<QStringList>("preamble");
    for (const QString &path : pages()) {
        QFile page(QStringLiteral(SOURCE_ROOT "/") + path);
        QVERIFY(page.open(QIODevice::ReadOnly));
        QStringList preamble;
        for (const CodeBlock &block : codeBlocksOf(QString::fromUtf8(page.readAll()))) {
            if (block.kind.section(QLatin1Char(' '), 0, 0) != QLatin1String("arkivon")) {
                continue;
            }
            QTest::newRow(qPrintable(QStringLiteral("%1:%2").arg(path).arg(block.line))) << block << preamble;
            if (block.kind == QLatin1String("arkivon preamble")) {
                preamble += block.code;
            }
        }
    }
}

void CodeBlocksTest::hold()
{
    QFETCH(CodeBlock, block);
    QFETCH(QStringList, preamble);
    const QString problem = Example(block, preamble).check();
    QVERIFY2(problem.isEmpty(), qPrintable(QStringLiteral("[%1] %2").arg(block.heading, problem)));
}

void CodeBlocksTest::noticesWhatIsWrong_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("plays");
    QTest::newRow("another value") << "arkivon statements"
                                   << "x = 2 + 2 // 5"
                                   << "";
    QTest::newRow("another value of an expression") << "arkivon expressions"
                                                    << "2 + 2 // 5"
                                                    << "";
    QTest::newRow("an error that nobody announced") << "arkivon statements"
                                                    << "nix = 1"
                                                    << "";
    QTest::newRow("an announced error that does not come") << "arkivon statements"
                                                           << "x = 1 // error: no"
                                                           << "";
    QTest::newRow("an announced warning that does not come") << "arkivon statements"
                                                             << "x = 1 // warning: no"
                                                             << "";
    QTest::newRow("a report that nobody announced") << "arkivon statements"
                                                    << "x = 1 / (x - x)"
                                                    << "";
    QTest::newRow("a script that sees something else") << "arkivon statements"
                                                       << "on [5001:9:0, 3]"
                                                       << "= off 5001:9:0 3";
    QTest::newRow("a value of no assignment") << "arkivon statements"
                                              << "x++ // 1"
                                              << "";
    QTest::newRow("an expression without a value") << "arkivon expressions"
                                                   << "2 + 2"
                                                   << "";
    QTest::newRow("an unknown kind") << "arkivon statement"
                                     << "x = 1"
                                     << "";
}

void CodeBlocksTest::noticesWhatIsWrong()
{
    QFETCH(QString, kind);
    QFETCH(QString, code);
    QFETCH(QString, plays);
    const CodeBlock block{ {}, kind, 1, { code }, plays.isEmpty() ? QStringList() : QStringList(plays) };
    QVERIFY(!Example(block, { QStringLiteral("double x") }).check().isEmpty());
}

/// The compiler's messages and the table of the page are the same, in the same order.
void CodeBlocksTest::explainsEveryMessage()
{
    QFile page(QStringLiteral(SOURCE_ROOT "/docs/language.md"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    static const QRegularExpression row(QStringLiteral("^\\| `([a-z-]+)` \\| (error|warning) \\| .+ \\|$"));
    QStringList explained;
    for (const QString &line : QString::fromUtf8(page.readAll()).split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch match = row.match(line);
        if (match.hasMatch()) {
            explained << match.captured(1) + QLatin1Char(' ') + match.captured(2);
        }
    }
    QStringList known;
    for (const Message &message : messages()) {
        known << QString::fromLatin1(message.name) + (message.severity == Diagnostic::Severity::Error
                                                          ? QStringLiteral(" error")
                                                          : QStringLiteral(" warning"));
    }
    QCOMPARE(explained, known);
}

TEST_CLASS(CodeBlocksTest)
#include "CodeBlocksTest.moc"
