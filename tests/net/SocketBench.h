#pragma once
#include "base/Clock.h"
#include "compiler/Compiler.h"
#include "net/sockets/ProgramSockets.h"
#include "runtime/ControlProgram.h"
#include "support/FakeDevices.h"
#include "support/Loopback.h"
#include "support/Table.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

/// A loaded program with its sockets on a clock that the test drives. What happens is written down: "online 1",
/// "string 1 text", "error 1 code", "offline 1".
class SocketBench
{
public:
    explicit SocketBench(const char *source = "")
        : m_devices(*this)
    {
        program = std::make_unique<ControlProgram>(m_directory.path());
        const CompileResult compiled = compileSource(QString::fromUtf8(source));
        QDataStream stream(compiled.objectFile);
        if (!compiled.isGood() || !program->load(stream)) {
            qFatal("%s", qPrintable(compiled.text()));
        }
        AST &tree = program->tree();
        program->state().setDevices(&m_devices);
        QObject::connect(&tree, &AST::error, &tree, [this](const QString &text) { console << text; });
        sockets = std::make_unique<ProgramSockets>(program->state(), program->dispatcher());
        program->dispatcher().observer = [this](const CustomEvent &event) { note(event); };
        program->dispatcher().runStartBlock();
    }

    Clock clock{ Clock::Drive::ByHand };
    std::unique_ptr<ControlProgram> program;
    std::unique_ptr<ProgramSockets> sockets;
    QStringList seen;
    QStringList console;                                // what the program sends to device 1, and its errors
    QByteArray received;                                // the data of all string events
    std::function<void(const CustomEvent &)> meanwhile; // runs where a handler would

    QStringList take() { return std::exchange(seen, {}); }

private:
    class Devices : public FakeDevices
    {
    public:
        explicit Devices(SocketBench &bench)
            : m_bench(bench)
        {}
        void sendPortString(const DeviceAddress &device, const QByteArray &data) override
        {
            if (device.number == 0) {
                m_bench.sockets->write(device.port, data);
            } else {
                m_bench.console << QString::fromLatin1(data);
            }
        }

    private:
        SocketBench &m_bench;
    };

    void note(const CustomEvent &event)
    {
        const int port = event.device.port;
        received += event.type == EventType::String ? event.data : QByteArray();
        if (event.type == EventType::Online || event.type == EventType::Offline) {
            seen << spoken(event.type == EventType::Online ? "online" : "offline", port);
        } else if (event.type == EventType::String) {
            seen << spoken("string", port, event.data.left(60));
        } else if (event.type == EventType::Error) {
            seen << spoken("error", port, event.errorCode);
        }
        if (meanwhile) {
            meanwhile(event);
        }
    }

    QTemporaryDir m_directory;
    Devices m_devices;
};

/// Waits for just these lines, and forgets them.
#define SEES(bench, ...)                                                                                               \
    QTRY_COMPARE((bench).seen, TableCells::Texts(__VA_ARGS__).value);                                                  \
    (bench).seen.clear()

/// Waits for just these bytes, and takes them.
#define READS(peer, bytes)                                                                                             \
    QTRY_COMPARE((peer)->peek((peer)->bytesAvailable()), QByteArray(bytes));                                           \
    (peer)->readAll()

/// A port that was free a moment ago.
inline quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress(QHostAddress::Any));
    return server.serverPort();
}

/// A TCP server that has one connection at a time.
struct Listener
{
    Listener() { server.listen(kHere); }
    quint16 port() const { return server.serverPort(); }
    QTcpSocket *accept()
    {
        const bool hasCome = QTest::qWaitFor([this] { return server.hasPendingConnections(); });
        return hasCome ? server.nextPendingConnection() : nullptr;
    }
    QTcpServer server;
};

/// A TCP client; \param to  a port of this machine
inline std::unique_ptr<QTcpSocket> connectedPeer(quint16 to)
{
    auto peer = std::make_unique<QTcpSocket>();
    peer->connectToHost(kHere, to);
    peer->waitForConnected();
    return peer;
}
