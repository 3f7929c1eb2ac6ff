#include "app/LogOutput.h"
#include "app/Options.h"
#include "app/TerminalMonitor.h"
#include "support/Table.h"
#include "support/TestClass.h"

/// What the process reads from its command line, and the form of what it prints.
class CommandLineTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void options_data();
    void options();
    void refusals_data();
    void refusals();
    void logLines_data();
    void logLines();
    void monitorLines();
};

void CommandLineTest::options_data()
{
    // meaning: file, directory, language, address, monitor, changes
    const Table<QString, QString> row("line", "meaning");
    row("nothing", "", ";;;0.0.0.0;0;1");
    row("one file", "a.pobj", "a.pobj;;;0.0.0.0;0;1");
    row("two files: neither", "a.pobj b.pobj", ";;;0.0.0.0;0;1");
    row("everything", "--monitor --data-dir d --bind 127.0.0.7 --language zh_CN --no-system-changes f",
        "f;d;zh_CN;127.0.0.7;1;0");
    row("a file with a dash", "-- -f", "-f;;;0.0.0.0;0;1");
    row("the last of two counts", "--bind 127.0.0.7 --monitor --monitor --bind=127.0.0.8", ";;;127.0.0.8;1;1");
    row("a language with a country", "--language en_US", ";;en_US;0.0.0.0;0;1");
}

void CommandLineTest::options()
{
    QFETCH(QString, line);
    QFETCH(QString, meaning);
    const QStringList arguments =
        QStringList(QStringLiteral("arkivon")) + line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const auto parsed = parseOptions(arguments);
    QVERIFY(std::holds_alternative<Options>(parsed));
    const auto &options = std::get<Options>(parsed);
    const QString address = options.bindAddress == QHostAddress(QHostAddress::Any) ? QStringLiteral("0.0.0.0")
                                                                                   : options.bindAddress.toString();
    const QStringList fields{ options.objectFilePath,
                              options.dataDirectory,
                              options.language,
                              address,
                              QString::number(options.hasMonitor),
                              QString::number(options.mayChangeSystem) };
    QCOMPARE(fields.join(QLatin1Char(';')), meaning);
}

void CommandLineTest::refusals_data()
{
    // word: of what is said
    const Table<QByteArrayList, int, QString> row("arguments", "status", "word");
    row("unknown option", { "--nope" }, 2, "nope");
    row("value missing", { "--bind" }, 2, "bind");
    row("no address", { "--bind", "localhost" }, 2, "localhost");
    row("no port", { "--http-port", "http" }, 2, "http");
    row("a port too high", { "--http-port", "65536" }, 2, "65536");
    row("no language", { "--language", "klingon" }, 2, "klingon");
    row("almost a language", { "--language", "zhx" }, 2, "zhx");
    row("empty directory", { "--data-dir", "" }, 2, "data-dir");
    row("too much history", { "--monitor-history", "10001" }, 2, "10001");
    row("less than no history", { "--monitor-history", "-1" }, 2, "-1");
    row("half a line", { "--monitor-history=0.5" }, 2, "0.5");
    row("help", { "--help" }, 0, "Central controller program.");
    row("version", { "-v" }, 0, QCoreApplication::applicationVersion());
}

void CommandLineTest::refusals()
{
    QFETCH(QByteArrayList, arguments);
    QFETCH(int, status);
    QFETCH(QString, word);
    QStringList line{ QStringLiteral("arkivon") };
    for (const QByteArray &argument : arguments) {
        line << QString::fromUtf8(argument);
    }
    const auto parsed = parseOptions(line);
    QVERIFY(std::holds_alternative<OptionsEnd>(parsed));
    const auto &end = std::get<OptionsEnd>(parsed);
    QCOMPARE(end.status, status);
    QVERIFY2(end.text.contains(word), qPrintable(end.text));
}

void CommandLineTest::logLines_data()
{
    const Table<QString, QByteArray> row("message", "line");
    row("plain", "text", "text");
    row("line ends", "text\r\n\r\n", "text");
    row("inner line end stays", "a\nb\n", "a\nb");
    row("only line ends", "\n\r\n", "");
    row("empty", "", "");
    row("Http", "HTTPlistener up", "");
    row("Http later", "an Http message", "an Http message");
    row("blanks stay", " x ", " x ");
}

void CommandLineTest::logLines()
{
    QFETCH(QString, message);
    QFETCH(QByteArray, line);
    QCOMPARE(LogOutput::lineOf(message), line);
}

void CommandLineTest::monitorLines()
{
    const QTime time(7, 8, 9, 10);
    QCOMPARE(TerminalMonitor::lineOf(time, 5, QStringLiteral("Warning:x")),
             QStringLiteral("07:08:09.010 warning      Warning:x"));
    QCOMPARE(TerminalMonitor::lineOf(time, 13, QString()), QStringLiteral("07:08:09.010 received     "));
    QCOMPARE(TerminalMonitor::lineOf(time, 77, QStringLiteral("y")), QStringLiteral("07:08:09.010 77           y"));
}

TEST_CLASS(CommandLineTest)
#include "CommandLineTest.moc"
