#include "library/Library.h"
#include "support/MarkdownPage.h"
#include "support/TestClass.h"

#include <QFile>

/// docs/library.md has an entry for every built-in, with an example. That the examples hold, CodeBlocksTest sees.
class LibraryPageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void describesEveryBuiltin();
};

void LibraryPageTest::describesEveryBuiltin()
{
    QFile page(QStringLiteral(LIBRARY_PAGE));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(page.readAll());
    const QString contents = text.section(QStringLiteral("\nA program calls"), 0, 0);
    const std::vector<CodeBlock> blocks = codeBlocksOf(text);
    for (const Builtin &row : Library::table()) {
        const QString name = QString::fromLatin1(row.name).toLower();
        const QString call = name + QLatin1Char('(');
        const auto entry = std::find_if(blocks.cbegin(), blocks.cend(), [&call](const CodeBlock &block) {
            return block.heading.contains(call) && block.code.join(QString()).contains(call);
        });
        QVERIFY2(!row.isAvailable() || entry != blocks.cend(), row.name);
        QVERIFY2(contents.contains(QLatin1Char('`') + name + QLatin1Char('`')), row.name);
    }
}

TEST_CLASS(LibraryPageTest)
#include "LibraryPageTest.moc"
