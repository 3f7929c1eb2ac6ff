#include "compiler/lexing/Words.h"
#include "library/Library.h"
#include "support/TestClass.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

/// What the editors know of the language: every word and built-in function, in both grammars.
class EditorsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void grammarsKnowEveryWord_data();
    void grammarsKnowEveryWord();
    void patternsAreLegal();
    void filesAreJson_data();
    void filesAreJson();

private:
    static QByteArray contents(const QString &path);
    static void compileAll(const QJsonValue &node, int &patterns);
};

QByteArray EditorsTest::contents(const QString &path)
{
    QFile file(QStringLiteral(EDITORS "/") + path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void EditorsTest::grammarsKnowEveryWord_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("TextMate") << QStringLiteral("vscode/syntaxes/arkivon.tmLanguage.json");
    QTest::newRow("Vim") << QStringLiteral("vim/syntax/arkivon.vim");
}

void EditorsTest::grammarsKnowEveryWord()
{
    QFETCH(QString, path);
    const QString text = QString::fromUtf8(contents(path));
    QStringList words = wordsWith(~0U);
    for (const Builtin &builtin : Library::table()) {
        words += QString::fromLatin1(builtin.name).toLower();
    }
    QStringList missing;
    for (const QString &word : words) {
        // \b, \< and \z of a pattern stand directly before a word: they are no part of it
        const QRegularExpression whole(QStringLiteral("(?<![a-z0-9_])(?:\\\\[bz]s?)?%1(?![a-z0-9_])").arg(word));
        if (!text.contains(whole)) {
            missing += word;
        }
    }
    QCOMPARE(missing.join(QLatin1Char(' ')), QString());
}

void EditorsTest::compileAll(const QJsonValue &node, int &patterns)
{
    for (const QJsonValue &item : node.toArray()) {
        compileAll(item, patterns);
    }
    const QJsonObject object = node.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const bool isPattern = member.value().isString() &&
                               (member.key() == QLatin1String("match") || member.key() == QLatin1String("begin") ||
                                member.key() == QLatin1String("end"));
        if (isPattern) {
            const QRegularExpression pattern(member.value().toString());
            QVERIFY2(pattern.isValid(), qPrintable(pattern.pattern() + QLatin1Char(' ') + pattern.errorString()));
            ++patterns;
        }
        compileAll(member.value(), patterns);
    }
}

void EditorsTest::patternsAreLegal()
{
    int patterns = 0;
    compileAll(QJsonDocument::fromJson(contents(QStringLiteral("vscode/syntaxes/arkivon.tmLanguage.json"))).object(),
               patterns);
    QVERIFY(patterns > 20);
}

void EditorsTest::filesAreJson_data()
{
    QTest::addColumn<QString>("path");
    for (const char *path : { "package.json", "language-configuration.json", "snippets/arkivon.json",
                              "syntaxes/arkivon.tmLanguage.json" }) {
        QTest::newRow(path) << QStringLiteral("vscode/%1").arg(QLatin1String(path));
    }
}

/// And the files that the extension's description names are there.
void EditorsTest::filesAreJson()
{
    QFETCH(QString, path);
    QJsonParseError error{};
    const QByteArray text = contents(path);
    QVERIFY(!QJsonDocument::fromJson(text, &error).isNull());
    static const QRegularExpression named(QStringLiteral("\"\\./([^\"]+)\""));
    for (auto found = named.globalMatch(QString::fromUtf8(text)); found.hasNext();) {
        const QString file = found.next().captured(1);
        QVERIFY2(!contents(QStringLiteral("vscode/") + file).isEmpty(), qPrintable(file));
    }
}

TEST_CLASS(EditorsTest)
#include "EditorsTest.moc"
