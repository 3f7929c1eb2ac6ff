#include "ControllerProcess.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <csignal>

/// The web server of the real program.
class WebTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void servesPages();
    void portFromTheSettings();
    void freePort();
    void takenPort_data();
    void takenPort();
    void mostConnections();
    void slowSenders();
    void largeFileToManyReaders();
};

namespace {
constexpr quint16 kPort = 8080;
constexpr int kWaitMs = 5000;
const QStringList kHttpPort{ QStringLiteral("--http-port"), QString::number(kPort) };
const QByteArray kGet = "GET / HTTP/1.1\r\nConnection: close\r\n\r\n";

/// All that the server says until it closes; empty when it can't be reached.
QByteArray ask(const QString &address, quint16 port, const QByteArray &request)
{
    QTcpSocket socket;
    socket.connectToHost(address, port);
    if (!socket.waitForConnected(kWaitMs)) {
        return {};
    }
    socket.write(request);
    while (socket.waitForReadyRead(kWaitMs)) {
    }
    return socket.readAll();
}

QByteArray ask(const ControllerProcess &controller, const QByteArray &request = kGet)
{
    return ask(controller.address(), kPort, request);
}

int memoryKb(ControllerProcess &controller)
{
    QFile file(QStringLiteral("/proc/%1/status").arg(controller.process().processId()));
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return text.mid(text.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toInt();
}

std::vector<std::unique_ptr<QTcpSocket>> connections(const ControllerProcess &controller, int count)
{
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    while (static_cast<int>(sockets.size()) < count) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        sockets.back()->connectToHost(controller.address(), kPort);
        if (!sockets.back()->waitForConnected(kWaitMs)) {
            break;
        }
    }
    return sockets;
}
} // namespace

#define SERVES(controller)                                                                                             \
    IS_UP(controller);                                                                                                 \
    QTRY_VERIFY(!ask(controller).isEmpty())

void WebTest::servesPages()
{
    ControllerProcess controller;
    controller.start(kHttpPort);
    SERVES(controller);
    QVERIFY(ask(controller).endsWith("<html>404</html>"));
    QVERIFY(QDir(controller.filePath(QStringLiteral("web"))).exists());
    QVERIFY(writeFile(controller.filePath(QStringLiteral("web/index.html")), "<html>room</html>"));
    QVERIFY(ask(controller).endsWith("\r\n\r\n<html>room</html>"));
    QVERIFY(ask(controller, "HEAD / HTTP/1.0\r\n\r\n").endsWith("\r\n\r\n"));
    QVERIFY(ask(controller, "GET /../program.pobj HTTP/1.0\r\n\r\n").contains("404"));
    QVERIFY(ask(controller, "nonsense\r\n").startsWith("HTTP/1.1 413 "));
    QVERIFY(!controller.output().toLower().contains("http"));
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void WebTest::portFromTheSettings()
{
    ControllerProcess controller;
    QVERIFY(writeFile(controller.filePath(QStringLiteral("web.ini")), "[listener]\nport=8081\n"));
    controller.start();
    QTRY_VERIFY(!ask(controller.address(), 8081, kGet).isEmpty());
}

void WebTest::freePort()
{
    ControllerProcess controller;
    controller.start({ QStringLiteral("--http-port"), QStringLiteral("0") });
    QTRY_VERIFY(controller.output().contains("Web pages on port "));
    const QByteArray text = controller.output();
    const int port = text.mid(text.indexOf("Web pages on port ") + 18).split('\n').first().toInt();
    QVERIFY(ask(controller.address(), static_cast<quint16>(port), kGet).contains("<html>404</html>"));
}

void WebTest::takenPort_data()
{
    const Table<bool> row("isOption");
    row("by an option: the process ends before the program starts", true);
    row("by the settings: it goes on without a web server", false);
}

void WebTest::takenPort()
{
    QFETCH(bool, isOption);
    ControllerProcess controller;
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress(controller.address()), kPort));
    QCOMPARE(controller.install("start { send_string 5001:1:0, 'running' }"), QString());
    QVERIFY(writeFile(controller.filePath(QStringLiteral("web.ini")), "[listener]\nport=8080\n"));
    controller.start(isOption ? kHttpPort : QStringList());
    if (isOption) {
        QTRY_VERIFY(controller.errors().contains("TCP port 8080: "));
        QTRY_VERIFY(!controller.isRunning());
        QCOMPARE(controller.exitCode(), 2);
        QVERIFY(!controller.output().contains("running"));
    } else {
        QTRY_VERIFY(controller.output().contains("\nFailed to listen on port 8080\n"));
        QVERIFY(controller.output().contains("running"));
        QVERIFY(controller.isRunning());
    }
}

void WebTest::mostConnections()
{
    constexpr size_t kMost = 500;
    ControllerProcess controller;
    controller.start(kHttpPort);
    SERVES(controller);
    auto held = connections(controller, kMost);
    QCOMPARE(held.size(), kMost);
    QTRY_COMPARE(ask(controller),
                 QByteArray("HTTP/1.1 503 too many connections\r\nConnection: close\r\n\r\nToo many connections\r\n"));
    for (auto &socket : held) {
        socket->write("GET / HTTP/1.1\r\n\r\n");
    }
    for (auto &socket : held) {
        QVERIFY(socket->bytesAvailable() > 0 || socket->waitForReadyRead(kWaitMs));
        QVERIFY(socket->peek(12) == "HTTP/1.1 404");
    }
    held.clear();
    QTRY_VERIFY(ask(controller).contains("<html>404</html>"));
}

void WebTest::slowSenders()
{
    constexpr int kSenders = 600;
    constexpr int kMostMoreKb = 20000;
    ControllerProcess controller;
    controller.start(kHttpPort);
    SERVES(controller);
    QTcpSocket steady; // a client that has a place, and keeps it
    steady.connectToHost(controller.address(), kPort);
    QVERIFY(steady.waitForConnected(kWaitMs));
    const int beforeKb = memoryKb(controller);
    auto senders = connections(controller, kSenders);
    QTimer everySecond;
    int said = 0;
    connect(&everySecond, &QTimer::timeout, &everySecond, [&] {
        const QByteArray request = "GET /index.html HTTP/1.1\r\n";
        for (auto &socket : senders) {
            socket->write(request.mid(said % request.size(), 1));
        }
        ++said;
    });
    everySecond.start(1000);
    // At first they hold every place; soon they are known for what they are.
    QTRY_VERIFY_WITH_TIMEOUT(said > 2 && ask(controller).contains("<html>404</html>"), 15000);
    for (int count = 0; count < 20; ++count) {
        QVERIFY(ask(controller).contains("<html>404</html>"));
    }
    steady.write("GET / HTTP/1.1\r\n\r\n");
    QTRY_VERIFY(steady.peek(12) == "HTTP/1.1 404");
    QVERIFY2(memoryKb(controller) - beforeKb < kMostMoreKb,
             QByteArray::number(memoryKb(controller) - beforeKb).constData());
}

void WebTest::largeFileToManyReaders()
{
    constexpr int kReaders = 100;
    constexpr int kMostMoreKb = 20000;
    ControllerProcess controller;
    controller.start(kHttpPort);
    SERVES(controller);
    QVERIFY(writeFile(controller.filePath(QStringLiteral("web/large")), QByteArray(10000000, 'x')));
    const int beforeKb = memoryKb(controller);
    auto readers = connections(controller, kReaders);
    for (auto &socket : readers) { // the beginning, and then no more
        socket->setReadBufferSize(1000);
        socket->write("GET /large HTTP/1.1\r\n\r\n");
        QVERIFY(socket->waitForReadyRead(kWaitMs));
    }
    QVERIFY(ask(controller, "GET /large HTTP/1.0\r\n\r\n").size() > 10000000); // others are served meanwhile
    QVERIFY2(memoryKb(controller) - beforeKb < kMostMoreKb,
             QByteArray::number(memoryKb(controller) - beforeKb).constData());
}

TEST_CLASS(WebTest)
#include "WebTest.moc"
