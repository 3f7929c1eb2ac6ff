#include "app/LogOutput.h"
#include "app/Options.h"
#include "app/TerminalMonitor.h"

#include <QtTest>

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
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("meaning"); // file, directory, language, address, monitor, changes
    QTest::newRow("nothing") << ""
                             << ";;;0.0.0.0;0;1";
    QTest::newRow("one file") << "a.pobj"
                              << "a.pobj;;;0.0.0.0;0;1";
    QTest::newRow("two files: neither") << "a.pobj b.pobj"
                                        << ";;;0.0.0.0;0;1";
    QTest::newRow("everything") << "--monitor --data-dir d --bind 127.0.0.7 --language zh_CN --no-system-changes f"
                                << "f;d;zh_CN;127.0.0.7;1;0";
    QTest::newRow("a file with a dash") << "-- -f"
                                        << "-f;;;0.0.0.0;0;1";
    QTest::newRow("the last of two counts") << "--bind 127.0.0.7 --monitor --monitor --bind=127.0.0.8"
                                            << ";;;127.0.0.8;1;1";
    QTest::newRow("a language with a country") << "--language en_US"
                                               << ";;en_US;0.0.0.0;0;1";
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
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("word"); // of what is said
    QTest::newRow("unknown option") << QByteArrayList{ "--nope" } << 2 << "nope";
    QTest::newRow("value missing") << QByteArrayList{ "--bind" } << 2 << "bind";
    QTest::newRow("no address") << QByteArrayList{ "--bind", "localhost" } << 2 << "localhost";
    QTest::newRow("no port") << QByteArrayList{ "--http-port", "http" } << 2 << "http";
    QTest::newRow("a port too high") << QByteArrayList{ "--http-port", "65536" } << 2 << "65536";
    QTest::newRow("no language") << QByteArrayList{ "--language", "klingon" } << 2 << "klingon";
    QTest::newRow("almost a language") << QByteArrayList{ "--language", "zhx" } << 2 << "zhx";
    QTest::newRow("empty directory") << QByteArrayList{ "--data-dir", "" } << 2 << "data-dir";
    QTest::newRow("too much history") << QByteArrayList{ "--monitor-history", "10001" } << 2 << "10001";
    QTest::newRow("less than no history") << QByteArrayList{ "--monitor-history", "-1" } << 2 << "-1";
    QTest::newRow("half a line") << QByteArrayList{ "--monitor-history=0.5" } << 2 << "0.5";
    QTest::newRow("help") << QByteArrayList{ "--help" } << 0 << "Central controller program.";
    QTest::newRow("version") << QByteArrayList{ "-v" } << 0 << QCoreApplication::applicationVersion();
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
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("plain") << "text" << QByteArray("text");
    QTest::newRow("line ends") << "text\r\n\r\n" << QByteArray("text");
    QTest::newRow("inner line end stays") << "a\nb\n" << QByteArray("a\nb");
    QTest::newRow("only line ends") << "\n\r\n" << QByteArray();
    QTest::newRow("empty") << "" << QByteArray();
    QTest::newRow("Http") << "HTTPlistener up" << QByteArray();
    QTest::newRow("Http later") << "an Http message" << QByteArray("an Http message");
    QTest::newRow("blanks stay") << " x " << QByteArray(" x ");
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
             QStringLiteral("07:08:09.010 warning   Warning:x"));
    QCOMPARE(TerminalMonitor::lineOf(time, 13, QString()), QStringLiteral("07:08:09.010 received  "));
    QCOMPARE(TerminalMonitor::lineOf(time, 77, QStringLiteral("y")), QStringLiteral("07:08:09.010 77        y"));
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "CommandLineTest.moc"
