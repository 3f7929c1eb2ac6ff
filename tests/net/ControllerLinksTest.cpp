#include "net/controllers/ControllerLinks.h"
#include "support/FakeTarget.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QDataStream>

namespace {
/// 127.32.0.0 to 127.63.255.255, told apart by process.
QString address(int last)
{
    const qint64 process = QCoreApplication::applicationPid();
    return QStringLiteral("127.%1.%2.%3").arg(32 + process % 32).arg((process / 32) % 256).arg(last);
}

/// The links under test with their threads, and what the targets tell.
struct Links
{
    explicit Links(quint16 port, const QString &from = QString())
    {
        for (IoThread &thread : threads) {
            thread.start();
        }
        ListenerOptions options;
        options.port = port;
        options.handshake = "3:100:m:1";
        if (!from.isEmpty()) {
            options.bindAddress = QHostAddress(from);
        }
        links = std::make_unique<ControllerLinks>(options, [this]() -> IoThread & { return threads[next++ % 2]; });
        QObject::connect(links.get(), &ControllerLinks::told, links.get(), [this](const TargetMessage &message) {
            if (const auto *number = std::get_if<TargetNumber>(&message)) {
                numbers << number->system;
            } else if (const auto *data = std::get_if<TargetPortData>(&message)) {
                texts << data->data;
            }
        });
    }

    ~Links()
    {
        links.reset();
        for (IoThread &thread : threads) {
            thread.stop();
        }
    }

    /// Addresses and their status, "10.0.0.2=0 10.0.0.1=2".
    QString status() const
    {
        QDataStream stream(links->statusStream());
        stream.setVersion(QDataStream::Qt_5_4);
        qint32 count = 0;
        stream >> count;
        QStringList shown;
        for (int index = 0; index < count; ++index) {
            QString where;
            qint32 status = -1;
            stream >> where >> status;
            shown << QStringLiteral("%1=%2").arg(where).arg(status);
        }
        return shown.join(QLatin1Char(' '));
    }

    IoThread threads[2];
    size_t next = 0;
    std::unique_ptr<ControllerLinks> links;
    QVector<int> numbers;
    QByteArrayList texts;
};

} // namespace

class ControllerLinksTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsTheList_data();
    void readsTheList();
    void learnsNumbersAndShowsStates();
    void comesFromItsAddress();
    void comesBackAfterALoss();
    void waitsForATargetThatIsNotThere();
    void listMayChange();
    void floodIsNotReadAheadOfTheProgram();
    void targetThatDoesNotReadIsClosed();
};

void ControllerLinksTest::readsTheList_data()
{
    const Table<QString, QString> row("entries", "addresses");
    row("127.9.9.9|127.9.9.8", "127.9.9.9 127.9.9.8");
    row("127.9.9.9| 127.9.9.9 |127.9.9.9", "127.9.9.9");
    row("||room|127.9.9.300|127.9.9.9:6139|127.9.9.9", "127.9.9.9");
    row("::1|::ffff:127.9.9.9", "");
    row("0.0.0.0|255.255.255.255|239.20.1.98", "");
    row("none", "");
}

void ControllerLinksTest::readsTheList()
{
    QFETCH(QString, entries);
    Links listener(1);
    QTEST(listener.links->setAddresses(entries.split(QLatin1Char('|'))).join(QLatin1Char(' ')), "addresses");
}

void ControllerLinksTest::learnsNumbersAndShowsStates()
{
    FakeTarget first;
    FakeTarget second;
    first.number = 7;
    QVERIFY(first.listen(address(1)));
    const quint16 port = first.port();
    QVERIFY(second.listen(address(2), port));
    Links listener(port);
    listener.links->setAddresses({ address(1), address(3), address(2) });
    QTRY_COMPARE(listener.status(), QStringLiteral("%1=0 %2=1 %3=2").arg(address(3), address(2), address(1)));
    QTRY_COMPARE(listener.numbers, QVector<int>{ 7 });
    QCOMPARE(first.introduction, QByteArray("3:100:m:1"));
    QTRY_VERIFY(second.questions >= 3); // on and on
    QVERIFY(first.questions <= 2);

    listener.links->send("string:5001:1:7:on");
    listener.links->send("cancelTo:");
    const QByteArrayList sent{ "string:5001:1:7:on", "cancelTo:" };
    QTRY_COMPARE(first.heard, sent);
    QTRY_COMPARE(second.heard, sent); // each target sees for itself what is for it
    first.say("string:7:1:a");
    first.say("nonsense");
    first.say("string:7:1:b");
    QTRY_COMPARE(listener.texts, (QByteArrayList{ "a", "b" }));
}

void ControllerLinksTest::comesFromItsAddress()
{
    FakeTarget target;
    QVERIFY(target.listen(address(1)));
    const quint16 port = target.port();
    Links listener(port, address(9));
    listener.links->setAddresses({ address(1) });
    QTRY_VERIFY(target.isConnected());
    QCOMPARE(target.peerAddress(), address(9));
}

void ControllerLinksTest::comesBackAfterALoss()
{
    FakeTarget target;
    target.number = 7;
    QVERIFY(target.listen(address(1)));
    const quint16 port = target.port();
    Links listener(port);
    listener.links->setAddresses({ address(1) });
    QTRY_COMPARE(listener.numbers.size(), 1);
    target.number = 8;
    QElapsedTimer away;
    away.start();
    target.hangUp();
    QTRY_COMPARE(listener.status(), address(1) + QStringLiteral("=0"));
    listener.links->send("cancelTo:"); // to nobody: it is not kept
    QTRY_COMPARE(target.connections, 2);
    QVERIFY2(away.elapsed() >= 700, QByteArray::number(away.elapsed()).constData());
    QTRY_COMPARE(listener.numbers, (QVector<int>{ 7, 8 }));
    QCOMPARE(target.heard, QByteArrayList());
}

void ControllerLinksTest::waitsForATargetThatIsNotThere()
{
    auto target = std::make_unique<FakeTarget>();
    QVERIFY(target->listen(address(1)));
    const quint16 port = target->port();
    target.reset();
    Links listener(port);
    listener.links->setAddresses({ address(1) });
    QTest::qWait(300); // an attempt is refused
    target = std::make_unique<FakeTarget>();
    QVERIFY(target->listen(address(1), port));
    QTRY_COMPARE(target->connections, 1);
}

void ControllerLinksTest::listMayChange()
{
    FakeTarget leaves;
    FakeTarget stays;
    leaves.number = 7;
    QVERIFY(leaves.listen(address(1)));
    const quint16 port = leaves.port();
    QVERIFY(stays.listen(address(2), port));
    Links listener(port);
    listener.links->setAddresses({ address(1), address(2) });
    QTRY_VERIFY(leaves.isConnected() && stays.isConnected());
    QTRY_COMPARE(listener.numbers.size(), 1);
    listener.links->setAddresses({ address(2) });
    leaves.say("string:7:1:late");
    QTRY_VERIFY(!leaves.isConnected());
    QCOMPARE(listener.status(), address(2) + QStringLiteral("=1"));
    listener.links->setAddresses({});
    QTRY_VERIFY(!stays.isConnected());
    QCOMPARE(stays.connections, 1);
    QCOMPARE(listener.texts, QByteArrayList());
}

void ControllerLinksTest::floodIsNotReadAheadOfTheProgram()
{
    QTcpServer target; // used without an event loop: this thread, the program's, handles nothing meanwhile
    QVERIFY(target.listen(QHostAddress(address(1))));
    Links listener(target.serverPort());
    listener.links->setAddresses({ address(1) });
    QVERIFY(target.waitForNewConnection(20000));
    QTcpSocket *const peer = target.nextPendingConnection();
    int sent = 0;
    while (peer->bytesToWrite() == 0 && sent < 100000) { // until nothing is taken for half a second
        for (int count = 0; count < 100; ++count) {
            ++sent;
            peer->write(FakeTarget::message(static_cast<quint32>(sent),
                                            "string:7:1:" + QByteArray::number(sent).leftJustified(1000)));
        }
        while (peer->bytesToWrite() > 0 && peer->waitForBytesWritten(500)) {
        }
    }
    QVERIFY2(sent < 100000, "100 MB are in here");
    QVERIFY(!listener.status().endsWith(QLatin1Char('0'))); // and the connection lives
    QVERIFY(listener.texts.isEmpty());
    QTRY_COMPARE(listener.texts.size(), sent);
    for (int index = 0; index < sent; ++index) {
        QCOMPARE(listener.texts.at(index).trimmed().toInt(), index + 1);
    }
}

void ControllerLinksTest::targetThatDoesNotReadIsClosed()
{
    FakeTarget reads;
    FakeTarget doesNot;
    doesNot.doesRead = false;
    QVERIFY(reads.listen(address(1)));
    const quint16 port = reads.port();
    QVERIFY(doesNot.listen(address(2), port));
    Links listener(port);
    listener.links->setAddresses({ address(1), address(2) });
    QTRY_VERIFY(reads.isConnected() && doesNot.isConnected());
    int sent = 0;
    while (listener.status().startsWith(address(2) + QStringLiteral("=1")) && sent < 3000) {
        listener.links->send(QByteArray("string:5001:1:7:").leftJustified(10000, 'x'));
        ++sent;
        QTRY_COMPARE(reads.heard.size(), sent);
    }
    QVERIFY2(sent < 3000, "30 MB wait for it");
    listener.links->send("cancelTo:");
    QTRY_COMPARE(reads.heard.last(), QByteArray("cancelTo:"));
}

TEST_CLASS(ControllerLinksTest)
#include "ControllerLinksTest.moc"
