#include "SocketBench.h"
#include "net/sockets/IpMonitor.h"
#include "net/sockets/OneShotSends.h"
#include "net/sockets/OwnAddresses.h"
#include "support/TestClass.h"

#include <QElapsedTimer>
#include <QSignalSpy>

/// What goes on beside the program's sockets.
class SocketSurroundingsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sendsOnce();
    void neverWaits();
    void noticesAnotherAddress();
    void broadcastsToOneAddress();
    void listsAddresses();
    void lastWordsArrive(); // the last: nothing is taken afterwards
};

void SocketSurroundingsTest::sendsOnce()
{
    OneShotSends &sends = OneShotSends::instance();
    Listener listener;
    QVERIFY(sends.sendTcp(QStringLiteral("localhost"), listener.port(), "by name"));
    QTcpSocket *peer = listener.accept();
    QVERIFY(peer);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(peer->readAll(), QByteArray("by name"));
    const QByteArray much(5 * 1024 * 1024, 'x');
    QVERIFY(sends.sendTcp(QStringLiteral("127.0.0.1"), listener.port(), much));
    peer = listener.accept();
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(peer->readAll(), much);

    QUdpSocket datagrams;
    QVERIFY(datagrams.bind(kHere));
    QByteArray all;
    for (int count = 0; count < 50; ++count) { // in order
        QVERIFY(sends.sendUdp(QStringLiteral("127.0.0.1"), datagrams.localPort(), QByteArray::number(count)));
        all += QByteArray::number(count);
    }
    QVERIFY(sends.sendUdp(QStringLiteral("localhost"), datagrams.localPort(), "not by name"));
    QVERIFY(sends.sendUdp(QStringLiteral("127.0.0.1"), 70000, "no port"));
    QVERIFY(sends.sendUdp(QStringLiteral("127.0.0.1"), datagrams.localPort(), "end"));
    QByteArray got;
    const auto read = [&] {
        char buffer[100];
        while (datagrams.hasPendingDatagrams()) {
            got.append(buffer, static_cast<int>(datagrams.readDatagram(buffer, sizeof buffer)));
        }
        return got.endsWith("end");
    };
    QTRY_VERIFY(read());
    QCOMPARE(got, all + "end");
}

void SocketSurroundingsTest::neverWaits()
{
    // Peers whose queue is full: every send waits two seconds for its connection.
    const int deaf = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const SocketAddress where(kHere, 0);
    QVERIFY(::bind(deaf, where.get(), where.size) == 0 && ::listen(deaf, 0) == 0);
    SocketAddress bound;
    ::getsockname(deaf, bound.get(), &bound.size);
    OneShotSends &sends = OneShotSends::instance();
    QElapsedTimer timer;
    timer.start();
    int taken = 0;
    for (int count = 0; count < 2000; ++count) {
        taken += sends.sendTcp(QStringLiteral("127.0.0.1"), bound.port(), "x") ? 1 : 0;
    }
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(taken >= 1000 && taken < 1100, qPrintable(QString::number(taken)));
    ::close(deaf); // all that wait are refused
    QVERIFY(QTest::qWaitFor(
        [&] { return sends.sendTcp(QStringLiteral("127.0.0.1"), bound.port(), QByteArray(16 << 20, 'x')); }, 10000));
}

void SocketSurroundingsTest::noticesAnotherAddress()
{
    Clock clock(Clock::Drive::ByHand);
    QString address;
    IpMonitor monitor([&address] { return address; });
    const QSignalSpy changed(&monitor, &IpMonitor::changed);
    const auto becomes = [&](const char *text) {
        address = QString::fromLatin1(text);
        clock.advance(2000);
        return changed.size();
    };
    QCOMPARE(becomes("10.0.0.1"), 0); // the first
    QCOMPARE(becomes("10.0.0.1"), 0);
    QCOMPARE(becomes(""), 0); // the cable is out
    QCOMPARE(becomes("10.0.0.1"), 0);
    QCOMPARE(becomes("10.0.0.2"), 1);
    QCOMPARE(becomes("10.0.0.2"), 1);
    IpMonitor late([] { return QStringLiteral("10.0.0.9"); });
    const QSignalSpy lateChanged(&late, &IpMonitor::changed);
    clock.advance(10000);
    QCOMPARE(lateChanged.size(), 0);
}

void SocketSurroundingsTest::broadcastsToOneAddress()
{
    QUdpSocket peer;
    QVERIFY(peer.bind(kHere));
    broadcastDatagram(QStringLiteral("127.0.0.1"), peer.localPort(), "wake up");
    QTRY_VERIFY(peer.hasPendingDatagrams());
    char buffer[100];
    QCOMPARE(peer.readDatagram(buffer, sizeof buffer), qint64(7));
}

void SocketSurroundingsTest::listsAddresses()
{
    const std::vector<quint32> addresses = ownIpAddresses();
    QVERIFY(std::is_sorted(addresses.begin(), addresses.end()));
    QVERIFY(std::none_of(addresses.begin(), addresses.end(), [](quint32 each) { return each >> 24 == 127; }));
    for (const QString &address : ownHardwareAddresses()) {
        QCOMPARE(QByteArray::fromHex(address.toLatin1()).size(), 6);
    }
}

void SocketSurroundingsTest::lastWordsArrive()
{
    Listener listener;
    OneShotSends &sends = OneShotSends::instance();
    QVERIFY(QTest::qWaitFor([&] { return sends.sendTcp(QStringLiteral("127.0.0.1"), listener.port(), "last words"); }));
    sends.finish(1500);
    QVERIFY(!sends.sendTcp(QStringLiteral("127.0.0.1"), listener.port(), "too late"));
    QTcpSocket *const peer = listener.accept();
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(peer->readAll(), QByteArray("last words"));
}

TEST_CLASS(SocketSurroundingsTest)
#include "SocketSurroundingsTest.moc"
