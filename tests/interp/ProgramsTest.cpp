#include "support/ScriptedProgram.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>

/// Whole programs in the source form with what they must do: see support/ScriptedProgram.h for the notation.
/// A file holds several programs, each after a line "//# what it shows".
class ProgramsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void plays_data()
    {
        const Table<QString> row("source");
        const QDir folder(QStringLiteral(PROGRAMS_DIRECTORY));
        for (const QString &fileName : folder.entryList({ QStringLiteral("*.src") }, QDir::Files, QDir::Name)) {
            QFile file(folder.filePath(fileName));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(file.readAll());
            for (const QString &part : (QLatin1Char('\n') + text).split(QStringLiteral("\n//# ")).mid(1)) {
                const QString title = part.section(QLatin1Char('\n'), 0, 0);
                row(qPrintable(fileName + QStringLiteral(": ") + title), QStringLiteral("//# ") + part);
            }
        }
    }

    void plays()
    {
        QFETCH(QString, source);
        const QString difference = ScriptedProgram::play(source);
        QVERIFY2(difference.isEmpty(), qPrintable(QLatin1Char('\n') + difference));
    }
};

TEST_CLASS(ProgramsTest)
#include "ProgramsTest.moc"
