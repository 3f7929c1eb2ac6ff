#include "base/Frame.h"
#include "support/Table.h"
#include "support/TestClass.h"

namespace {
const QByteArray kBeat = QByteArray::fromHex("5651 00000001 15 15 ac");
const QByteArray kPush = QByteArray::fromHex("5651 0000000e 2a 00000007 31303030313a353a30 fc ac"); // id 7, "10001:5:0"

/// What came out, in a form that a table can hold: code and body in hex, with "!" behind a wrong checksum.
QStringList shown(const std::vector<Frame> &frames)
{
    QStringList texts;
    for (const Frame &frame : frames) {
        const QByteArray text = QByteArray(1, static_cast<char>(frame.code)).toHex() + ' ' + frame.body.toHex() +
                                (frame.checksumOk ? "" : "!");
        texts << QString::fromLatin1(text.trimmed());
    }
    return texts;
}
} // namespace

class FrameParserTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cutsStream_data();
    void cutsStream();
    void refusesByItsLimit();
    void announcedLengthTakesNoMemory();
    void buildsWhatItReads();
};

void FrameParserTest::cutsStream_data()
{
    const Table<QByteArray, QStringList> row("stream", "frames");
    const QString beat = QStringLiteral("15");
    const QString push = QStringLiteral("2a 0000000731303030313a353a30");
    row("one", kBeat, { beat });
    row("with a body, then another", kPush + kBeat, { push, beat });
    row("noise before the magic", "xV?" + kBeat, { beat });
    row("second V starts a frame", "V" + kBeat, { beat });
    row("stray magic before a frame", "VQ" + kBeat, { beat });
    row("stray magic and a V", "VQV" + kBeat, { beat });
    row("length 0, the next survives", QByteArray::fromHex("5651 00000000") + kBeat, { beat });
    row("giant length, the next survives", QByteArray::fromHex("5651 ffffffff") + kBeat, { beat });
    row("one byte more than allowed", QByteArray::fromHex("5651 00100001") + kBeat, { beat });
    row("wrong end mark, the next survives", QByteArray::fromHex("5651 00000001 15 15 00") + kBeat, { beat });
    row("end mark missing, the next survives", QByteArray::fromHex("5651 00000001 15 15") + kBeat, { beat });
    row("wrong checksum is marked", QByteArray::fromHex("5651 00000002 15 01 15 ac") + kBeat, { "15 01!", beat });
    row("checksum wraps", QByteArray::fromHex("5651 00000003 ff ff 03 01 ac"), { "ff ff03" });
    row("magic inside a body", QByteArray::fromHex("5651 00000004 1e 565156 1b ac"), { "1e 565156" });
    row("cut off", kPush.chopped(1), {});
}

void FrameParserTest::cutsStream()
{
    QFETCH(QByteArray, stream);
    QFETCH(QStringList, frames);
    for (int piece = 1; piece <= stream.size(); ++piece) { // the network may split anywhere
        FrameParser parser;
        std::vector<Frame> found;
        for (int start = 0; start < stream.size(); start += piece) {
            const std::vector<Frame> more = parser.feed(stream.mid(start, piece));
            found.insert(found.end(), more.begin(), more.end());
        }
        QCOMPARE(shown(found), frames);
    }
}

void FrameParserTest::refusesByItsLimit()
{
    const QByteArray longest = frameBytes(0x12, QByteArray(kMaxDatagramPayload - 1, 'x'));
    QCOMPARE(longest.size(), 100);
    const QByteArray tooLong = frameBytes(0x12, QByteArray(kMaxDatagramPayload, 'x'));
    QCOMPARE(FrameParser(kMaxDatagramPayload).feed(longest).size(), size_t(1));
    QCOMPARE(shown(FrameParser(kMaxDatagramPayload).feed(tooLong + kBeat)), QStringList{ QStringLiteral("15") });
    QCOMPARE(FrameParser().feed(frameBytes(0x12, QByteArray(kMaxStreamPayload - 1, 'x'))).size(), size_t(1));
}

void FrameParserTest::announcedLengthTakesNoMemory()
{
    // 2,000 peers that announce a megabyte each and send nothing would hold 2 GB if it were set aside.
    const auto pagesOfProcess = [] {
        QFile statm(QStringLiteral("/proc/self/statm"));
        return statm.open(QIODevice::ReadOnly) ? statm.readAll().split(' ').first().toLongLong() : -1;
    };
    const qint64 pagesBefore = pagesOfProcess();
    QVERIFY(pagesBefore > 0);
    std::vector<FrameParser> parsers(2000);
    for (FrameParser &parser : parsers) {
        QVERIFY(parser.feed(QByteArray::fromHex("5651 00100000 1e")).empty());
    }
    QVERIFY2((pagesOfProcess() - pagesBefore) * 4096 < 500 * 1024 * 1024, "set aside for bytes that never came");
}

void FrameParserTest::buildsWhatItReads()
{
    QCOMPARE(frameBytes(0x15, QByteArray()), kBeat);
    QCOMPARE(messageFrameBytes(0x2A, 7, QByteArrayLiteral("10001:5:0")), kPush);
    QCOMPARE(messageIdOf(QByteArray::fromHex("fffffffe00")), std::optional<quint32>(0xFFFFFFFEU));
    QCOMPARE(messageIdOf(QByteArray::fromHex("ffffff")), std::optional<quint32>());
}

TEST_CLASS(FrameParserTest)
#include "FrameParserTest.moc"
