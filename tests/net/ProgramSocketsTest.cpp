#include "SocketBench.h"
#include "base/Monitor.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QEventLoop>

#include <sys/resource.h>

using Protocol = SocketActions::Protocol;
namespace {
const QString kHereText = QStringLiteral("127.0.0.1");
}

/// TCP and UDP sockets of a program, with real peers on loopback.
class ProgramSocketsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void clientTalks();
    void clientFailsToConnect_data();
    void clientFailsToConnect();
    void clientThatIsNeverAnswered();
    void clientReopens();
    void clientClosesByItself();
    void boundClient();
    void sendingWithoutAConnection();
    void errorHandlersDoNotRecurse();
    void serverTalks();
    void serverRefuses();
    void closedServerKeepsItsConnections();
    void serverHasABound();
    void sourcesReachTheHandlers();
    void writesMonitorLines();
    void slowPeer();
    void muchInOneHandler();
    void longStreamWithoutLineEnds();
    void oneByteAtATime();
    void panelsComeInBetween();
    void handlersThatWait();
    void closingInItsOwnHandler_data();
    void closingInItsOwnHandler();
    void programEndsInAHandler();
    void udpClient_data();
    void udpClient();
    void udpServer();
    void udpFailures();
    void restartsAll();
};

void ProgramSocketsTest::clientTalks()
{
    SocketBench bench;
    Listener listener;
    QCOMPARE(bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, 0), 0);
    QCOMPARE(bench.take(), QStringList());
    QTcpSocket *const peer = listener.accept();
    SEES(bench, { "online 1" });
    QVERIFY(bench.sockets->write(1, "to the peer"));
    READS(peer, "to the peer");
    peer->write("one");
    peer->write("two");
    peer->flush();
    SEES(bench, { "string 1 onetwo" });
    peer->disconnectFromHost();
    QTRY_COMPARE(bench.seen.size(), 2);
    QCOMPARE(bench.take(), QStringList({ QStringLiteral("error 1 1"), QStringLiteral("offline 1") }));
}

void ProgramSocketsTest::clientFailsToConnect_data()
{
    const Table<QString, quint16, int> row("address", "port", "code");
    row("nobody listens", kHereText, freePort(), 0);
    row("an address that TCP cannot have", "255.255.255.255", 9, 7);
}

void ProgramSocketsTest::clientFailsToConnect()
{
    QFETCH(QString, address);
    QFETCH(quint16, port);
    QFETCH(int, code);
    SocketBench bench;
    QCOMPARE(bench.sockets->openClient(1, address, port, Protocol::Tcp, 0), 0);
    QCOMPARE(bench.take(), QStringList()); // told when the statement is over
    SEES(bench, { QStringLiteral("error 1 %1").arg(code) });
}

void ProgramSocketsTest::clientThatIsNeverAnswered()
{
    // A listener whose queue is full answers no more.
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const SocketAddress where(kHere, 0);
    QVERIFY(::bind(listener, where.get(), where.size) == 0 && ::listen(listener, 0) == 0);
    SocketAddress bound;
    ::getsockname(listener, bound.get(), &bound.size);
    std::vector<std::unique_ptr<QTcpSocket>> fillers;
    for (int count = 0; count < 4; ++count) {
        fillers.push_back(std::make_unique<QTcpSocket>());
        fillers.back()->connectToHost(kHere, bound.port());
    }
    QTRY_VERIFY(fillers.front()->state() == QAbstractSocket::ConnectedState);

    SocketBench bench;
    bench.sockets->openClient(1, kHereText, bound.port(), Protocol::Tcp, 0);
    bench.clock.advance(29000);
    QCoreApplication::processEvents();
    QCOMPARE(bench.take(), QStringList());
    bench.clock.advance(1400);
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 5")));
    ::close(listener);
}

void ProgramSocketsTest::clientReopens()
{
    SocketBench bench;
    Listener first;
    Listener second;
    bench.sockets->openClient(1, kHereText, first.port(), Protocol::Tcp, 0);
    QTcpSocket *const old = first.accept();
    SEES(bench, { "online 1" });
    bench.sockets->openClient(1, kHereText, second.port(), Protocol::Tcp, 0);
    QTcpSocket *const fresh = second.accept();
    QTRY_COMPARE(old->state(), QAbstractSocket::UnconnectedState);
    SEES(bench, { "online 1" }); // and no offline of the old one
    bench.sockets->write(1, "x");
    READS(fresh, "x");

    // Another mode is another client under the same local port; data goes to the first.
    bench.sockets->openClient(1, kHereText, first.port(), Protocol::UdpTwoWay, 0);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "y");
    READS(fresh, "y");
    bench.sockets->closeClient(1);
    QTRY_COMPARE(fresh->state(), QAbstractSocket::UnconnectedState);
    QVERIFY(bench.sockets->write(1, "by UDP now"));
    bench.sockets->closeClient(1);
    QVERIFY(!bench.sockets->write(1, "nobody"));
}

void ProgramSocketsTest::clientClosesByItself()
{
    SocketBench bench;
    Listener listener;
    bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, 0);
    QTcpSocket *const peer = listener.accept();
    SEES(bench, { "online 1" });
    const QByteArray much(900 * 1024, 'x');
    peer->setReadBufferSize(1000);
    bench.sockets->write(1, much);
    bench.sockets->write(1, much.left(100 * 1024));
    peer->write("what is never read by the program does not cut off what it has sent");
    bench.sockets->closeClient(1);
    QVERIFY(!bench.sockets->write(1, "closed"));
    peer->setReadBufferSize(0);
    QByteArray got;
    QTRY_VERIFY((got += peer->readAll()).size() == 1000 * 1024);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(peer->error(), QAbstractSocket::RemoteHostClosedError);
    QCOMPARE(bench.take(), QStringList());

    // One that never reads holds nothing for ever.
    bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, 0);
    QTcpSocket *const deaf = listener.accept();
    deaf->setReadBufferSize(1);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, QByteArray(16 * 1024 * 1024, 'x'));
    bench.sockets->closeClient(1);
    bench.clock.advance(5400);
    deaf->setReadBufferSize(0);
    QTRY_VERIFY(deaf->state() == QAbstractSocket::UnconnectedState);
    QCOMPARE(bench.take(), QStringList());
}

void ProgramSocketsTest::boundClient()
{
    SocketBench bench;
    Listener listener;
    const quint16 own = freePort();
    bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, own);
    QTcpSocket *const former = listener.accept();
    QCOMPARE(former->peerPort(), own);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "last words");
    bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, own); // the same port again, at once
    READS(former, "last words");
    QTRY_COMPARE(former->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(former->error(), QAbstractSocket::RemoteHostClosedError);
    QCOMPARE(listener.accept()->peerPort(), own);
    SEES(bench, { "online 1" });

    bench.sockets->openClient(2, kHereText, listener.port(), Protocol::Tcp, 9); // below 10: any port
    QVERIFY(listener.accept()->peerPort() != 9);
    SEES(bench, { "online 2" });

    Listener holder;
    bench.sockets->openClient(3, kHereText, listener.port(), Protocol::Tcp, holder.port());
    SEES(bench, { "error 3 8" });
}

void ProgramSocketsTest::sendingWithoutAConnection()
{
    SocketBench bench;
    QVERIFY(!bench.sockets->write(1, "no such socket"));
    bench.sockets->openClient(1, kHereText, freePort(), Protocol::Tcp, 0);
    bench.sockets->write(1, "too early");
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 3")));
    SEES(bench, { "error 1 0" });
    bench.sockets->write(1, "too late");
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 3")));
}

void ProgramSocketsTest::errorHandlersDoNotRecurse()
{
    const QByteArray source = QByteArray("device dvClient = 0:1:0\n integer n\n"
                                         "data_event [dvClient] { onerror: {\n n = n + 1\n send_string dvClient, 'x'\n"
                                         "send_string 1:1:0, itoa(n)\n if (n < 3) { ip_client_open(1, '127.0.0.1', ") +
                              QByteArray::number(freePort()) + ") }\n } }";
    SocketBench bench(source.constData());
    bench.sockets->write(1, "x");
    bench.sockets->openClient(1, kHereText, freePort(), Protocol::Tcp, 0);
    bench.sockets->write(1, "x");
    QTRY_COMPARE(bench.console.join(QLatin1Char(' ')), QStringLiteral("1 3 3"));
}

void ProgramSocketsTest::serverTalks()
{
    SocketBench bench;
    const quint16 port = freePort();
    QCOMPARE(bench.sockets->openServer(1, port, Protocol::Tcp), 0);
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    for (int count = 0; count < 3; ++count) {
        peers.push_back(connectedPeer(port));
    }
    QTRY_COMPARE(bench.seen.count(QStringLiteral("online 1")), 3);
    bench.take();
    bench.sockets->write(1, "to all");
    for (const auto &peer : peers) {
        READS(peer, "to all");
    }
    peers[1]->write("from one");
    SEES(bench, { "string 1 from one" });
    peers[1]->write("last words");
    peers[1]->disconnectFromHost();
    QTRY_COMPARE(bench.seen.size(), 2);
    QCOMPARE(bench.take(), QStringList({ QStringLiteral("string 1 last words"), QStringLiteral("offline 1") }));
    peers[2]->abort(); // a reset
    SEES(bench, { "offline 1" });
}

void ProgramSocketsTest::serverRefuses()
{
    SocketBench bench;
    Listener holder;
    QCOMPARE(bench.sockets->openServer(1, holder.port(), Protocol::Tcp), -3);
    QCOMPARE(bench.sockets->openServer(1, freePort(), Protocol::Tcp), 0);
    QCOMPARE(bench.sockets->openServer(1, freePort(), Protocol::Tcp), -1);
    QCOMPARE(bench.sockets->openServer(1, freePort(), Protocol::Udp), -1);
    QCOMPARE(bench.sockets->openWebSocketServer(1, freePort(), QString()), -1);
    QCOMPARE(bench.sockets->openWebSocketServer(2, freePort(), QString()), 0);
    QCOMPARE(bench.sockets->openServer(2, freePort(), Protocol::Tcp), -1);
    bench.sockets->openClient(3, kHereText, holder.port(), Protocol::Udp, 0);
    QCOMPARE(bench.sockets->openServer(3, freePort(), Protocol::Tcp), -1);
    bench.sockets->closeServer(2); // that is no server of this kind
    QCOMPARE(bench.sockets->openServer(2, freePort(), Protocol::Tcp), -1);
}

void ProgramSocketsTest::closedServerKeepsItsConnections()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    const auto old = connectedPeer(port);
    SEES(bench, { "online 1" });
    bench.sockets->closeServer(1);
    QVERIFY(!bench.sockets->write(1, "nobody"));
    QCOMPARE(bench.sockets->openServer(1, port, Protocol::Tcp), 0); // the port is free at once
    old->write("still here");
    SEES(bench, { "string 1 still here" });
    const auto fresh = connectedPeer(port);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "x");
    READS(fresh, "x");
    QCOMPARE(old->readAll(), QByteArray());
    old->disconnectFromHost();
    SEES(bench, { "offline 1" });
}

void ProgramSocketsTest::serverHasABound()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < 2200) {
        QSKIP("fewer descriptors than two ends of a thousand connections take");
    }
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    for (int count = 0; count < 1003; ++count) {
        peers.push_back(connectedPeer(port));
    }
    QTRY_COMPARE(bench.seen.size(), 1001);
    QCOMPARE(bench.seen.count(QStringLiteral("online 1")), 1000);
    QCOMPARE(bench.seen.last(), QStringLiteral("error 1 4")); // once for all that follow
    const auto isClosed = [](const auto &peer) { return peer->state() == QAbstractSocket::UnconnectedState; };
    QTRY_COMPARE(std::count_if(peers.begin(), peers.end(), isClosed), 3);
}

void ProgramSocketsTest::sourcesReachTheHandlers()
{
    const quint16 port = freePort();
    const QByteArray source =
        "device dvServer = 0:7:0\n"
        "start { ip_server_open(7, " +
        QByteArray::number(port) +
        ", 1) }\n"
        "data_event [dvServer] {\n"
        " online: { send_string 1:1:0, \"'online ', data.sourceip, ' ', itoa(data.sourceport)\" }\n"
        " string: { send_string 1:1:0, \"data.text, ' ', data.sourceip, ' ', itoa(data.sourceport), ' ', "
        "itoa(data.device.port), ' ', itoa(data.number)\"\n send_string dvServer, data.text }\n"
        " offline: { send_string 1:1:0, \"'offline ', data.sourceip, ' ', itoa(data.sourceport)\" } }\n";
    SocketBench bench(source.constData());
    const auto peer = connectedPeer(port);
    QTRY_COMPARE(bench.console.size(), 1);
    const QString where = QStringLiteral("127.0.0.1 %1").arg(peer->localPort());
    peer->write("abc");
    READS(peer, "abc");
    peer->disconnectFromHost();
    QTRY_COMPARE(bench.console,
                 QStringList({ QStringLiteral("online ") + where, QStringLiteral("abc %1 7 0").arg(where),
                               QStringLiteral("offline ") + where }));
}

void ProgramSocketsTest::writesMonitorLines()
{
    SocketBench bench;
    QStringList lines;
    connect(&bench.program->tree(), &AST::info, this,
            [&lines](int type, const QString &text) { lines << QString::number(type) + QLatin1Char(' ') + text; });
    connect(&bench.program->tree(), &AST::warning, this, [&lines](const QString &text) { lines << text; });
    NotificationCenter::instance().addListener();
    Listener listener;
    bench.sockets->openClient(4, kHereText, listener.port(), Protocol::Tcp, 0);
    QTcpSocket *const peer = listener.accept();
    QTRY_COMPARE(lines.size(), 1);
    peer->write("A\r\n");
    QTRY_COMPARE(lines.size(), 2);
    peer->disconnectFromHost();
    const QString error = QStringLiteral("Device 0:4:0 error event occured: %1:%2, closed by the other end (1)");
    QTRY_COMPARE(lines, QStringList({ QStringLiteral("1 Online Event: Device 0:4:0 online"),
                                      QStringLiteral("13 got socket data: device is 0:4:0 and data is 41 0D 0A"),
                                      error.arg(kHereText).arg(listener.port()),
                                      QStringLiteral("1 Offline Event: Device 0:4:0 offline") }));
    NotificationCenter::instance().removeListener();
}

void ProgramSocketsTest::slowPeer()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    const auto slow = connectedPeer(port);
    const auto quick = connectedPeer(port);
    slow->setReadBufferSize(1);
    QTRY_COMPARE(bench.seen.size(), 2);
    bench.seen.clear();
    const QByteArray block(64 * 1024, 'x');
    qint64 sent = 0;
    QByteArray got;
    while (bench.seen.isEmpty() && sent < 64 * 1024 * 1024) { // far more than the system's own buffers hold
        bench.sockets->write(1, block);
        sent += block.size();
        QTRY_VERIFY((got += quick->readAll()).size() == sent);
    }
    QCOMPARE(bench.take(), (QStringList{ QStringLiteral("error 1 4"), QStringLiteral("offline 1") }));
    QVERIFY2(sent > 16 * 1024 * 1024, qPrintable(QString::number(sent)));
    slow->setReadBufferSize(0);
    QTRY_COMPARE(slow->state(), QAbstractSocket::UnconnectedState); // it must not go on behind a hole
    bench.sockets->write(1, "goes on");
    READS(quick, "goes on");
    QCOMPARE(bench.take(), QStringList());
}

void ProgramSocketsTest::muchInOneHandler()
{
    SocketBench bench;
    Listener listener;
    bench.sockets->openClient(1, kHereText, listener.port(), Protocol::Tcp, 0);
    QTcpSocket *const peer = listener.accept();
    SEES(bench, { "online 1" });
    QByteArray all;
    for (int count = 0; count < 3000; ++count) { // nobody reads meanwhile
        const QByteArray piece = QByteArray::number(count).rightJustified(4096, '.');
        bench.sockets->write(1, piece);
        all += piece;
    }
    QByteArray got;
    QTRY_VERIFY((got += peer->readAll()).size() >= all.size());
    QVERIFY(got == all);
    QCOMPARE(bench.take(), QStringList());
}

void ProgramSocketsTest::longStreamWithoutLineEnds()
{
    constexpr qint64 kTotal = 100 * 1024 * 1024;
    SocketBench bench("device dvServer = 0:1:0\n char sBuffer[1000]\n start { create_buffer dvServer, sBuffer }");
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    const auto peer = connectedPeer(port);
    qint64 got = 0;
    int longest = 0;
    bench.meanwhile = [&](const CustomEvent &event) {
        got += event.data.size();
        longest = std::max(longest, event.data.size());
        bench.received.clear();
        bench.seen.clear();
    };
    const QByteArray block(1024 * 1024, 'x');
    for (qint64 sent = 0; sent < kTotal; sent += block.size()) {
        peer->write(block);
        QTRY_VERIFY(peer->bytesToWrite() < block.size());
    }
    QTRY_COMPARE_WITH_TIMEOUT(got, kTotal, 30000);
    QVERIFY2(longest <= 64 * 1024, qPrintable(QString::number(longest)));
}

void ProgramSocketsTest::oneByteAtATime()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    const auto peer = connectedPeer(port);
    peer->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QByteArray all;
    for (int count = 0; count < 2000; ++count) {
        const char byte = static_cast<char>(count);
        all.append(byte);
        peer->write(&byte, 1);
        peer->flush();
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE(bench.received, all);
}

void ProgramSocketsTest::panelsComeInBetween()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    for (int count = 0; count < 50; ++count) {
        peers.push_back(connectedPeer(port));
    }
    QTRY_COMPARE(bench.seen.size(), 50);
    bench.seen.clear();
    for (const auto &peer : peers) {
        peer->write(QByteArray(1000, 'x'));
        peer->flush();
    }
    int strings = 0;
    int stringsBeforePush = -1;
    bench.meanwhile = [&](const CustomEvent &event) {
        if (event.type == EventType::String && ++strings == 1) {
            QCoreApplication::postEvent(&bench.program->dispatcher(), new PanelEvent(PanelEvent::Pressed, 10001, 1),
                                        kPanelEventPriority);
        } else if (event.type == EventType::Push) {
            stringsBeforePush = strings;
        }
    };
    QTRY_COMPARE(strings, 50);
    QVERIFY2(stringsBeforePush >= 1 && stringsBeforePush <= 40, qPrintable(QString::number(stringsBeforePush)));
}

void ProgramSocketsTest::handlersThatWait()
{
    // A question to a panel lets events in. A socket is not read again while its own handler waits, others are, and not
    // without end within one another.
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    for (int count = 0; count < 20; ++count) {
        peers.push_back(connectedPeer(port));
    }
    QTRY_COMPARE(bench.seen.size(), 20);
    bench.seen.clear();
    int depth = 0;
    int deepest = 0;
    bench.meanwhile = [&](const CustomEvent &event) {
        deepest = std::max(deepest, ++depth);
        if (event.data == "1") {
            for (const auto &peer : peers) { // the one whose handler this is too
                if (peer->property("asked").toBool()) {
                    continue;
                }
                peer->setProperty("asked", true);
                peer->write("1");
                peer->flush();
            }
            QEventLoop loop;
            QTimer::singleShot(30, &loop, &QEventLoop::quit);
            loop.exec();
        }
        --depth;
    };
    peers.front()->write("1");
    peers.front()->flush();
    QTRY_COMPARE(bench.seen.count(QStringLiteral("string 1 1")), 21);
    QVERIFY2(deepest > 1 && deepest <= 8, qPrintable(QString::number(deepest)));
    peers.front()->write("2");
    QTRY_COMPARE(bench.seen.last(), QStringLiteral("string 1 2"));
}

void ProgramSocketsTest::closingInItsOwnHandler_data()
{
    QTest::addColumn<QString>("when");
    QTest::addColumn<bool>("reopens");
    for (const char *const when : { "online", "string", "error" }) {
        QTest::addRow("%s, close", when) << QString::fromLatin1(when) << false;
        QTest::addRow("%s, reopen", when) << QString::fromLatin1(when) << true;
    }
}

void ProgramSocketsTest::closingInItsOwnHandler()
{
    QFETCH(QString, when);
    QFETCH(bool, reopens);
    SocketBench bench;
    Listener listener;
    const quint16 port = listener.port();
    int times = 0;
    bench.meanwhile = [&](const CustomEvent &event) {
        const QString kind = event.type == EventType::Online   ? QStringLiteral("online")
                             : event.type == EventType::String ? QStringLiteral("string")
                                                               : QStringLiteral("error");
        if (kind != when || event.type == EventType::Offline || ++times > 1) {
            return;
        }
        if (!reopens) {
            bench.sockets->closeClient(1);
        }
        bench.sockets->openClient(1, kHereText, port, Protocol::Tcp, 0);
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    };
    bench.sockets->openClient(1, kHereText, port, Protocol::Tcp, 0);
    QTcpSocket *const first = listener.accept();
    first->write("hello");
    if (when == QLatin1String("error")) {
        QTRY_VERIFY(bench.seen.contains(QStringLiteral("string 1 hello")));
        first->disconnectFromHost();
    }
    QTcpSocket *const second = listener.accept();
    QVERIFY(second);
    second->write("again");
    QTRY_VERIFY(bench.seen.contains(QStringLiteral("string 1 again")));
    QCOMPARE(bench.seen.contains(QStringLiteral("offline 1")), when == QLatin1String("error") && reopens);
    QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
}

void ProgramSocketsTest::programEndsInAHandler()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    const auto peer = connectedPeer(port);
    const auto other = connectedPeer(port);
    QTRY_COMPARE(bench.seen.size(), 2);
    bench.seen.clear();
    bench.meanwhile = [&](const CustomEvent &) { bench.sockets.reset(); };
    peer->write("x");
    other->write("y");
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QTRY_COMPARE(other->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(bench.take().size(), 1);
    QCOMPARE(bench.program->state().sockets(), nullptr);
}

void ProgramSocketsTest::udpClient_data()
{
    const Table<int, bool> row("protocol", "hears");
    row("one way", int(Protocol::Udp), false);
    row("two ways", int(Protocol::UdpTwoWay), true);
}

void ProgramSocketsTest::udpClient()
{
    QFETCH(int, protocol);
    QFETCH(bool, hears);
    SocketBench bench;
    QUdpSocket peer;
    QVERIFY(peer.bind(kHere));
    const quint16 own = freePort();
    bench.sockets->openClient(1, kHereText, peer.localPort(), static_cast<Protocol>(protocol), own);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "ping");
    QTRY_VERIFY(peer.hasPendingDatagrams());
    char buffer[10] = {};
    QHostAddress sender;
    quint16 senderPort = 0;
    QCOMPARE(peer.readDatagram(buffer, sizeof buffer, &sender, &senderPort), qint64(4));
    QCOMPARE(senderPort, own);
    peer.writeDatagram("one", kHere, own);
    peer.writeDatagram("two", kHere, own);
    if (hears) {
        SEES(bench, { "string 1 onetwo" });
        QUdpSocket stranger;
        stranger.writeDatagram("from somebody else", kHere, own);
    }
    QCoreApplication::processEvents();
    QCOMPARE(bench.take(), QStringList());
}

void ProgramSocketsTest::udpServer()
{
    SocketBench bench;
    const quint16 port = freePort();
    QCOMPARE(bench.sockets->openServer(1, port, Protocol::Udp), 0);
    bench.sockets->write(1, "to nobody yet");
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 3")));
    QUdpSocket first;
    QUdpSocket second;
    QVERIFY(first.bind(kHere) && second.bind(kHere));
    first.writeDatagram("a", kHere, port);
    second.writeDatagram("b", kHere, port);
    QTRY_COMPARE(bench.seen.size(), 2);
    QCOMPARE(bench.take(), QStringList({ QStringLiteral("string 1 a"), QStringLiteral("string 1 b") }));
    bench.sockets->write(1, "to the last");
    QTRY_VERIFY(second.hasPendingDatagrams());
    QVERIFY(!first.hasPendingDatagrams());
    const QByteArray giant(65507, 'g');
    QCOMPARE(first.writeDatagram(giant, kHere, port), qint64(giant.size()));
    QTRY_COMPARE(bench.received.size(), 2 + giant.size());

    bench.sockets->closeServer(1);
    QUdpSocket next;
    QVERIFY(next.bind(kHere, port, QAbstractSocket::DontShareAddress)); // the port is free
}

void ProgramSocketsTest::udpFailures()
{
    SocketBench bench;
    bench.sockets->openClient(1, kHereText, freePort(), Protocol::UdpTwoWay, 0);
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "nobody is there");
    SEES(bench, { "error 1 0" });
    bench.sockets->write(1, QByteArray(65508, 'x'));
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 6")));

    QUdpSocket holder;
    QVERIFY(holder.bind(QHostAddress(QHostAddress::Any), 0, QAbstractSocket::DontShareAddress));
    QCOMPARE(bench.sockets->openServer(2, holder.localPort(), Protocol::Udp), 0);
    bench.sockets->openClient(3, kHereText, 9, Protocol::Udp, holder.localPort());
    QCOMPARE(bench.take(), QStringList());
    QTRY_COMPARE(bench.seen.size(), 2);
    QCOMPARE(bench.take(), QStringList({ QStringLiteral("error 2 8"), QStringLiteral("error 3 8") }));
    bench.sockets->write(2, "x");
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 2 3")));
}

void ProgramSocketsTest::restartsAll()
{
    SocketBench bench;
    Listener listener;
    const quint16 port = freePort();
    bench.sockets->openServer(1, port, Protocol::Tcp);
    bench.sockets->openClient(2, kHereText, listener.port(), Protocol::Tcp, 0);
    QTcpSocket *const old = listener.accept();
    const auto peer = connectedPeer(port);
    QTRY_COMPARE(bench.seen.size(), 2);
    bench.seen.clear();
    bench.sockets->restartAll();
    QVERIFY(listener.accept());
    QTRY_COMPARE(old->state(), QAbstractSocket::UnconnectedState);
    SEES(bench, { "online 2" });
    const auto late = connectedPeer(port);
    SEES(bench, { "online 1" });
    peer->write("x"); // a connection that was there before
    SEES(bench, { "string 1 x" });
}

TEST_CLASS(ProgramSocketsTest)
#include "ProgramSocketsTest.moc"
