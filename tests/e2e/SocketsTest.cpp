#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "support/Loopback.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>

/// A program's sockets in the running controller, with the tools of others at their other ends.
class SocketsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void servesWebSockets();
    void isClientOfAWebSocketServer();
    void garbageAndFloodsDoNotDisturbPanels();
    void lastWordsBeforeTheEnd();
    void deadHostsDoNotHoldTheEnd();
};

namespace {

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress(QHostAddress::Any));
    return server.serverPort();
}

const QString kPython = QStringLiteral("/usr/bin/python3");

bool isServed(const QHostAddress &address, quint16 port)
{
    QTcpSocket probe;
    probe.connectToHost(address, port);
    return probe.waitForConnected(1000);
}

/// The most memory that a process ever held, in MB.
double peakMegabytes(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmHWM:") + 6).trimmed().split(' ').value(0).toDouble() / 1024;
}
} // namespace

void SocketsTest::servesWebSockets()
{
    if (runTool(kPython, { QStringLiteral("-c"), QStringLiteral("import websockets") }).status != 0) {
        QSKIP("the Python module websockets (package python3-websockets) is not installed");
    }
    const quint16 port = freePort();
    ControllerProcess controller;
    INSTALLS(controller,
             qPrintable(QStringLiteral("device dvWeb = 0:1:0\n start { websocket_server_open(1, %1, 'room') }\n"
                                       "data_event [dvWeb] { string: { send_string dvWeb, \"'got ', data.text\" } }")
                            .arg(port)));
    STARTS(controller);
    const ToolRun peer = runTool(kPython, { QStringLiteral("-c"), QString::fromLatin1(R"(
import asyncio, sys, websockets
async def main():
    async with websockets.connect('ws://127.0.0.1:' + sys.argv[1], compression='deflate') as room:
        await room.send('text')
        print(await room.recv())
        await room.send([b'in ', b'three ', b'fragments'])
        print(await room.recv())
        await (await room.ping())
        print('pong', room.response_headers['Server'])
    print('closed', room.close_code)
asyncio.run(main())
)"),
                                            QString::number(port) });
    QCOMPARE(peer.output + peer.errors, QByteArray("b'got text'\nb'got in three fragments'\npong room\nclosed 1000\n"));
    SAYS(controller, "Offline Event: Device 0:1:0 offline");
    QVERIFY(!controller.output().contains("error event"));
}

void SocketsTest::isClientOfAWebSocketServer()
{
    if (runTool(kPython, { QStringLiteral("-c"), QStringLiteral("import websockets") }).status != 0) {
        QSKIP("the Python module websockets (package python3-websockets) is not installed");
    }
    const quint16 port = freePort();
    QProcess server;
    server.start(kPython, { QStringLiteral("-u"), QStringLiteral("-c"), QString::fromLatin1(R"(
import asyncio, sys, websockets
async def talk(room):
    print(room.path, await room.recv())
    await room.send('from the server')
    await room.close(1000)
async def main():
    async with websockets.serve(talk, '127.0.0.1', int(sys.argv[1])):
        print('serving')
        await asyncio.Future()
asyncio.run(main())
)"),
                            QString::number(port) });
    QByteArray heard;
    QTRY_VERIFY2((heard += server.readAll()).contains("serving"), server.readAllStandardError().constData());
    ControllerProcess controller;
    INSTALLS(controller,
             qPrintable(QStringLiteral("device dvWeb = 0:1:0\n"
                                       "start { websocket_client_open(1, 'ws://localhost:%1/rooms?id=7') }\n"
                                       "data_event [dvWeb] {\n online: { send_string dvWeb, 'from the room' }\n"
                                       "string: { send_string 5001:1:0, \"'heard ', data.text\" } }")
                            .arg(port)));
    STARTS(controller);
    SAYS(controller, "sended data is heard from the server");
    SAYS(controller, "Offline Event: Device 0:1:0 offline");
    QTRY_VERIFY((heard += server.readAll()).contains("/rooms?id=7 b'from the room'"));
    server.kill();
    server.waitForFinished();
}

void SocketsTest::garbageAndFloodsDoNotDisturbPanels()
{
    const quint16 tcpPort = freePort();
    const quint16 webPort = freePort();
    ControllerProcess controller;
    INSTALLS(controller,
             qPrintable(QStringLiteral("device dvPanel = 10001:1:0\n device dvTcp = 0:1:0\n device dvWeb = 0:2:0\n"
                                       "char sInput[1000]\n integer n\n"
                                       "start { create_buffer dvTcp, sInput; ip_server_open(1, %1, ip_tcp)\n"
                                       " websocket_server_open(2, %2, 'x') }\n"
                                       "data_event [dvTcp] { string: { n = n + 1 } }\n"
                                       "data_event [dvWeb] { string: { n = n + 1 } }\n"
                                       "button_event [dvPanel, 1] { push: { on [dvPanel, 1] } }")
                            .arg(tcpPort)
                            .arg(webPort)));
    // Without the monitor: it would write every byte of the flood as hexadecimal digits.
    controller.startWith(QStringLiteral(ARKIVON_PROGRAM),
                         { QStringLiteral("--data-dir"), controller.filePath(QString()), QStringLiteral("--bind"),
                           controller.address(), QStringLiteral("--no-system-changes") });
    QTRY_VERIFY(isServed(QHostAddress(controller.address()), 6139) && isServed(kHere, webPort));
    LinkClient panel({ 1, 10001, "panel", "1" });
    int heard = 0;
    connect(&panel, &LinkClient::received, this, [&heard] { ++heard; });
    JOINS(panel, controller);

    QTcpSocket stream;
    QTcpSocket web;
    stream.connectToHost(kHere, tcpPort);
    QVERIFY(stream.waitForConnected());
    web.connectToHost(kHere, webPort);
    QVERIFY(web.waitForConnected());
    web.write("GET / HTTP/1.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
    const double before = peakMegabytes(controller.process().processId());
    const QByteArray block(1024 * 1024, '\xFE');
    const QByteArray messages = QByteArray::fromHex("82810000000061").repeated(20000);
    qint64 worstMs = 0;
    for (int megabyte = 0; megabyte < 100; ++megabyte) {
        stream.write(block);
        web.write(messages);
        QTcpSocket garbage;
        garbage.connectToHost(kHere, webPort);
        garbage.waitForConnected();
        garbage.write(QByteArray(1000, '\x80'));
        garbage.flush();
        QTRY_VERIFY_WITH_TIMEOUT(stream.bytesToWrite() < 4 * block.size(), 20000);
        QElapsedTimer timer;
        timer.start();
        const int count = heard;
        panel.push(1);
        QTRY_VERIFY(heard > count);
        worstMs = std::max(worstMs, timer.elapsed());
        panel.release(1);
    }
    QTRY_VERIFY_WITH_TIMEOUT(stream.bytesToWrite() == 0 && web.bytesToWrite() == 0, 30000);
    QVERIFY(controller.isRunning());
    const double grownMb = peakMegabytes(controller.process().processId()) - before;
    qInfo("worst push %lld ms, memory grew by %.1f MB", static_cast<long long>(worstMs), grownMb);
    QVERIFY2(worstMs < 1000, qPrintable(QString::number(worstMs)));
#ifndef __SANITIZE_ADDRESS__ // it keeps freed memory for a while
    QVERIFY2(grownMb < 30, qPrintable(QString::number(grownMb)));
#endif
}

void SocketsTest::lastWordsBeforeTheEnd()
{
    QTcpServer server;
    QVERIFY(server.listen(kHere));
    ControllerProcess controller;
    INSTALLS(controller, qPrintable(QStringLiteral("start { tcp_send('127.0.0.1', %1, 'going down'); reboot(0:1:0) }")
                                        .arg(server.serverPort())));
    controller.start();
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket *const peer = server.nextPendingConnection();
    QTRY_COMPARE(peer->peek(100), QByteArray("going down"));
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

void SocketsTest::deadHostsDoNotHoldTheEnd()
{
    // A listener whose queue is full never answers.
    QTcpServer deaf;
    QVERIFY(deaf.listen(kHere));
    deaf.pauseAccepting();
    ControllerProcess controller;
    INSTALLS(
        controller,
        qPrintable(QStringLiteral("integer i\n start { for (i = 0; i < 500; i++) { tcp_send('127.0.0.1', %1, 'x') }\n"
                                  "websocket_client_open(1, 'ws://127.0.0.1:%1/')\n"
                                  "ip_client_open(2, '127.0.0.1', %1); ip_server_open(3, %2) }")
                       .arg(deaf.serverPort())
                       .arg(freePort())));
    STARTS(controller);
    controller.signal(SIGTERM); // one after the other they would take minutes
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(controller.exitCode(), 0);
}

TEST_CLASS(SocketsTest)
#include "SocketsTest.moc"
