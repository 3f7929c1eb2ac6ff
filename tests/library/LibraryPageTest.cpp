#include "compiler/Compiler.h"
#include "library/ControlProgram.h"
#include "library/Library.h"
#include "support/FakeDevices.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

/// Holds docs/library.md to its word: every built-in has its entry, and every example compiles and gives what it says.
class LibraryPageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void describesEveryBuiltin();
    void examplesHold_data();
    void examplesHold();

private:
    struct Entry
    {
        QString heading;
        QStringList example; // lines of code
    };
    QString m_text;
    QStringList m_declarations;
    QVector<Entry> m_entries;
};

namespace {
const QString kIndent = QStringLiteral("    ");

/// A result as the page writes it: a number, 'a text', or bytes like $0D 10.
QVariant written(const QString &value)
{
    if (value.startsWith(QLatin1Char('\''))) {
        return value.mid(1, value.size() - 2).toUtf8();
    }
    if (!value.contains(QLatin1Char(' '))) {
        return value.toDouble();
    }
    QByteArray bytes;
    for (const QString &part : value.split(QLatin1Char(' '))) {
        const bool isHex = part.startsWith(QLatin1Char('$'));
        bytes.append(static_cast<char>(isHex ? part.mid(1).toInt(nullptr, 16) : part.toInt()));
    }
    return bytes;
}

QVariant valueOf(const BasicType *value)
{
    if (const Array *array = asArray(value)) {
        return array->toBytes();
    }
    const Double *number = asDouble(value);
    return number ? QVariant(number->value()) : QVariant();
}
} // namespace

void LibraryPageTest::initTestCase()
{
    QFile page(QStringLiteral(LIBRARY_PAGE));
    QVERIFY(page.open(QIODevice::ReadOnly));
    m_text = QString::fromUtf8(page.readAll());
    for (const QString &line : m_text.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("#### "))) {
            m_entries.append({ line.mid(5), {} });
        } else if (line.startsWith(kIndent)) {
            (m_entries.isEmpty() ? m_declarations : m_entries.last().example) << line;
        }
    }
}

void LibraryPageTest::describesEveryBuiltin()
{
    for (const Builtin &row : Library::table()) {
        const QString name = QString::fromLatin1(row.name).toLower();
        const auto entry = std::find_if(m_entries.cbegin(), m_entries.cend(), [&name](const Entry &candidate) {
            return candidate.heading.contains(name + QLatin1Char('('));
        });
        QVERIFY2(!row.isAvailable() || entry != m_entries.cend(), row.name);
        QVERIFY2(!row.isAvailable() || entry->example.join(QString()).contains(name + QLatin1Char('(')), row.name);
        QVERIFY2(m_text.contains(name), row.name);
    }
}

void LibraryPageTest::examplesHold_data()
{
    QTest::addColumn<QStringList>("lines");
    for (const Entry &entry : m_entries) {
        QTest::newRow(qPrintable(entry.heading.section(QLatin1Char('('), 0, 0))) << entry.example;
    }
}

void LibraryPageTest::examplesHold()
{
    QFETCH(QStringList, lines);
    QStringList declarations = m_declarations;
    QStringList statements;
    QVector<QPair<QString, QVariant>> expected; // variable, value
    static const QRegularExpression check(QStringLiteral("^ *(\\w+) = .*?(?: // (.*))?$"));
    for (const QString &line : lines) {
        statements << line;
        const QRegularExpressionMatch match = check.match(line);
        if (match.captured(2).isEmpty()) {
            continue;
        }
        const QVariant value = written(match.captured(2).trimmed());
        const QString seen = QStringLiteral("seen%1").arg(expected.size());
        declarations << (value.type() == QVariant::ByteArray ? QStringLiteral("char %1[200]")
                                                             : QStringLiteral("double %1"))
                            .arg(seen);
        statements << QStringLiteral("%1 = %2").arg(seen, match.captured(1));
        expected.append({ seen, value });
    }
    const QString source = declarations.join(QLatin1Char('\n')) + QStringLiteral("\nstart\n{\n") +
                           statements.join(QLatin1Char('\n')) + QStringLiteral("\n}\n");
    const CompileResult compiled = compileSource(source);
    QVERIFY2(compiled.isGood(), qPrintable(compiled.text()));

    QTemporaryDir directory;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(directory.path())); // examples name files
    FakeDevices devices;
    ControlProgram program(directory.path());
    QStringList messages;
    connect(&program.tree(), &AST::error, this, [&messages](const QString &text) { messages << text; });
    connect(&program.tree(), &AST::warning, this, [&messages](const QString &text) { messages << text; });
    program.tree().setDevices(&devices);
    QDataStream stream(compiled.objectFile);
    QVERIFY(program.load(stream));
    program.dispatcher().runStartBlock();
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(messages, QStringList());
    for (const auto &[name, value] : expected) {
        QCOMPARE(valueOf(program.tree().findGlobal(Name(name))), value);
    }
}

QTEST_GUILESS_MAIN(LibraryPageTest)
#include "LibraryPageTest.moc"
