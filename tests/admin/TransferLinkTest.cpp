#include "TransferWire.h"
#include "admin/TransferService.h"
#include "net/NetworkManager.h"
#include "net/transfer/ToolTransfers.h"
#include <QBuffer>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {
constexpr TransferTimes kTimes{ 150, 15, 15 };
constexpr int kTickMs = 5;
const QHostAddress kHere(QStringLiteral("127.0.0.1"));

/// A rest of the system that has nothing to say.
class Nobody : public PanelEvents, public PanelReplies, public PanelPresence, public LinkServices
{
public:
    LinkHooks hooks() { return { *this, *this, *this, *this }; }

    void buttonPressed(quint16, int, UntilHandled) override { ++pushes; }
    void buttonReleased(quint16, int, UntilHandled) override {}
    void levelChanged(quint16, int, int, UntilHandled) override {}
    void gotButtonStatus(int, int, int) override {}
    void gotButtonText(int, int, int, const QByteArray &) override {}
    void gotButtonProperty(int, int, const QByteArray &, const QVariant &) override {}
    void gotPageProperty(int, const QByteArray &, const QByteArray &, const QVariant &) override {}
    void gotButtonStateProperty(int, int, int, const QByteArray &, const QVariant &) override {}
    void queryIRCode(int) override {}
    QByteArray buttonStatusSnapshot(int) override { return {}; }
    void peerOnline(int) override {}
    void peerOffline(int) override {}
    QByteArray informationString() override { return {}; }
    QStringList listenAddresses() override { return {}; }
    void setSystemNumber(int) override {}
    void setStaticIp(const QString &, const QString &, const QString &, const QString &, const QString &) override {}
    void setDhcp(const QString &) override {}
    void setMac(const QString &) override {}
    void reboot() override {}
    void setDateTime(const QString &) override {}
    QByteArray listenStatus(const QString &) override { return {}; }

    std::atomic<int> pushes{ 0 };
};

/// The link of a controller, with its file transfers, on sockets of its own.
struct Controller
{
    Controller()
        : files({ path("room.pobj"), path("source.src"), path("ui.dtp"), path("web.zip"), path("ir%1.ir") },
                [](const TransferTarget &) {})
        , service(files, kTimes, kTickMs)
        , network(nobody.hooks())
    {
        network.setFileTransfers(&service);
        LinkOptions options;
        options.bindAddress = kHere;
        options.port = 0;
        options.discovery = false;
        options.ioThreads = 1;
        isServing = !network.start(options);
    }

    QString path(const char *name) const { return directory.filePath(QLatin1String(name)); }

    QByteArray stored(const char *name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }

    void store(const char *name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    QTemporaryDir directory;
    Nobody nobody;
    TransferFiles files;
    TransferService service;
    NetworkManager network;
    bool isServing = false;
};

/// Between a tool and a controller: hands the bytes on through a wire that spoils them, both ways.
class SpoilingProxy : public QObject
{
public:
    SpoilingProxy(quint16 controllersPort, const TransferWire &there, const TransferWire &back)
        : m_there(there)
        , m_back(back)
    {
        m_clock.start();
        QVERIFY(m_server.listen(kHere));
        connect(&m_server, &QTcpServer::newConnection, this, [this, controllersPort] {
            m_tool = m_server.nextPendingConnection();
            m_controller.connectToHost(kHere, controllersPort);
            connect(m_tool, &QTcpSocket::disconnected, this, &SpoilingProxy::cut);
            m_timer.start(1);
        });
        connect(&m_controller, &QTcpSocket::disconnected, this, &SpoilingProxy::cut);
        connect(&m_timer, &QTimer::timeout, this, &SpoilingProxy::handOn);
    }

    quint16 port() const { return m_server.serverPort(); }

private:
    void handOn()
    {
        const qint64 nowMs = m_clock.elapsed();
        m_there.send(m_tool->readAll(), nowMs);
        m_back.send(m_controller.readAll(), nowMs);
        m_controller.write(m_there.arrived(nowMs));
        m_tool->write(m_back.arrived(nowMs));
        if (m_there.isCut() || m_back.isCut()) {
            m_controller.flush();
            cut();
        }
    }

    void cut()
    {
        if (m_timer.isActive()) {
            m_timer.stop();
            m_controller.abort();
            m_tool->abort();
        }
    }

    QTcpServer m_server;
    QTcpSocket m_controller;
    QTcpSocket *m_tool = nullptr; // the server's
    TransferWire m_there;
    TransferWire m_back;
    QElapsedTimer m_clock;
    QTimer m_timer;
};

/// A tool that sends or fetches one file.
template <class Client>
class Tool : public QObject
{
public:
    template <class... Arguments>
    Tool(quint16 port, Arguments &&...arguments)
        : m_client(std::forward<Arguments>(arguments)..., kTimes)
    {
        m_clock.start();
        const auto exchange = [this](auto work) {
            QByteArray out;
            work(out);
            m_socket.write(out);
            if (m_client.state() == State::Done || m_client.state() == State::Failed) {
                m_isOver = true;
                m_socket.disconnectFromHost();
            }
        };
        connect(&m_socket, &QTcpSocket::connected, this, [this, exchange] {
            exchange([this](QByteArray &out) { m_client.begin(m_clock.elapsed(), out); });
            m_timer.start(kTickMs);
        });
        connect(&m_socket, &QTcpSocket::readyRead, this, [this, exchange] {
            for (const Frame &frame : m_parser.feed(m_socket.readAll())) {
                if (frame.checksumOk && !m_isOver) {
                    exchange([&](QByteArray &out) { m_client.take(frame.code, frame.body, m_clock.elapsed(), out); });
                }
            }
        });
        connect(&m_timer, &QTimer::timeout, this, [this, exchange] {
            if (!m_isOver) {
                exchange([this](QByteArray &out) { m_client.tick(m_clock.elapsed(), out); });
            }
        });
        connect(&m_socket, &QTcpSocket::disconnected, this, [this] { m_isOver = true; });
        m_socket.connectToHost(kHere, port);
    }

    bool isOver() const { return m_isOver; }
    bool isDone() const { return m_client.state() == State::Done; }

private:
    using State = typename Client::State;
    QTcpSocket m_socket;
    FrameParser m_parser;
    QElapsedTimer m_clock;
    QTimer m_timer;
    Client m_client;
    bool m_isOver = false;
};

QByteArray content(std::mt19937 &random, int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random()); });
    return bytes;
}

TransferWire::Faults faultsOf(unsigned kind)
{
    constexpr qint64 maxDelayMs = 200;
    switch (kind % 6) {
    case 0:
        return { 1, 0, 0, 0, maxDelayMs };
    case 1:
        return { 0, 2, 0, 0, maxDelayMs };
    case 2:
        return { 0, 0, 2, 0, maxDelayMs };
    case 3:
        return { 0, 0, 0, 2, maxDelayMs };
    case 4:
        return { 0, 1, 2, 3, maxDelayMs };
    default:
        return {};
    }
}

/// One transfer through a proxy that spoils it in ways that the number decides.
struct TroubledRun
{
    explicit TroubledRun(unsigned number)
        : random(number)
        , before(content(random, 3000))
        , after(content(random, 1 + static_cast<int>(random() % 200000)))
        , proxy(controller.network.port(), TransferWire(random, faultsOf(number), after.size()),
                TransferWire(random, faultsOf(number / 6), after.size() / 140))
    {
        controller.store("room.pobj", before);
        QVERIFY(file.open(QIODevice::ReadOnly));
        tool = std::make_unique<Tool<UploadClient>>(
            proxy.port(), file,
            TransferFrames::UploadRequest{ 0, static_cast<quint32>(after.size()), QStringLiteral("a.pobj") });
    }

    std::mt19937 random;
    QByteArray before;
    QByteArray after;
    Controller controller;
    SpoilingProxy proxy;
    QBuffer file{ &after };
    std::unique_ptr<Tool<UploadClient>> tool;
};
} // namespace

/// File transfers over the real link: sockets, threads and disk.
class TransferLinkTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.info=false")); }
    void onlyTheTransferIsHeard();
    void floodIsBounded();
    void troubledUploadsLeaveOldOrNew();
};

void TransferLinkTest::onlyTheTransferIsHeard()
{
    const QByteArray push = messageFrameBytes(0x2A, 1, "10001:5:0");
    const QByteArray heartbeatAnswer = frameBytes(0x16, {});
    Controller controller;
    QVERIFY(controller.isServing);
    QTcpSocket tool;
    QByteArray heard;
    connect(&tool, &QTcpSocket::readyRead, &tool, [&] { heard += tool.readAll(); });
    tool.connectToHost(kHere, controller.network.port());
    tool.write(frameBytes(0x22, QByteArray::fromHex("00 00000001") + "a.src"));
    QTRY_VERIFY(heard.contains(frameBytes(0x25, {})));
    tool.write(push + frameBytes(0x15, {}) + frameBytes(0x23, QByteArray(4, '\0') + "x") + frameBytes(0x24, {}));
    const QByteArray digest = QCryptographicHash::hash("x", QCryptographicHash::Md4);
    QTRY_VERIFY(heard.contains(frameBytes(0x25, digest)));
    QVERIFY(!heard.contains(heartbeatAnswer));
    QCOMPARE(controller.nobody.pushes.load(), 0);
    tool.write(frameBytes(0x26, digest));
    QTRY_VERIFY(heard.contains(frameBytes(0x27, {})));
    QCOMPARE(controller.stored("source.src"), QByteArray("x"));
    tool.write(push + frameBytes(0x15, {}));
    QTRY_VERIFY(heard.contains(heartbeatAnswer));
    QCOMPARE(controller.nobody.pushes.load(), 1);
}

/// A peer that sends without waiting for anything fills neither memory nor disk.
void TransferLinkTest::floodIsBounded()
{
    Controller controller;
    QTcpSocket tool;
    tool.connectToHost(kHere, controller.network.port());
    QVERIFY(tool.waitForConnected());
    const QByteArray chunk = frameBytes(0x23, QByteArray(4, '\0') + QByteArray(500000, 'x'));
    tool.write(frameBytes(0x22, QByteArray::fromHex("00 00100000") + "a.src"));
    for (int count = 0; count < 100; ++count) { // always the first half: every one is a step back
        tool.write(chunk);
        QVERIFY(tool.waitForBytesWritten());
    }
    QTRY_VERIFY(QFileInfo(controller.path("source.src.upload")).size() <= 500000);
    tool.abort();
    QTRY_VERIFY(!QFile::exists(controller.path("source.src.upload")));
    QCOMPARE(controller.stored("source.src"), QByteArray("nothing"));
}

void TransferLinkTest::troubledUploadsLeaveOldOrNew()
{
    constexpr unsigned kRuns = 300;
    constexpr unsigned kAtOnce = 25;
    int arrived = 0;
    for (unsigned first = 0; first < kRuns; first += kAtOnce) {
        std::vector<std::unique_ptr<TroubledRun>> runs;
        for (unsigned number = first; number < first + kAtOnce; ++number) {
            runs.push_back(std::make_unique<TroubledRun>(number));
        }
        for (const std::unique_ptr<TroubledRun> &run : runs) {
            QTRY_VERIFY_WITH_TIMEOUT(run->tool->isOver(), 30000);
            QTRY_VERIFY(!QFile::exists(run->controller.path("room.pobj.upload")));
            const QByteArray stored = run->controller.stored("room.pobj");
            QVERIFY2(stored == run->before || stored == run->after, qPrintable(QString::number(first)));
            QVERIFY2(stored == run->after || !run->tool->isDone(), qPrintable(QString::number(first)));
            arrived += run->tool->isDone() ? 1 : 0;
        }
    }
    QVERIFY2(arrived >= 60, qPrintable(QString::number(arrived))); // 189 where little else runs: a cut is final
}

QTEST_GUILESS_MAIN(TransferLinkTest)
#include "TransferLinkTest.moc"
