#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "net/link/LinkCodes.h"
#include "support/Loopback.h"
#include "support/TestClass.h"
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>

#include <memory>

// A management tool that checks the network through the controller. Requests and reports are written as bytes.

namespace {
const QByteArray kHereText =
    QByteArray::fromHex("00000012 0031 0032 0037 002e 0030 002e 0030 002e 0031"); // as a QString

QByteArray number(int value)
{
    QByteArray bytes(4, 0);
    for (int index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<char>(value >> (24 - 8 * index));
    }
    return bytes;
}

QByteArray sized(const QByteArray &bytes)
{
    return number(bytes.size()) + bytes;
}

struct Tool
{
    explicit Tool(const QString &address, int type = PeerType::kManagementTool)
        : client({ type, 100, "tool", "1" })
    {
        QObject::connect(&client, &LinkClient::received, &client, [this](const LinkMessage &message) {
            if (message.code == LinkCode::kPortTestReport) {
                reports << message.body;
            }
        });
        client.connectTo(address);
    }

    void ask(const QByteArray &body) { client.sendPlain(LinkCode::kPortTestRequest, body); }

    LinkClient client;
    QByteArrayList reports;
};
} // namespace

class PortTestTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void clientTalks();
    void clientGoesElsewhere();
    void clientFindsNobody();
    void serverTalksToAll();
    void serverStops();
    void datagrams();
    void endsWithTheConnection();
    void onlyToolsAreTold();
    void survivesNonsense();

private:
    static int freePort();

    ControllerProcess m_controller;
    std::unique_ptr<Tool> m_tool;
};

#define REPORTS(...) QTRY_COMPARE(m_tool->reports, (QByteArrayList{ __VA_ARGS__ }))

void PortTestTest::initTestCase()
{
    m_controller.start();
    IS_UP(m_controller);
}

void PortTestTest::init()
{
    m_tool = std::make_unique<Tool>(m_controller.address());
    QTRY_VERIFY(m_tool->client.isIntroduced());
}

int PortTestTest::freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::Any);
    return server.serverPort();
}

void PortTestTest::clientTalks()
{
    QTcpServer peer;
    QVERIFY(peer.listen(kHere));
    m_tool->ask(number(51) + kHereText + number(peer.serverPort()) + number(1));
    m_tool->ask(number(53) + sized("PWR ON\r")); // it is still on its way
    QTRY_VERIFY(peer.hasPendingConnections());
    const std::unique_ptr<QTcpSocket> socket(peer.nextPendingConnection());
    REPORTS(number(51) + number(1));
    m_tool->reports.clear();

    QTRY_COMPARE(socket->bytesAvailable(), 7);
    const QByteArrayList oneBlock{ number(53) + sized("OK\r") };
    for (int attempt = 0; m_tool->reports != oneBlock && attempt < 20; ++attempt) {
        m_tool->reports.clear();
        for (const char *part : { "OK", "\r" }) { // one block, when this thread gets both out within 20 ms
            socket->write(part);
            QVERIFY(socket->flush());
        }
        QTRY_VERIFY(m_tool->reports.join().endsWith('\r'));
    }
    QCOMPARE(m_tool->reports, oneBlock);
    m_tool->reports.clear();

    const QByteArray flood(300000, 'x'); // a stream that never pauses still arrives
    socket->write(flood);
    const auto received = [this] {
        int sum = 0;
        for (const QByteArray &report : qAsConst(m_tool->reports)) {
            sum += report.size() - 8;
        }
        return sum;
    };
    QTRY_COMPARE(received(), flood.size());
    m_tool->reports.clear();

    socket->disconnectFromHost();
    REPORTS(number(51) + number(0));
}

void PortTestTest::clientGoesElsewhere()
{
    QTcpServer first;
    QTcpServer second;
    QVERIFY(first.listen(kHere) && second.listen(kHere));
    m_tool->ask(number(51) + kHereText + number(first.serverPort()) + number(1));
    QTRY_VERIFY(first.hasPendingConnections());
    const std::unique_ptr<QTcpSocket> former(first.nextPendingConnection());
    m_tool->ask(number(51) + kHereText + number(second.serverPort()) + number(1));
    QTRY_VERIFY(second.hasPendingConnections());
    QTRY_COMPARE(former->state(), QAbstractSocket::UnconnectedState); // the same client, not another
    REPORTS(number(51) + number(1), number(51) + number(1));
    m_tool->reports.clear();
    m_tool->ask(number(51) + kHereText + number(second.serverPort()) + number(0));
    REPORTS(number(51) + number(0));
}

void PortTestTest::clientFindsNobody()
{
    m_tool->ask(number(51) + kHereText + number(freePort()) + number(1));
    REPORTS(number(51) + number(0));
}

void PortTestTest::serverTalksToAll()
{
    const int port = freePort();
    m_tool->ask(number(61) + number(port) + number(1));
    REPORTS(number(61) + number(1));
    m_tool->reports.clear();
    QTcpSocket first;
    QTcpSocket second;
    for (QTcpSocket *socket : { &first, &second }) {
        socket->connectToHost(kHere, static_cast<quint16>(port));
        QVERIFY(socket->waitForConnected());
    }
    first.write("hello");
    REPORTS(number(63) + sized("hello"));
    m_tool->reports.clear();
    second.write("there");
    REPORTS(number(63) + sized("there"));
    m_tool->ask(number(63) + sized("to both"));
    for (QTcpSocket *socket : { &first, &second }) {
        QTRY_COMPARE(socket->bytesAvailable(), 7);
        QCOMPARE(socket->readAll(), QByteArray("to both"));
    }
}

void PortTestTest::serverStops()
{
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::Any));
    m_tool->ask(number(61) + number(taken.serverPort()) + number(1));
    REPORTS(number(61) + number(0));
    m_tool->reports.clear();
    const int port = freePort();
    m_tool->ask(number(61) + number(port) + number(1));
    REPORTS(number(61) + number(1));
    m_tool->ask(number(61) + number(port) + number(0));
    REPORTS(number(61) + number(1), number(61) + number(0));
    taken.close();
    QVERIFY(taken.listen(QHostAddress::Any, static_cast<quint16>(port))); // the port is free again
}

void PortTestTest::datagrams()
{
    QUdpSocket peer;
    QVERIFY(peer.bind(kHere));
    m_tool->ask(number(71) + kHereText + number(peer.localPort()) + number(1));
    m_tool->ask(number(73) + sized("ping"));
    REPORTS(number(71) + number(1));
    m_tool->reports.clear();
    QTRY_VERIFY(peer.hasPendingDatagrams());
    const QNetworkDatagram ping = peer.receiveDatagram();
    QCOMPARE(ping.data(), QByteArray("ping"));
    peer.writeDatagram(ping.makeReply("pong"));
    REPORTS(number(73) + sized("pong"));
    m_tool->reports.clear();

    const int port = freePort();
    m_tool->ask(number(81) + number(port) + number(1));
    REPORTS(number(81) + number(1));
    m_tool->reports.clear();
    peer.writeDatagram("news", kHere, static_cast<quint16>(port));
    REPORTS(number(83) + sized("news"));
}

void PortTestTest::endsWithTheConnection()
{
    const int port = freePort();
    m_tool->ask(number(61) + number(port) + number(1));
    REPORTS(number(61) + number(1));
    m_tool.reset();
    QTcpServer next;
    QTRY_VERIFY(next.isListening() || next.listen(QHostAddress::Any, static_cast<quint16>(port)));
}

void PortTestTest::onlyToolsAreTold()
{
    QTcpServer peer;
    QVERIFY(peer.listen(kHere));
    Tool panel(m_controller.address(), 1);
    QTRY_VERIFY(panel.client.isIntroduced());
    panel.ask(number(51) + kHereText + number(peer.serverPort()) + number(1));
    QTRY_VERIFY(peer.hasPendingConnections());
    m_tool->ask(number(61) + number(freePort()) + number(1));
    REPORTS(number(61) + number(1));
    QCOMPARE(panel.reports, QByteArrayList());
}

void PortTestTest::survivesNonsense()
{
    const QByteArrayList bodies{
        QByteArray(),
        QByteArray("\x33"),
        number(51),
        number(51) + number(-2) + number(80) + number(1), // an impossible length of the host
        number(51) + number(0x7fffffff) + number(80),
        number(51) + kHereText + number(0) + number(1),
        number(51) + kHereText + number(65536) + number(1),
        number(53) + sized("nobody is connected"),
        number(53) + number(0x7fffffff) + "short",
        number(61) + number(-1) + number(1),
        number(83) + sized("a UDP server says nothing"),
        number(52),
        number(0),
        number(-51),
        number(91) + number(80) + number(1),
    };
    for (const QByteArray &body : bodies) {
        m_tool->ask(body);
        m_tool->client.sendPlain(LinkCode::kPortTestReport, body);
    }
    m_tool->ask(number(61) + number(freePort()) + number(1));
    REPORTS(number(61) + number(1));
}

TEST_CLASS(PortTestTest)
#include "PortTestTest.moc"
