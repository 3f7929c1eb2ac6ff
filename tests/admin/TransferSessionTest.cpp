#include "admin/TransferSession.h"
#include "TransferWire.h"
#include "devices/MonitorLines.h"
#include "net/client/ToolTransfers.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>

namespace {
constexpr qint64 kTickMs = 200;
const QByteArray kGoAhead = QByteArray::fromHex("5651 00000001 25 25 AC");
const QByteArray kEndOfBlock = QByteArray::fromHex("5651 00000001 24 24 AC");
const QByteArray kComplete = QByteArray::fromHex("5651 00000001 27 27 AC");
const QByteArray kRefused = QByteArray::fromHex("5651 00000001 29 29 AC");

QByteArray md4(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md4);
}

/// Different in every block, so that a block in the wrong place is seen.
QByteArray content(int size, quint32 seed = 1)
{
    std::mt19937 random(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random()); });
    return bytes;
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}

Frame frame(quint8 code, const QByteArray &body = {}, bool checksumOk = true)
{
    return { code, body, checksumOk };
}

Frame uploadRequest(quint32 size, const QByteArray &name, char parameter = 0)
{
    return frame(0x22, parameter + bigEndian(size) + name);
}

Frame chunk(quint32 offset, const QByteArray &data, bool checksumOk = true)
{
    return frame(0x23, bigEndian(offset) + data, checksumOk);
}
} // namespace

Q_DECLARE_METATYPE(std::vector<std::vector<Frame>>)

/// The controller's side by hand: each test is the tool.
class TransferSessionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.info=false")); }
    void init();
    void uploadOfAShortLastBlock();
    void uploadTakesTheFilesPlaceOnlyWhenRight_data();
    void uploadTakesTheFilesPlaceOnlyWhenRight();
    void refusedUploads_data();
    void refusedUploads();
    void namesChooseThePlace_data();
    void namesChooseThePlace();
    void silentToolIsGivenUp();
    void completeIsToldThreeTimes();
    void oneUploadOfAFileAtATime();
    void noRoomOnTheDisk();
    void downloadOfTwoBlocks();
    void downloadRepeatsABlock();
    void downloadGivesUp_data();
    void downloadGivesUp();
    void missingDownloadIsRefusedThreeTimes();
    void troubledUploads();
    void troubledDownloads();

private:
    QByteArray take(const Frame &one);
    QByteArray pass(qint64 ms);
    QByteArray stored(const QString &name) const { return contentOf(m_directory->filePath(name)); }
    void store(const QString &name, const QByteArray &bytes) const
    {
        QVERIFY(writeFile(m_directory->filePath(name), bytes));
    }
    TransferPaths paths() const;

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<TransferFiles> m_files;
    std::unique_ptr<TransferSession> m_session;
    QStringList m_arrived;
    qint64 m_nowMs = 0;
};

void TransferSessionTest::init()
{
    m_session.reset();
    m_directory = std::make_unique<QTemporaryDir>();
    m_arrived.clear();
    m_files = std::make_unique<TransferFiles>(paths(), [this](const TransferTarget &target) {
        m_arrived << target.path.mid(m_directory->path().size() + 1);
    });
    m_session = std::make_unique<TransferSession>(*m_files);
    m_nowMs = 1000;
}

TransferPaths TransferSessionTest::paths() const
{
    return { m_directory->filePath(QStringLiteral("room.pobj")), m_directory->filePath(QStringLiteral("source.src")),
             m_directory->filePath(QStringLiteral("ui.dtp")), m_directory->filePath(QStringLiteral("web.zip")),
             m_directory->filePath(QStringLiteral("ir%1.ir")) };
}

QByteArray TransferSessionTest::take(const Frame &one)
{
    QByteArray out;
    m_session->take(one, m_nowMs, out);
    return out;
}

QByteArray TransferSessionTest::pass(qint64 ms)
{
    QByteArray out;
    for (const qint64 endMs = m_nowMs + ms; m_nowMs < endMs;) {
        m_nowMs += kTickMs;
        m_session->tick(m_nowMs, out);
    }
    return out;
}

void TransferSessionTest::uploadOfAShortLastBlock()
{
    const QByteArray bytes = content(4100);
    store(QStringLiteral("room.pobj"), "old");
    QCOMPARE(take(uploadRequest(4100, "new.pobj")).toHex(), kGoAhead.toHex());
    QVERIFY(m_session->isActive());
    QCOMPARE(take(chunk(0, bytes.left(4083))), QByteArray());
    QCOMPARE(take(chunk(4083, bytes.mid(4083, 13), false)), QByteArray()); // the digest vouches for it
    QCOMPARE(take(frame(0x24)), frameBytes(0x25, md4(bytes.left(4096))));
    QCOMPARE(take(frame(0x24, {}, false)), QByteArray()); // damaged
    QCOMPARE(take(chunk(4096, bytes.mid(4096))), QByteArray());
    QCOMPARE(take(frame(0x24)), frameBytes(0x25, md4(bytes)));
    QCOMPARE(stored(QStringLiteral("room.pobj")), QByteArray("old"));
    QCOMPARE(take(frame(0x26, md4(bytes))).toHex(), kComplete.toHex());
    QCOMPARE(stored(QStringLiteral("room.pobj")), bytes);
    QCOMPARE(m_arrived, QStringList{ QStringLiteral("room.pobj") });
    QVERIFY(!m_session->isActive());
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList{ QStringLiteral("room.pobj") });
    QCOMPARE(take(frame(0x26, md4(bytes))).toHex(), kComplete.toHex()); // the tool has not heard it
    QCOMPARE(take(frame(0x26, md4("other"))), QByteArray());
}

void TransferSessionTest::uploadTakesTheFilesPlaceOnlyWhenRight_data()
{
    using Parts = std::vector<std::vector<Frame>>; // what comes before the digest
    const Table<Parts, QByteArray, bool> row("parts", "digest", "isRight");
    const QByteArray a = content(4096, 1);
    const QByteArray b = content(4096, 2);
    const QByteArray wrong = content(4096, 3);
    const auto block = [](quint32 offset, const QByteArray &data, bool checksumOk = true) {
        return std::vector<Frame>{ chunk(offset, data, checksumOk), frame(0x24) };
    };
    row("in order", { block(0, a), block(4096, b) }, md4(a + b), true);
    row("a block again, its digest anew", { block(0, a), block(4096, wrong), block(4096, b) }, md4(b), true);
    row("from the start again", { block(0, wrong), block(4096, b), block(0, a), block(4096, b) }, md4(a + b), true);
    row("a chunk lost, the block again", { block(0, a), { chunk(8000, b.mid(3904)), frame(0x24) }, block(4096, b) },
        md4(b), true);
    row("the first half is missing", { block(4096, b) }, md4(b), false);
    row("a step back with a damaged offset", { block(0, a), block(0, b, false), block(4096, b) }, md4(b), true);
    row("a wrong digest", { block(0, a), block(4096, b) }, md4(a), false);
    row("no digest", { block(0, a), block(4096, b) }, {}, false);
    row("too few bytes", { block(0, a) }, md4(a), false);
    row("no bytes", {}, md4({}), false);
    row("beyond the size", { block(0, a), block(4096, b + "x") }, md4(a + b + "x"), false);
    row("offset beyond the size", { block(0, a), block(0xFFFFFFFF, b), block(4096, b) }, md4(a + b), false);
    row("empty and short chunks", { { frame(0x23), frame(0x23, "123"), chunk(0, {}) }, block(0, a), block(4096, b) },
        md4(a + b), true);
}

void TransferSessionTest::uploadTakesTheFilesPlaceOnlyWhenRight()
{
    QFETCH(std::vector<std::vector<Frame>>, parts);
    QFETCH(QByteArray, digest);
    QFETCH(bool, isRight);
    store(QStringLiteral("room.pobj"), "old");
    take(uploadRequest(8192, "new.pobj"));
    QByteArray answers;
    for (const std::vector<Frame> &part : parts) {
        for (const Frame &one : part) {
            answers += take(one);
        }
    }
    answers += take(frame(0x26, digest));
    QCOMPARE(answers.contains(kComplete), isRight);
    QCOMPARE(stored(QStringLiteral("room.pobj")), isRight ? content(4096, 1) + content(4096, 2) : QByteArray("old"));
    QCOMPARE(m_arrived.size(), isRight ? 1 : 0);
    pass(7000); // one that is not over is given up
    QVERIFY(!m_session->isActive());
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList{ QStringLiteral("room.pobj") });
}

void TransferSessionTest::refusedUploads_data()
{
    const Table<QByteArray, quint32, int, QString> row("name", "size", "parameter", "line");
    row("new.pobj of 0, 0", "new.pobj", 0, 0, "4 new.pobj: File size is 0.");
    row("new.exe of 10, 0", "new.exe", 10, 0, "4 new.exe: Filename is empty.");
    row(" of 10, 0", "", 10, 0, "4 : Filename is empty.");
    row("pobj of 10, 0", "pobj", 10, 0, "4 pobj: Filename is empty.");
    row("dir.pobj/ of 10, 0", "dir.pobj/", 10, 0, "4 dir.pobj/: Filename is empty.");
    row("dir.pobj/passwd of 10, 0", "dir.pobj/passwd", 10, 0, "4 dir.pobj/passwd: Filename is empty.");
    row("code.ir of 10, 0", "code.ir", 10, 0, "4 code.ir: Filename is empty.");
    row("code.ir of 10, 9", "code.ir", 10, 9, "4 code.ir: Filename is empty.");
    row("code.ir of 10, -1", "code.ir", 10, -1, "4 code.ir: Filename is empty.");
    row("ui.dtp of 10, 0", "ui.dtp", 10, 0, "4 ui.dtp: Failed to open file"); // a folder has its name
}

void TransferSessionTest::refusedUploads()
{
    QFETCH(quint32, size);
    QFETCH(QByteArray, name);
    QFETCH(int, parameter);
    MonitorLines monitor;
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("ui.dtp")));
    QCOMPARE(take(uploadRequest(size, name, static_cast<char>(parameter))), QByteArray());
    QVERIFY(!m_session->isActive());
    QTEST(monitor.take().join(QLatin1Char('|')), "line");
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList());
}

void TransferSessionTest::namesChooseThePlace_data()
{
    const Table<QByteArray, int, QString> row("name", "parameter", "place");
    row("a.POBJ", 7, "room.pobj");
    row("../../etc/cron.d/a.src", 0, "source.src");
    row("C:\\rooms\\a.b.dtp", 0, "ui.dtp");
    row("/tmp/site.Zip", 1, "web.zip");
    row("codes.ir", 8, "ir8.ir");
    row("\xFF\xFE.src", 0, "source.src");
}

void TransferSessionTest::namesChooseThePlace()
{
    QFETCH(QByteArray, name);
    QFETCH(int, parameter);
    take(uploadRequest(1, name, static_cast<char>(parameter)));
    take(chunk(0, "x"));
    QCOMPARE(take(frame(0x26, md4("x"))), kComplete);
    QTEST(m_arrived.join(QLatin1Char(' ')), "place");
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), m_arrived);
}

void TransferSessionTest::silentToolIsGivenUp()
{
    take(uploadRequest(8192, "a.src"));
    QCOMPARE(pass(4000).toHex(), (kGoAhead + kGoAhead).toHex());
    QCOMPARE(take(chunk(0, content(4096))), QByteArray());
    QCOMPARE(pass(5800), QByteArray()); // nothing to say again
    QVERIFY(m_session->isActive());
    pass(200);
    QVERIFY(!m_session->isActive());
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList());
    QCOMPARE(take(uploadRequest(1, "a.src")), kGoAhead); // and begins anew
}

void TransferSessionTest::completeIsToldThreeTimes()
{
    take(uploadRequest(1, "a.src"));
    take(chunk(0, "x"));
    QCOMPARE(take(frame(0x26, md4("x"))), kComplete);
    QCOMPARE(pass(200), kComplete);
    QCOMPARE(pass(5000), kComplete);

    take(uploadRequest(1, "a.src"));
    take(chunk(0, "x"));
    QCOMPARE(take(frame(0x26, md4("x"))), kComplete);
    take(uploadRequest(1, "a.src"));
    QCOMPARE(pass(1000), QByteArray()); // else it would be taken for the second one's
}

void TransferSessionTest::oneUploadOfAFileAtATime()
{
    TransferSession other(*m_files);
    const auto takeOther = [&](const Frame &one) {
        QByteArray out;
        other.take(one, m_nowMs, out);
        return out;
    };
    QCOMPARE(take(uploadRequest(4, "a.src")), kGoAhead);
    QCOMPARE(takeOther(uploadRequest(4, "b.src")), QByteArray());
    QCOMPARE(takeOther(uploadRequest(4, "b.dtp")), kGoAhead);
    take(chunk(0, "AAAA"));
    takeOther(chunk(0, "BBBB"));
    QCOMPARE(take(frame(0x26, md4("AAAA"))), kComplete);
    QCOMPARE(takeOther(frame(0x26, md4("BBBB"))), kComplete);
    QCOMPARE(stored(QStringLiteral("source.src")), QByteArray("AAAA"));
    QCOMPARE(stored(QStringLiteral("ui.dtp")), QByteArray("BBBB"));
    QCOMPARE(takeOther(uploadRequest(4, "b.src")), kGoAhead);
}

void TransferSessionTest::noRoomOnTheDisk()
{
    TransferFiles files({ QStringLiteral("/proc/self/x.pobj"), {}, {}, {}, {} }, {}); // has room for nothing
    TransferSession session(files);
    QByteArray out;
    session.take(uploadRequest(0xFFFFFFFF, "a.pobj"), m_nowMs, out);
    QCOMPARE(out, QByteArray());
    QVERIFY(!session.isActive());
}

void TransferSessionTest::downloadOfTwoBlocks()
{
    const QByteArray bytes = content(8192);
    store(QStringLiteral("source.src"), bytes);
    const auto dataFrame = [&](quint32 offset, int count) {
        return frameBytes(0x23, bigEndian(offset) + bytes.mid(static_cast<int>(offset), count));
    };
    QCOMPARE(take(frame(0x28, QByteArray(2, '\0'))).toHex(),
             QByteArray("5651 00000005 22 00002000 42 AC").replace(" ", "").toLower());
    QCOMPARE(take(frame(0x25)), dataFrame(0, 4083) + dataFrame(4083, 13) + kEndOfBlock);
    QCOMPARE(take(frame(0x25)), QByteArray()); // a go-ahead that came twice
    QCOMPARE(take(frame(0x25, md4(bytes.left(4096)))), dataFrame(4096, 4083) + dataFrame(8179, 13) + kEndOfBlock);
    QCOMPARE(take(frame(0x25, md4(bytes))), frameBytes(0x26, md4(bytes)));
    QVERIFY(!m_session->isActive());
    QCOMPARE(pass(10000), frameBytes(0x26, md4(bytes)) + frameBytes(0x26, md4(bytes)));
}

void TransferSessionTest::downloadRepeatsABlock()
{
    const QByteArray bytes = content(5000);
    store(QStringLiteral("ir2.ir"), bytes);
    take(frame(0x28, QByteArray::fromHex("02 02")));
    take(frame(0x25));
    const QByteArray last = take(frame(0x25, md4(bytes.left(4096))));
    QVERIFY(last.endsWith(kEndOfBlock));
    QCOMPARE(take(frame(0x25, md4("wrong"))), last);         // at once
    QCOMPARE(take(frame(0x25, md4("wrong"))), QByteArray()); // one step behind: when it is quiet
    QCOMPARE(take(frame(0x25, md4(bytes.mid(4096)))), QByteArray());
    QCOMPARE(pass(200), last);
    QCOMPARE(pass(2000), last); // no answer
    QCOMPARE(take(frame(0x25, md4(bytes.mid(4096)))), frameBytes(0x26, md4(bytes.mid(4096))));
}

void TransferSessionTest::downloadGivesUp_data()
{
    const Table<bool, int> row("answers", "blocks");
    row("the tool is silent", false, 3); // once, and twice more
    row("never the right digest", true, 31);
}

void TransferSessionTest::downloadGivesUp()
{
    QFETCH(bool, answers);
    store(QStringLiteral("ui.dtp"), content(100));
    take(frame(0x28, QByteArray::fromHex("01 00")));
    QByteArray sent = take(frame(0x25));
    for (int tick = 0; tick < 200 && m_session->isActive(); ++tick) {
        sent += answers && sent.endsWith(kEndOfBlock) ? take(frame(0x25, md4("wrong"))) : QByteArray();
        sent += m_session->isActive() ? pass(kTickMs) : QByteArray();
    }
    QVERIFY(!m_session->isActive());
    QTEST(sent.count(kEndOfBlock), "blocks");
    QCOMPARE(pass(10000), QByteArray());
}

void TransferSessionTest::missingDownloadIsRefusedThreeTimes()
{
    QCOMPARE(take(frame(0x28, QByteArray::fromHex("02 03"))).toHex(), kRefused.toHex());
    QVERIFY(!m_session->isActive());
    QCOMPARE(pass(1800), QByteArray());
    QCOMPARE(pass(200), kRefused);
    QCOMPARE(pass(2000), kRefused);
    QCOMPARE(pass(10000), QByteArray());
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("ui.dtp")));
    for (const char *const wish : { "0100", "0209", "0200", "0700" }) { // a folder, no such number, no such kind
        QCOMPARE(take(frame(0x28, QByteArray::fromHex(wish))), kRefused);
    }
}

namespace {
/// Both ends in virtual time until the tool is done or has given up, and the controller after it.
template <class Tool>
void run(Tool &tool, TransferSession &session, TransferWire &toController, TransferWire &toTool)
{
    using State = typename Tool::State;
    FrameParser controllersParser;
    FrameParser toolsParser;
    QByteArray fromTool;
    tool.begin(0, fromTool);
    const auto isOver = [&] { return tool.state() == State::Done || tool.state() == State::Failed; };
    for (qint64 nowMs = 0; nowMs < 200000 && !(isOver() && !session.isActive()); ++nowMs) {
        toController.send(std::exchange(fromTool, {}), nowMs);
        QByteArray fromController;
        for (const Frame &one : controllersParser.feed(toController.arrived(nowMs))) {
            session.take(one, nowMs, fromController);
        }
        if (nowMs % kTickMs == 0) {
            session.tick(nowMs, fromController);
            tool.tick(nowMs, fromTool);
        }
        toTool.send(fromController, nowMs);
        for (const Frame &one : toolsParser.feed(toTool.arrived(nowMs))) {
            if (one.checksumOk && !isOver()) {
                tool.take(one.code, one.body, nowMs, fromTool);
            }
        }
        if (toController.isCut() || toTool.isCut()) {
            return; // the connection is closed at both ends
        }
    }
    QVERIFY(isOver());
    QVERIFY(!session.isActive());
}

TransferWire::Faults faultsOf(int run)
{
    switch (run % 5) {
    case 0:
        return { 1, 0, 0, 0 };
    case 1:
        return { 0, 2, 0, 0 };
    case 2:
        return { 0, 0, 2, 0 };
    case 3:
        return { 0, 0, 0, 2 };
    default:
        return { 0, 1, 2, 3 };
    }
}
} // namespace

void TransferSessionTest::troubledUploads()
{
    int arrived = 0;
    for (int number = 0; number < 300; ++number) {
        std::mt19937 random(static_cast<unsigned>(number));
        const QByteArray before = content(5000, 77);
        QByteArray after = content(1 + static_cast<int>(random() % 200000), static_cast<quint32>(number));
        if (number % 7 == 0) {
            after.fill('\0'); // all blocks alike: a confirmation of one fits another
        }
        store(QStringLiteral("room.pobj"), before);
        QBuffer file(&after);
        QVERIFY(file.open(QIODevice::ReadOnly));
        UploadClient tool(file, { 0, static_cast<quint32>(after.size()), QStringLiteral("a.pobj") });
        TransferWire there(random, faultsOf(number), after.size() * 101 / 100);
        TransferWire back(random, number % 2 == 0 ? TransferWire::Faults() : faultsOf(number / 10), after.size() / 140);
        m_session = std::make_unique<TransferSession>(*m_files);
        run(tool, *m_session, there, back);
        m_session.reset();
        const bool isNew = stored(QStringLiteral("room.pobj")) == after;
        arrived += isNew ? 1 : 0;
        QVERIFY2(isNew || stored(QStringLiteral("room.pobj")) == before, qPrintable(QString::number(number)));
        QVERIFY2(isNew || tool.state() != UploadClient::State::Done, qPrintable(QString::number(number)));
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("room.pobj.unfinished"))));
    }
    QVERIFY2(arrived > 180, qPrintable(QString::number(arrived))); // most troubles but a cut are got over
}

void TransferSessionTest::troubledDownloads()
{
    int arrived = 0;
    for (int number = 0; number < 300; ++number) {
        std::mt19937 random(static_cast<unsigned>(number));
        const QByteArray bytes = content(static_cast<int>(random() % 100000), static_cast<quint32>(number));
        store(QStringLiteral("source.src"), bytes);
        QByteArray received;
        QBuffer file(&received);
        QVERIFY(file.open(QIODevice::ReadWrite));
        const quint8 window = number % 3 == 0 ? 1 : 64; // a controller that knows no window, too
        DownloadClient tool(file, { 0, 0, window });
        TransferWire there(random, number % 2 == 0 ? TransferWire::Faults() : faultsOf(number / 10),
                           bytes.size() / 140);
        TransferWire back(random, faultsOf(number), bytes.size() * 101 / 100);
        m_session = std::make_unique<TransferSession>(*m_files);
        run(tool, *m_session, there, back);
        const bool isDone = tool.state() == DownloadClient::State::Done;
        arrived += isDone ? 1 : 0;
        QVERIFY2(!isDone || received == bytes, qPrintable(QString::number(number)));
    }
    QVERIFY2(arrived > 180, qPrintable(QString::number(arrived)));
}

TEST_CLASS(TransferSessionTest)
#include "TransferSessionTest.moc"
