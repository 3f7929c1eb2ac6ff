#include "admin/TransferService.h"
#include "net/link/NetworkManager.h"
#include "support/Files.h"
#include "support/TestClass.h"
#include <QCryptographicHash>
#include <QLoggingCategory>
#include <QTcpSocket>
#include <QTemporaryDir>

namespace {
constexpr TransferTimes kTimes{ 150, 15, 15 };
constexpr int kLinkTickMs = 5;
const QHostAddress kHere(QStringLiteral("127.0.0.1"));

/// A rest of the system that has nothing to say.
class Nobody : public PanelEvents, public PanelReplies, public PanelPresence, public LinkServices
{
public:
    LinkHooks hooks() { return { *this, *this, *this, *this }; }

    void buttonPressed(quint16, int, UntilHandled) override { ++pushes; }
    void buttonReleased(quint16, int, UntilHandled) override {}
    void levelChanged(quint16, int, int, UntilHandled) override {}
    void panelAnswered(int, const PanelQuestion &, const QVariant &) override {}
    void queryIRCode(int) override {}
    QByteArray buttonStatusSnapshot(int) override { return {}; }
    void peerOnline(int) override {}
    void peerOffline(int) override {}
    QByteArray informationString() override { return {}; }
    QStringList listenAddresses() override { return {}; }
    Problem setSystemNumber(int) override { return {}; }
    void setNetwork(const HostNetwork &, const QString &, Trial, const NetworkDone &) override {}
    Problem setMac(const QString &) override { return {}; }
    void reboot() override {}
    void setDateTime(const QString &) override {}
    QByteArray listenStatus() override { return {}; }
    Problem setListenAddresses(const QStringList &) override { return {}; }

    std::atomic<int> pushes{ 0 };
};

/// The link of a controller, with its file transfers, on sockets of its own.
struct Controller
{
    Controller()
        : files({ path("room.pobj"), path("source.src"), path("ui.dtp"), path("web.zip"), path("ir%1.ir") },
                [](const TransferTarget &) {})
        , service(files, kTimes, kLinkTickMs)
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

    QByteArray stored(const char *name) const { return contentOf(path(name)); }

    QTemporaryDir directory;
    Nobody nobody;
    TransferFiles files;
    TransferService service;
    NetworkManager network;
    bool isServing = false;
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
    void silentToolsAreServedSideBySide();
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
    tool.write(frameBytes(0x1F, "2:100:tool:1"));
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
    QTRY_COMPARE(controller.nobody.pushes.load(), 1); // what is answered at once goes ahead of it
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
    QTRY_VERIFY(QFileInfo(controller.path("source.src.unfinished")).size() <= 500000);
    tool.abort();
    QTRY_VERIFY(!QFile::exists(controller.path("source.src.unfinished")));
    QCOMPARE(controller.stored("source.src"), QByteArray("nothing"));
}

/// Each has its own time and its own file; what one leaves behind does not hold up the other.
void TransferLinkTest::silentToolsAreServedSideBySide()
{
    Controller controller;
    const QByteArray goAhead = frameBytes(0x25, {});
    const char *const names[] = { "a.src", "b.dtp" };
    QTcpSocket tools[2];
    QByteArray heard[2];
    for (int index = 0; index < 2; ++index) {
        connect(&tools[index], &QTcpSocket::readyRead, this, [&, index] { heard[index] += tools[index].readAll(); });
        tools[index].connectToHost(kHere, controller.network.port());
        tools[index].write(frameBytes(0x22, QByteArray::fromHex("00 00000001") + names[index]));
    }
    for (const QByteArray &each : heard) {
        QTRY_VERIFY(each.count(goAhead) >= 2); // said again when the tool is silent
    }
    tools[0].abort();
    QTRY_VERIFY(!QFile::exists(controller.path("source.src.unfinished")));
    heard[1].clear();
    tools[1].write(frameBytes(0x22, QByteArray::fromHex("00 00000001") + names[1])); // it may have been given up
    QTRY_VERIFY(heard[1].contains(goAhead));
    const QByteArray digest = QCryptographicHash::hash("x", QCryptographicHash::Md4);
    tools[1].write(frameBytes(0x23, QByteArray(4, '\0') + "x") + frameBytes(0x26, digest));
    QTRY_VERIFY(heard[1].contains(frameBytes(0x27, {})));
    QCOMPARE(controller.stored("ui.dtp"), QByteArray("x"));
}

TEST_CLASS(TransferLinkTest)
#include "TransferLinkTest.moc"
