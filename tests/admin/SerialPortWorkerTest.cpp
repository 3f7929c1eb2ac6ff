#include "admin/SerialPortWorker.h"
#include "admin/SettingManager.h"
#include "io/IoLoop.h"
#include "net/client/ToolTransfers.h"
#include "net/link/LinkCodes.h"
#include "support/Files.h"
#include "support/SerialPeer.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QBuffer>
#include <QTemporaryDir>
#include <QThread>

#include <mutex>
#include <numeric>

namespace {
/// The tool's end of a serial line.
class Line : public SerialPeer
{
public:
    std::vector<Frame> frames()
    {
        std::vector<Frame> frames;
        const QByteArray bytes = receive();
        m_parser.feed(bytes.constData(), bytes.size(), frames);
        return frames;
    }

    /// What the next text reply says; empty when none comes.
    QByteArray reply()
    {
        QByteArray text;
        const bool isThere = QTest::qWaitFor([&] {
            for (const Frame &frame : frames()) {
                text = frame.code == LinkCode::kTextReply ? frame.body : text;
            }
            return !text.isEmpty();
        });
        return isThere ? text : QByteArray();
    }

private:
    FrameParser m_parser;
};

QByteArray textFrame(const QByteArray &text)
{
    return frameBytes(LinkCode::kTextCommand, text);
}

} // namespace

/// A tool on the console port, over a pseudo-terminal.
class SerialPortWorkerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void answers_data();
    void answers();
    void ignores_data();
    void ignores();
    void damagedLengthIsForgotten();
    void receivesAFile();
    void cancelsAtTheToolsWish();
    void sendsAFile();

private:
    QStringList told()
    {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }
    void tell(const QString &what)
    {
        const std::lock_guard lock(m_mutex);
        m_told << what;
    }
    void startWorker(const QString &deviceFile);
    /// Runs a transfer to its end.
    template <class Client>
    bool isDone(Client &client)
    {
        QByteArray out;
        client.begin(linkClockMs(), out);
        m_line->send(out);
        const auto exchange = [&] {
            for (const Frame &frame : m_line->frames()) {
                QByteArray next;
                client.take(frame.code, frame.body, linkClockMs(), next);
                m_line->send(next);
            }
            return client.state() == Client::State::Done;
        };
        return QTest::qWaitFor(exchange, 20000);
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<SettingManager> m_settings;
    std::unique_ptr<TransferFiles> m_files;
    std::unique_ptr<Line> m_line;
    std::unique_ptr<QThread> m_thread;
    std::mutex m_mutex;
    QStringList m_told;
};

void SerialPortWorkerTest::init()
{
    m_told.clear();
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(
        writeFile(m_directory->filePath(QStringLiteral("settings.ini")),
                  "[General]\ndhcp=false\nip=10.0.0.2\nmask=255.0.0.0\ngateway=10.0.0.1\ndns=10.0.0.3\nsystemNum=4\n"));
    QVERIFY(writeFile(m_directory->filePath(QStringLiteral("mac")), "08:90:00:01:02:03"));
    m_settings = std::make_unique<SettingManager>(SettingManager::locationIn(m_directory->path()));
    const QString here = m_directory->path() + QLatin1Char('/');
    const TransferPaths paths{ here + QStringLiteral("program.pobj"), here + QStringLiteral("source.src"),
                               here + QStringLiteral("ui.dtp"), here + QStringLiteral("web.zip"),
                               here + QStringLiteral("ir%1.ir") };
    m_files = std::make_unique<TransferFiles>(paths, [this](const TransferTarget &target) {
        tell(QStringLiteral("arrived %1 %2").arg(target.name).arg(target.via == TransferVia::Console));
    });
    m_line = std::make_unique<Line>();
    startWorker(m_line->deviceFile());
}

void SerialPortWorkerTest::cleanup()
{
    m_thread->quit();
    m_thread->wait();
    m_thread.reset();
    m_line.reset();
}

void SerialPortWorkerTest::startWorker(const QString &deviceFile)
{
    SerialPortWorker::Actions actions;
    actions.setNetwork = [this](const Console::SetNetwork &set) {
        tell(QStringList{ set.ip, set.netmask, set.gateway, set.nameServer, QString::number(set.isDhcp) }.join(
            QLatin1Char(' ')));
    };
    actions.setSystemNumber = [this](int number) {
        tell(QStringLiteral("number %1").arg(number));
        return number == 13 ? SerialPortWorker::Problem(QStringLiteral("no room")) : std::nullopt;
    };
    actions.setMac = [this](const QString &mac) {
        tell(QStringLiteral("mac ") + mac);
        return SerialPortWorker::Problem();
    };
    actions.setDateTime = [this](const QString &text) { tell(QStringLiteral("date ") + text); };
    TransferTimes times;
    times.repeatMs = 20;
    auto *worker = new SerialPortWorker(deviceFile, *m_settings, actions, *m_files, times);
    m_thread = std::make_unique<QThread>();
    worker->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::started, worker, &SerialPortWorker::start);
    connect(m_thread.get(), &QThread::finished, worker, &QObject::deleteLater);
    m_thread->start();
}

void SerialPortWorkerTest::answers_data()
{
    const Table<QByteArray, QByteArray, QString> row("text", "reply", "told");
    row("querynetwork", "network:10.0.0.2\n255.0.0.0\n10.0.0.1\n10.0.0.3\n1", "");
    row("querynetwork and more", "network:10.0.0.2\n255.0.0.0\n10.0.0.1\n10.0.0.3\n1", "");
    row("setnetwork10.0.0.9\n255.255.0.0\n10.0.0.8\n10.0.0.7\n0", "setnetwork",
        "10.0.0.9 255.255.0.0 10.0.0.8 10.0.0.7 0");
    row("setnetwork\n\n\n\n1", "setnetwork", "    1");
    row("querysysnum", "sysnum:4", "");
    row("setsysnum12", "setsysnum", "number 12");
    row("setsysnum13", "failed:no room", "number 13");
    row("querymac", "mac:08:90:00:01:02:03", "");
    row("setmac08:90:00:01:02:04", "setmac", "mac 08:90:00:01:02:04");
    row("setdatetime2026-01-31 08:00:00", "setdatetime", "date 2026-01-31 08:00:00");
}

void SerialPortWorkerTest::answers()
{
    QFETCH(QByteArray, text);
    m_line->send(textFrame(text));
    QTEST(m_line->reply(), "reply");
    QFETCH(QString, told);
    QTRY_COMPARE(this->told(), told.isEmpty() ? QStringList() : QStringList(told));
}

void SerialPortWorkerTest::ignores_data()
{
    const Table<QByteArray> row("bytes");
    QByteArray wrongChecksum = textFrame("querymac");
    wrongChecksum[wrongChecksum.size() - 2] = static_cast<char>(wrongChecksum.at(wrongChecksum.size() - 2) + 1);
    row("wrong checksum", wrongChecksum);
    row("capital", textFrame("Querynetwork"));
    row("four fields", textFrame("setnetwork10.0.0.9\n255.255.0.0\n10.0.0.8\n10.0.0.7"));
    row("six fields", textFrame("setnetwork\n\n\n\n\n0"));
    row("no number", textFrame("setsysnum1x"));
    row("number 0", textFrame("setsysnum0"));
    row("number too large", textFrame("setsysnum65536"));
    row("length of a megabyte", QByteArray::fromHex("5651 00100000"));
    row("unknown", textFrame("reboot"));
    row("other code", frameBytes(LinkCode::kPush, "10001:1:0"));
    row("noise", QByteArray(5000, 'V') + QByteArray("\0\xff\xac", 3));
    row("nothing to cancel", frameBytes(LinkCode::kCancelTransfer, QByteArray()));
}

void SerialPortWorkerTest::ignores()
{
    QFETCH(QByteArray, bytes);
    m_line->send(bytes + textFrame("querysysnum"));
    QCOMPARE(m_line->reply(), QByteArray("sysnum:4")); // the first thing that comes
    QCOMPARE(told(), QStringList());
}

void SerialPortWorkerTest::damagedLengthIsForgotten()
{
    QByteArray damaged = textFrame("querysysnum");
    damaged[4] = static_cast<char>(damaged.at(4) ^ 8); // two kilobytes more: a block could be so long
    m_line->send(damaged);
    QByteArray answer;
    while (answer.isEmpty()) { // a tool asks again when it gets no answer
        m_line->send(textFrame("querysysnum"));
        answer = m_line->reply();
    }
    QCOMPARE(answer, QByteArray("sysnum:4"));
}

void SerialPortWorkerTest::receivesAFile()
{
    QByteArray content(100000, 0);
    std::iota(content.begin(), content.end(), 0);
    QBuffer source(&content);
    QVERIFY(source.open(QIODevice::ReadOnly));
    UploadClient client(source, { 0xFF, static_cast<quint32>(content.size()), QStringLiteral("room.pobj") });
    QVERIFY(isDone(client));
    QCOMPARE(contentOf(m_directory->filePath(QStringLiteral("program.pobj"))), content);
    QTRY_COMPARE(told(), QStringList(QStringLiteral("arrived room.pobj 1")));
}

void SerialPortWorkerTest::cancelsAtTheToolsWish()
{
    m_line->send(TransferFrames::uploadRequest({ 0, 9000, QStringLiteral("room.pobj") }) +
                 TransferFrames::chunk(0, "beginning", 9));
    QTRY_COMPARE(QDir(m_directory->path()).entryList({ QStringLiteral("program*") }).size(), 1);
    m_line->send(textFrame("querysysnum")); // not heard while a file is on its way
    m_line->send(frameBytes(LinkCode::kCancelTransfer, QByteArray()) + textFrame("querysysnum"));
    QCOMPARE(m_line->reply(), QByteArray("sysnum:4"));
    QCOMPARE(m_line->frames().size(), 0);
    QCOMPARE(QDir(m_directory->path()).entryList({ QStringLiteral("program*") }), QStringList());
    QCOMPARE(told(), QStringList());
}

void SerialPortWorkerTest::sendsAFile()
{
    const QByteArray content(9000, 'y');
    QVERIFY(writeFile(m_directory->filePath(QStringLiteral("source.src")), content));
    QByteArray fetched;
    QBuffer target(&fetched);
    QVERIFY(target.open(QIODevice::ReadWrite));
    DownloadClient client(target, { 0, 0, 1 });
    QVERIFY(isDone(client));
    QCOMPARE(fetched, content);
}

TEST_CLASS(SerialPortWorkerTest)
#include "SerialPortWorkerTest.moc"
