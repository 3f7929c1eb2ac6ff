#include "web/HttpListener.h"
#include "support/Files.h"
#include "support/TestClass.h"
#include "web/FileController.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QSslSocket>
#include <QTemporaryDir>

#include <csignal>

/// The web server over real sockets: places, timeouts, clients that misbehave, encryption.
class HttpListenerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { std::signal(SIGPIPE, SIG_IGN); }
    void settings();
    void takenPort();
    void pipelinedFiles_data();
    void pipelinedFiles();
    void tooManyConnections_data();
    void tooManyConnections();
    void readTimeout_data();
    void readTimeout();
    void stallingClientLosesItsPlace();
    void lastWordsArrive();
    void fileThatBecomesShorter_data();
    void fileThatBecomesShorter();
    void endWithOpenConnections_data();
    void endWithOpenConnections();
    void tlsWithBadFiles();
    void tlsGarbage();
};

namespace {
constexpr int kWaitMs = 5000;

/// A key and a certificate of its own making, once for all tests. False: there is no openssl.
bool makeKeys(QString &key, QString &certificate)
{
    static QTemporaryDir directory;
    key = directory.filePath(QStringLiteral("key.pem"));
    certificate = directory.filePath(QStringLiteral("cert.pem"));
    if (!QFile::exists(certificate)) {
        QProcess::execute(QStringLiteral("openssl"),
                          { QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                            QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                            QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes"),
                            QStringLiteral("-subj"), QStringLiteral("/CN=localhost"), QStringLiteral("-keyout"), key,
                            QStringLiteral("-out"), certificate });
    }
    return QFile::exists(certificate);
}

/// Bytes that tell where they stand.
QByteArray content(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int at = 0; at < size; ++at) {
        bytes[at] = static_cast<char>(at * 7 + at / 251);
    }
    return bytes;
}

/// A web directory and a listener on a port of its own.
struct Server
{
    QTemporaryDir directory;
    HttpSettings settings;
    FileController pages{ directory.path() };
    std::unique_ptr<HttpListener> listener;

    Server()
    {
        settings.host = QHostAddress(QHostAddress::LocalHost);
        settings.port = 0;
        put("a", "page a");
    }
    void put(const char *name, const QByteArray &bytes) const
    {
        QVERIFY(writeFile(directory.filePath(QLatin1String(name)), bytes));
    }
    bool encrypt() { return makeKeys(settings.sslKeyFile, settings.sslCertFile); }
    void start()
    {
        listener = std::make_unique<HttpListener>(settings, pages, 2);
        QVERIFY2(listener->isListening(), qPrintable(listener->error()));
    }
};

/// A client that waits for what it wants to see.
struct Client
{
    QSslSocket socket;
    QByteArray heard;

    explicit Client(const Server &server, bool isEncrypted = false)
    {
        if (isEncrypted) {
            socket.setPeerVerifyMode(QSslSocket::VerifyNone);
            socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), server.listener->port());
            QVERIFY2(socket.waitForEncrypted(kWaitMs), qPrintable(socket.errorString()));
        } else {
            socket.connectToHost(QStringLiteral("127.0.0.1"), server.listener->port());
            QVERIFY(socket.waitForConnected(kWaitMs));
        }
    }
    Client(const Server &server, const char *from)
    {
        socket.bind(QHostAddress(QString::fromLatin1(from)));
        socket.connectToHost(QStringLiteral("127.0.0.1"), server.listener->port());
        QVERIFY(socket.waitForConnected(kWaitMs));
    }
    void say(const QByteArray &bytes)
    {
        socket.write(bytes);
        while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(kWaitMs)) {
        }
    }
    bool hears(const QByteArray &text)
    {
        while (!heard.contains(text) && socket.waitForReadyRead(kWaitMs)) {
            heard += socket.readAll();
        }
        return heard.contains(text);
    }
    bool hearsTheEnd()
    {
        while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(kWaitMs)) {
            heard += socket.readAll();
        }
        heard += socket.readAll();
        return socket.error() == QAbstractSocket::RemoteHostClosedError;
    }
};

const QByteArray kGetFileA = "GET /a HTTP/1.1\r\n\r\n";
const QByteArray kTooMany = "HTTP/1.1 503 too many connections\r\nConnection: close\r\n\r\nToo many connections\r\n";

void plainAndEncrypted()
{
    QTest::addColumn<bool>("isEncrypted");
    QTest::newRow("plain") << false;
    QTest::newRow("encrypted") << true;
}
} // namespace

#define ENCRYPTS(server)                                                                                               \
    QFETCH(bool, isEncrypted);                                                                                         \
    if (isEncrypted && !(server).encrypt()) {                                                                          \
        QSKIP("openssl is not installed");                                                                             \
    }

void HttpListenerTest::settings()
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("web.ini"));
    QVERIFY(writeFile(path, "[listener]\n;host=1.2.3.4\nport=8080\nmaxThreads=0\nreadTimeout=abc\nmaxRequestSize=5000\n"
                            "maxMultiPartSize=99999999999\nsslKeyFile=tls/key.pem\nsslCertFile=/etc/cert.pem\n"));
    QSettings ini(path, QSettings::IniFormat);
    ini.beginGroup(QStringLiteral("listener"));
    HttpSettings settings;
    settings.take(ini, QStringLiteral("/data"));
    QCOMPARE(settings.host, QHostAddress(QHostAddress::Any)); // only a comment
    QCOMPARE(settings.port.value_or(0), 8080);
    QCOMPARE(settings.maxThreads, 100); // what makes no sense changes nothing
    QCOMPARE(settings.readTimeoutMs, 10000);
    QCOMPARE(settings.maxRequestSize, 5000);
    QCOMPARE(settings.maxMultiPartSize, 1000000);
    QCOMPARE(settings.sslKeyFile, QStringLiteral("/data/tls/key.pem"));
    QCOMPARE(settings.sslCertFile, QStringLiteral("/etc/cert.pem"));
}

void HttpListenerTest::takenPort()
{
    Server first;
    first.start();
    Server second;
    second.settings.port = first.listener->port();
    const HttpListener listener(second.settings, second.pages);
    QVERIFY(!listener.isListening());
    QVERIFY2(listener.error().contains(QString::number(first.listener->port())), qPrintable(listener.error()));
}

void HttpListenerTest::pipelinedFiles_data()
{
    plainAndEncrypted();
}

void HttpListenerTest::pipelinedFiles()
{
    Server server;
    ENCRYPTS(server)
    const QByteArray large = content(6000000);
    server.put("large", large);
    server.start();
    QCOMPARE(server.listener->isEncrypted(), isEncrypted);
    Client client(server, isEncrypted);
    client.say("GET /large HTTP/1.1\r\n\r\n" + kGetFileA +
               "GET /large HTTP/1.1\r\nRange: bytes=1000000-4999999\r\n\r\n" + "GET /a HTTP/1.0\r\n\r\n" + kGetFileA);
    QVERIFY2(client.hearsTheEnd(), qPrintable(client.socket.errorString()));
    QByteArrayList bodies;
    for (int at = client.heard.indexOf("HTTP/1.1 20"); at >= 0;) {
        const int length = client.heard.mid(client.heard.indexOf("Length: ", at) + 8, 10).split('\r').first().toInt();
        const int body = client.heard.indexOf("\r\n\r\n", at) + 4;
        bodies << client.heard.mid(body, length);
        at = client.heard.indexOf("HTTP/1.1 20", body + length);
    }
    QCOMPARE(bodies.size(), 4);
    QVERIFY(bodies.at(0) == large);
    QCOMPARE(bodies.at(1), QByteArray("page a"));
    QVERIFY(bodies.at(2) == large.mid(1000000, 4000000));
    QCOMPARE(bodies.at(3), QByteArray("page a"));
}

void HttpListenerTest::tooManyConnections_data()
{
    plainAndEncrypted();
}

void HttpListenerTest::tooManyConnections()
{
    Server server;
    ENCRYPTS(server)
    server.settings.maxThreads = 2;
    server.start();
    Client first(server, isEncrypted);
    auto second = std::make_unique<Client>(server, isEncrypted);
    first.say(kGetFileA);
    QVERIFY(first.hears("page a"));
    QTRY_COMPARE(server.listener->connectionCount(), 2);
    Client third(server, isEncrypted);
    third.say(kGetFileA);
    QVERIFY(third.hearsTheEnd());
    QVERIFY2(third.heard.startsWith(kTooMany.left(kTooMany.indexOf('\r'))), third.heard.constData());
    QVERIFY(third.heard.endsWith("Too many connections\r\n"));
    first.heard.clear();
    first.say(kGetFileA); // those that have a place are served on
    QVERIFY(first.hears("page a"));
    second.reset();
    QTRY_COMPARE(server.listener->connectionCount(), 1);
    Client fourth(server, isEncrypted);
    fourth.say(kGetFileA);
    QVERIFY(fourth.hears("page a"));
    if (!isEncrypted) { // another address has fewer, so it gets the place of the one that has idled longest
        Client other(server, "127.0.0.2");
        other.say(kGetFileA);
        QVERIFY(other.hears("page a"));
        QVERIFY(first.hearsTheEnd());
    }
}

void HttpListenerTest::readTimeout_data()
{
    QTest::addColumn<bool>("isEncrypted");
    QTest::addColumn<QByteArray>("said");
    for (const bool isEncrypted : { false, true }) {
        const char *const kind = isEncrypted ? "encrypted" : "plain";
        QTest::addRow("%s, silent", kind) << isEncrypted << QByteArray();
        QTest::addRow("%s, half a request", kind) << isEncrypted << QByteArray("GET /a HT");
        QTest::addRow("%s, half a body", kind)
            << isEncrypted << QByteArray("POST /a HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc");
        QTest::addRow("%s, after an answer", kind) << isEncrypted << kGetFileA;
    }
}

void HttpListenerTest::readTimeout()
{
    Server server;
    ENCRYPTS(server)
    QFETCH(QByteArray, said);
    server.settings.readTimeoutMs = 300;
    server.start();
    Client client(server, isEncrypted);
    client.say(said);
    QVERIFY2(client.hearsTheEnd(), qPrintable(client.socket.errorString()));
    QCOMPARE(client.heard.count("HTTP/1.1 200 OK"), said == kGetFileA ? 1 : 0);
    QTRY_COMPARE(server.listener->connectionCount(), 0);
}

void HttpListenerTest::stallingClientLosesItsPlace()
{
    Server server;
    server.put("large", content(20000000));
    server.settings.maxThreads = 3;
    server.settings.stallAfterMs = 300;
    server.start();
    Client silent(server);
    Client slow(server);
    Client deaf(server);
    slow.say("GET /");
    deaf.socket.setReadBufferSize(1);
    deaf.say("GET /large HTTP/1.1\r\n\r\n");
    QTRY_COMPARE(server.listener->connectionCount(), 3);
    // The two that are served push the slow and the deaf one out; the silent one keeps its place.
    std::vector<std::unique_ptr<Client>> served;
    QByteArray lastAnswer;
    const auto tryAgain = [&] {
        auto client = std::make_unique<Client>(server);
        client->say(kGetFileA);
        client->hears("\r\n\r\n");
        lastAnswer = client->heard;
        const bool isServed = lastAnswer.startsWith("HTTP/1.1 200");
        if (isServed) {
            served.push_back(std::move(client));
        }
        return isServed;
    };
    QTRY_VERIFY(served.size() == 2 || (tryAgain() && served.size() == 2));
    QVERIFY(!tryAgain());
    QCOMPARE(lastAnswer.left(kTooMany.size()), kTooMany.left(lastAnswer.size()));
    silent.say(kGetFileA);
    QVERIFY(silent.hears("page a"));
    QVERIFY(slow.hearsTheEnd());
}

void HttpListenerTest::lastWordsArrive()
{
    Server server;
    server.start();
    Client client(server);
    // The refusal is written while the client still sends; closing at once would reset the connection.
    client.say("POST / HTTP/1.1\r\nContent-Length: 3000000\r\n\r\n" + QByteArray(3000000, 'x'));
    QVERIFY2(client.hearsTheEnd(), qPrintable(client.socket.errorString()));
    QCOMPARE(client.heard,
             QByteArray("HTTP/1.1 413 entity too large\r\nConnection: close\r\n\r\n413 Entity too large\r\n"));
}

void HttpListenerTest::fileThatBecomesShorter_data()
{
    plainAndEncrypted();
}

void HttpListenerTest::fileThatBecomesShorter()
{
    Server server;
    ENCRYPTS(server)
    server.put("large", content(30000000)); // more than the system holds for a client that does not read
    server.start();
    Client client(server, isEncrypted);
    client.socket.setReadBufferSize(10000);
    client.say("GET /large HTTP/1.1\r\n\r\n");
    QVERIFY(client.hears("HTTP/1.1 200 OK"));
    QVERIFY(QFile::resize(server.directory.filePath(QStringLiteral("large")), 100));
    client.socket.setReadBufferSize(0);
    client.hearsTheEnd();
    QVERIFY(client.socket.state() == QAbstractSocket::UnconnectedState); // it can't take this for the whole
    QVERIFY(client.heard.size() < 30000000);
}

void HttpListenerTest::endWithOpenConnections_data()
{
    plainAndEncrypted();
}

void HttpListenerTest::endWithOpenConnections()
{
    Server server;
    ENCRYPTS(server)
    server.put("large", content(30000000));
    server.start();
    Client silent(server, isEncrypted);
    Client reading(server, isEncrypted);
    reading.socket.setReadBufferSize(10000);
    reading.say("GET /large HTTP/1.1\r\n\r\n");
    QVERIFY(reading.hears("HTTP/1.1 200 OK"));
    server.listener.reset();
    reading.socket.setReadBufferSize(0);
    silent.hearsTheEnd();
    reading.hearsTheEnd();
    QCOMPARE(silent.socket.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(reading.socket.state(), QAbstractSocket::UnconnectedState);
}

void HttpListenerTest::tlsWithBadFiles()
{
    Server server;
    server.settings.sslKeyFile = server.directory.filePath(QStringLiteral("a"));
    server.settings.sslCertFile = server.directory.filePath(QStringLiteral("none"));
    server.start();
    QVERIFY(!server.listener->isEncrypted());
    QVERIFY(server.listener->warning().contains(server.settings.sslCertFile));
    Client client(server);
    client.say(kGetFileA);
    QVERIFY(client.hears("page a"));

    Server twin;
    if (!twin.encrypt()) {
        QSKIP("openssl is not installed");
    }
    twin.settings.sslKeyFile =
        twin.directory.filePath(QStringLiteral("other.pem")); // good, but of nobody's certificate
    QProcess::execute(QStringLiteral("openssl"),
                      { QStringLiteral("genpkey"), QStringLiteral("-algorithm"), QStringLiteral("EC"),
                        QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"),
                        QStringLiteral("-out"), twin.settings.sslKeyFile });
    twin.start();
    QVERIFY(!twin.listener->isEncrypted());
    QVERIFY2(twin.listener->warning().contains(twin.settings.sslKeyFile), qPrintable(twin.listener->warning()));
    Client plain(twin);
    plain.say(kGetFileA);
    QVERIFY(plain.hears("page a"));
}

void HttpListenerTest::tlsGarbage()
{
    Server server;
    if (!server.encrypt()) {
        QSKIP("openssl is not installed");
    }
    server.settings.maxThreads = 2;
    server.settings.stallAfterMs = 300;
    server.start();
    Client plain(server);
    plain.say(kGetFileA);
    plain.hearsTheEnd();
    QVERIFY(!plain.heard.contains("page a"));
    QTRY_COMPARE(server.listener->connectionCount(), 0);
    Client mute(server); // connected, but never encrypted
    Client other(server);
    QTRY_COMPARE(server.listener->connectionCount(), 2);
    std::unique_ptr<Client> client;
    const auto tryAgain = [&] {
        client = std::make_unique<Client>(server);
        client->socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        client->socket.startClientEncryption();
        return client->socket.waitForEncrypted(kWaitMs);
    };
    QTRY_VERIFY((client && client->socket.isEncrypted()) || tryAgain());
    client->say(kGetFileA);
    QVERIFY(client->hears("page a"));
}

TEST_CLASS(HttpListenerTest)
#include "HttpListenerTest.moc"
