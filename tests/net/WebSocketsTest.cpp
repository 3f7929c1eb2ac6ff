#include "SocketBench.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QWebSocket>
#include <QWebSocketServer>

/// WebSocket servers and clients of a program, with peers from another hand.
class WebSocketsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void serverTalks();
    void serverTakesOnlyWebSockets_data();
    void serverTakesOnlyWebSockets();
    void silentPeersAreDropped();
    void violationsEndTheConnection_data();
    void violationsEndTheConnection();
    void floodOfMessages();
    void slowPeer();
    void closedServerKeepsItsConnections();
    void clientTalks();
    void clientFails_data();
    void clientFails();
    void clientCloses();
    void clientOverTls();
    void clientOverTlsFails();
    void clientRestarts();
};

namespace {
const char kRequest[] = "GET / HTTP/1.1\r\nHost: h\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

QUrl urlOf(quint16 port)
{
    return QUrl(QStringLiteral("ws://127.0.0.1:%1/room").arg(port));
}

/// A server of Qt's, in both modes.
struct QtServer
{
    explicit QtServer(QWebSocketServer::SslMode mode = QWebSocketServer::NonSecureMode)
        : server(QStringLiteral("test"), mode)
    {
        if (mode == QWebSocketServer::SecureMode) {
            QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
            configuration.setLocalCertificate(certificate());
            QFile key(QStringLiteral(TLS_DIRECTORY "/key.pem"));
            key.open(QIODevice::ReadOnly);
            configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
            server.setSslConfiguration(configuration);
        }
        server.listen(kHere);
    }

    static QSslCertificate certificate()
    {
        return QSslCertificate::fromPath(QStringLiteral(TLS_DIRECTORY "/certificate.pem")).value(0);
    }
    QString url(const QString &host = QStringLiteral("127.0.0.1")) const
    {
        const bool isSecure = server.secureMode() == QWebSocketServer::SecureMode;
        return QStringLiteral("%1://%2:%3/x")
            .arg(isSecure ? QStringLiteral("wss") : QStringLiteral("ws"), host)
            .arg(server.serverPort());
    }
    QWebSocket *accept()
    {
        const bool hasCome = QTest::qWaitFor([this] { return server.hasPendingConnections(); });
        return hasCome ? server.nextPendingConnection() : nullptr;
    }
    QWebSocketServer server;
};

/// A connection by hand, the handshake done.
std::unique_ptr<QTcpSocket> rawPeer(quint16 port)
{
    auto peer = connectedPeer(port);
    peer->write(kRequest);
    const bool isThere = QTest::qWaitFor([&peer] { return peer->peek(1000).endsWith("\r\n\r\n"); });
    peer->readAll();
    return isThere ? std::move(peer) : nullptr;
}
} // namespace

void WebSocketsTest::serverTalks()
{
    SocketBench bench;
    const quint16 port = freePort();
    QCOMPARE(bench.sockets->openWebSocketServer(1, port, QStringLiteral("room")), 0);
    QWebSocket first;
    QWebSocket second;
    first.open(urlOf(port));
    SEES(bench, { "online 1" });
    second.open(urlOf(port));
    SEES(bench, { "online 1" });
    QTRY_VERIFY(first.isValid() && second.isValid());
    first.sendTextMessage(QStringLiteral("text \u00e4"));
    first.sendBinaryMessage("binary");
    SEES(bench, { "string 1 text \u00c3\u00a4", "string 1 binary" });
    second.sendBinaryMessage(QByteArray(1024 * 1024, 'x'));
    QTRY_COMPARE(bench.received.size(), 7 + 6 + 1024 * 1024);
    bench.seen.clear();

    QSignalSpy texts(&first, &QWebSocket::textMessageReceived);
    QSignalSpy toFirst(&first, &QWebSocket::binaryMessageReceived);
    QSignalSpy toSecond(&second, &QWebSocket::binaryMessageReceived);
    QSignalSpy pongs(&first, &QWebSocket::pong);
    bench.sockets->write(1, "to all");
    QTRY_COMPARE(toSecond.size(), 1);
    QTRY_COMPARE(toFirst.size(), 1);
    QCOMPARE(toFirst.first().first().toByteArray(), QByteArray("to all"));
    QCOMPARE(texts.size(), 0);
    first.ping("are you there");
    QTRY_COMPARE(pongs.size(), 1);
    first.close();
    SEES(bench, { "offline 1" });
    QTRY_COMPARE(first.state(), QAbstractSocket::UnconnectedState);
    second.abort();
    SEES(bench, { "offline 1" });
}

void WebSocketsTest::serverTakesOnlyWebSockets_data()
{
    const Table<QByteArray, QStringList> row("says", "seen");
    const QStringList error(QStringLiteral("error 1 7"));
    row("a browser that wants a page", "GET / HTTP/1.1\r\nHost: h\r\n\r\n", error);
    row("nonsense", QByteArray(20000, '\x80'), error);
    row("somebody who looks in and goes", "", {});
    row("half a request", QByteArray(kRequest).chopped(2), {});
}

void WebSocketsTest::serverTakesOnlyWebSockets()
{
    QFETCH(QByteArray, says);
    QFETCH(QStringList, seen);
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    const auto peer = connectedPeer(port);
    peer->write(says);
    if (seen.isEmpty()) {
        peer->disconnectFromHost();
    }
    SEES(bench, seen);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QWebSocket good;
    good.open(urlOf(port));
    SEES(bench, { "online 1" });
}

void WebSocketsTest::silentPeersAreDropped()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    const auto peer = connectedPeer(port);
    const auto next = rawPeer(port); // when this one is there, the other has been accepted
    SEES(bench, { "online 1" });
    bench.clock.advance(9900);
    QCoreApplication::processEvents();
    QCOMPARE(peer->state(), QAbstractSocket::ConnectedState);
    bench.clock.advance(200);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(bench.take(), QStringList(QStringLiteral("error 1 5")));
}

void WebSocketsTest::violationsEndTheConnection_data()
{
    const Table<QByteArray, QString, QByteArray> row("frames", "error", "answer");
    row("not masked", QByteArray::fromHex("810178"), "error 1 7", QByteArray::fromHex("880203ea"));
    row("too long", QByteArray::fromHex("82ff0000000001000000"), "error 1 6", QByteArray::fromHex("880203f1"));
    row("no UTF-8", QByteArray::fromHex("818100000000ff"), "error 1 7", QByteArray::fromHex("880203ef"));
}

void WebSocketsTest::violationsEndTheConnection()
{
    QFETCH(QByteArray, frames);
    QFETCH(QString, error);
    QFETCH(QByteArray, answer);
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    const auto peer = rawPeer(port);
    SEES(bench, { "online 1" });
    peer->write(QByteArray::fromHex("82810000000061") + frames + QByteArray::fromHex("82810000000062"));
    SEES(bench, { "string 1 a", error, "offline 1" });
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(peer->readAll(), answer);
}

void WebSocketsTest::floodOfMessages()
{
    // Many short messages in one piece: what panels do comes in between.
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    const auto peer = rawPeer(port);
    SEES(bench, { "online 1" });
    constexpr int kMessages = 20000;
    peer->write(QByteArray::fromHex("82810000000061").repeated(kMessages));
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
    QTRY_COMPARE(strings, kMessages);
    QVERIFY2(stringsBeforePush >= 1 && stringsBeforePush <= 16, qPrintable(QString::number(stringsBeforePush)));
    QCOMPARE(bench.received, QByteArray(kMessages, 'a'));
}

void WebSocketsTest::slowPeer()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    const auto slow = rawPeer(port);
    slow->setReadBufferSize(1);
    SEES(bench, { "online 1" });
    const QByteArray block(256 * 1024, 'x');
    for (int count = 0; bench.seen.isEmpty() && count < 1000; ++count) {
        bench.sockets->write(1, block);
    }
    QCOMPARE(bench.take(), (QStringList{ QStringLiteral("error 1 4"), QStringLiteral("offline 1") }));
}

void WebSocketsTest::closedServerKeepsItsConnections()
{
    SocketBench bench;
    const quint16 port = freePort();
    bench.sockets->openWebSocketServer(1, port, QString());
    QWebSocket peer;
    peer.open(urlOf(port));
    SEES(bench, { "online 1" });
    bench.sockets->closeWebSocketServer(1);
    QVERIFY(!bench.sockets->write(1, "nobody"));
    QCOMPARE(bench.sockets->openServer(1, port, SocketActions::Protocol::Tcp), 0);
    QTRY_VERIFY(peer.isValid());
    peer.sendBinaryMessage("still here");
    SEES(bench, { "string 1 still here" });
}

void WebSocketsTest::clientTalks()
{
    SocketBench bench;
    QtServer server;
    QCOMPARE(bench.sockets->openWebSocketClient(1, server.url(QStringLiteral("localhost"))), 0);
    const std::unique_ptr<QWebSocket> peer(server.accept());
    QVERIFY(peer);
    SEES(bench, { "online 1" });
    QCOMPARE(peer->requestUrl().path(), QStringLiteral("/x"));
    QSignalSpy received(peer.get(), &QWebSocket::binaryMessageReceived);
    bench.sockets->write(1, QByteArray(70000, 'x'));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.first().first().toByteArray(), QByteArray(70000, 'x'));
    peer->sendTextMessage(QStringLiteral("text"));
    peer->sendBinaryMessage("binary");
    SEES(bench, { "string 1 text", "string 1 binary" });
    peer->close();
    SEES(bench, { "offline 1" });
    bench.sockets->write(1, "too late");
    SEES(bench, { "error 1 3" });
}

void WebSocketsTest::clientFails_data()
{
    const Table<QString, int> row("url", "code");
    row("nobody listens", urlOf(freePort()).toString(), 0);
    row("another scheme", "http://127.0.0.1/", 10);
    row("no host", "ws:///path", 2);
    row("no URL", "::: what?", 2);
    row("a host that cannot be", "ws://nowhere.invalid/", 2);
}

void WebSocketsTest::clientFails()
{
    QFETCH(QString, url);
    QFETCH(int, code);
    SocketBench bench;
    QCOMPARE(bench.sockets->openWebSocketClient(1, url), 0);
    QCOMPARE(bench.take(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(bench.seen, QStringList(QStringLiteral("error 1 %1").arg(code)), 30000);
}

void WebSocketsTest::clientCloses()
{
    SocketBench bench;
    QtServer server;
    bench.sockets->openWebSocketClient(1, server.url());
    const std::unique_ptr<QWebSocket> peer(server.accept());
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "last");
    QSignalSpy received(peer.get(), &QWebSocket::binaryMessageReceived);
    bench.sockets->closeWebSocketClient(1);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(received.size(), 1);
    QCOMPARE(peer->closeCode(), QWebSocketProtocol::CloseCodeNormal);
    QCOMPARE(bench.take(), QStringList());

    Listener mute; // takes the connection and never answers
    bench.sockets->openWebSocketClient(1, urlOf(mute.port()).toString());
    QTcpSocket *const raw = mute.accept();
    QTRY_VERIFY(raw->bytesAvailable() > 0);
    bench.clock.advance(30000);
    SEES(bench, { "error 1 5" });

    bench.sockets->openWebSocketClient(1, urlOf(mute.port()).toString());
    QTcpSocket *const rude = mute.accept();
    QTRY_VERIFY(rude->bytesAvailable() > 0);
    rude->write("HTTP/1.1 404 Not Found\r\n\r\n");
    SEES(bench, { "error 1 0" });
}

void WebSocketsTest::clientOverTls()
{
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    const QSslConfiguration usual = trusting;
    trusting.setCaCertificates({ QtServer::certificate() });
    QSslConfiguration::setDefaultConfiguration(trusting);
    SocketBench bench;
    QtServer server(QWebSocketServer::SecureMode);
    bench.sockets->openWebSocketClient(1, server.url());
    const std::unique_ptr<QWebSocket> peer(server.accept());
    QVERIFY(peer);
    SEES(bench, { "online 1" });
    QSignalSpy received(peer.get(), &QWebSocket::binaryMessageReceived);
    const QByteArray much(500000, 'x');
    bench.sockets->write(1, much);
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.first().first().toByteArray(), much);
    peer->sendBinaryMessage(much);
    QTRY_COMPARE(bench.received, much);
    bench.seen.clear();
    peer->abort();
    SEES(bench, { "error 1 1", "offline 1" });

    bench.sockets->openWebSocketClient(1, server.url());
    const std::unique_ptr<QWebSocket> next(server.accept());
    SEES(bench, { "online 1" });
    bench.sockets->write(1, "last");
    bench.sockets->closeWebSocketClient(1);
    QTRY_COMPARE(next->closeCode(), QWebSocketProtocol::CloseCodeNormal);
    QTRY_COMPARE(next->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(bench.take(), QStringList());
    QSslConfiguration::setDefaultConfiguration(usual);
}

void WebSocketsTest::clientOverTlsFails()
{
    SocketBench bench;
    QtServer server(QWebSocketServer::SecureMode);
    bench.sockets->openWebSocketClient(1, server.url()); // the certificate is nobody's that the system trusts
    SEES(bench, { "error 1 13" });
    Listener mute;
    bench.sockets->openWebSocketClient(1, QStringLiteral("wss://127.0.0.1:%1/").arg(mute.port()));
    QVERIFY(mute.accept());
    bench.clock.advance(30000);
    SEES(bench, { "error 1 5" });
    bench.sockets->openWebSocketClient(1, QStringLiteral("wss://127.0.0.1:%1/").arg(freePort()));
    SEES(bench, { "error 1 0" });
}

void WebSocketsTest::clientRestarts()
{
    SocketBench bench;
    QtServer server;
    bench.sockets->openWebSocketClient(1, server.url());
    const std::unique_ptr<QWebSocket> old(server.accept());
    SEES(bench, { "online 1" });
    bench.sockets->restartAll();
    const std::unique_ptr<QWebSocket> fresh(server.accept());
    QVERIFY(fresh);
    SEES(bench, { "online 1" });
    QTRY_COMPARE(old->state(), QAbstractSocket::UnconnectedState);
    fresh->sendBinaryMessage("x");
    SEES(bench, { "string 1 x" });
}

TEST_CLASS(WebSocketsTest)
#include "WebSocketsTest.moc"
