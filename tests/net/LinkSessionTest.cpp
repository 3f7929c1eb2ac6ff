#include "net/link/LinkSession.h"
#include "LinkFrames.h"
#include "support/Spoken.h"
#include "support/Table.h"
#include "support/TestClass.h"

namespace {
const QByteArray kPanelHandshake =
    QByteArray::fromHex("5651000000121f313a31303030313a4c6f6262793a322e3078ac");               // 1:10001:Lobby:2.0
const QByteArray kPush7 = QByteArray::fromHex("56510000000e2a0000000731303030313a353a30fcac"); // id 7, 10001:5:0
const QByteArray kAck1 = QByteArray::fromHex("565100000005210000000122ac");
const QByteArray kGo1 = QByteArray::fromHex("5651000000071e00000001474fb5ac");             // id 1, "GO"
const QByteArray kLevelSecond = QByteArray::fromHex("5651000000091d00000002313a3630f0ac"); // id 2, 1:60

/// A session that has sent its identify request, and what it answers and tells.
struct PanelEnd
{
    LinkSession session{ 0 };
    std::vector<LinkEvent> events;

    PanelEnd() { output(); }

    QByteArray output()
    {
        OutBuffer &out = session.output();
        const QByteArray bytes(out.data(), out.size());
        out.consume(out.size());
        return bytes;
    }

    QByteArray receive(const QByteArray &bytes, qint64 nowMs = 0)
    {
        session.receive(bytes.constData(), bytes.size(), nowMs, events);
        return output();
    }
};

/// Every event in one line, as the tables below write them.
QString shown(const LinkEvent &event)
{
    if (const auto *peer = std::get_if<PeerIntroduced>(&event)) {
        return spoken("peer", peer->type, peer->deviceNumber, peer->name, peer->version, "was", peer->formerNumber);
    }
    if (const auto *button = std::get_if<ButtonReport>(&event)) {
        return spoken(button->isPressed ? "push" : "release", button->device, button->channel, button->level);
    }
    if (const auto *level = std::get_if<LevelReport>(&event)) {
        return spoken("level", level->device, level->channel, level->level, level->value);
    }
    if (const auto *answer = std::get_if<PanelAnswer>(&event)) {
        const PanelQuestion &question = answer->question;
        if (question.kind == PanelQuestion::Kind::Status) {
            return spoken("status", answer->device, question.channel, answer->value);
        }
        if (question.kind == PanelQuestion::Kind::Text) {
            return spoken("text", question.channel, question.state, '\'' + answer->value.toByteArray() + '\'');
        }
        const bool isText = answer->value.type() == QVariant::ByteArray;
        return spoken("property", question.channel, question.state, '\'' + question.page + '\'',
                      question.name + '=' + (isText ? "text" : "number"), answer->value);
    }
    if (const auto *command = std::get_if<TextCommand>(&event)) {
        return spoken("command", command->text);
    }
    if (const auto *message = std::get_if<ControllerMessage>(&event)) {
        return spoken("controller", message->body);
    }
    return std::holds_alternative<InformationRequest>(event) ? QStringLiteral("information?") : QStringLiteral("other");
}
} // namespace

class LinkSessionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsBodies_data();
    void readsBodies();
    void acknowledgesBeforeItTells();
    void strangersMayDoLittle();
    void damagedFramesDoNothing();
    void anythingMayArrive();
    void asksForTheHandshake();
    void silentPeerIsGivenUp();
    void transferSilencesTheRest();
    void resendsAndStops();
    void waitsWithResendsUntilOutputIsGone();
    void messageIdsSkipZero();
};

void LinkSessionTest::readsBodies_data()
{
    // event: empty: none
    const Table<int, QByteArray, QString> row("code", "body", "event");
    row("handshake", 0x1F, "1:10001:Lobby:2.0", "peer 1 10001 Lobby 2.0 was -1");
    row("handshake, colons in the version", 0x1F, "2:100::a:b", "peer 2 100  a:b was -1");
    row("handshake of three fields", 0x1F, "1:10001:Lobby", "");
    row("handshake with a negative number", 0x1F, "1:-5:Lobby:2.0", "");
    row("handshake without a number", 0x1F, "panel:10001:Lobby:2.0", "");
    row("push", 0x2A, "10001:5:0", "push 10001 5 0");
    row("empty fields vanish", 0x2A, ":10001::5:::0:", "push 10001 5 0");
    row("push, level code missing", 0x2A, "10001:5", "");
    row("push, negative channel", 0x2A, "10001:-5:0", "");
    row("push, negative device", 0x2A, "-1:5:0", "");
    row("push, empty", 0x2A, "", "");
    row("push, far too large", 0x2A, "10001:99999999999999999999:0", "push 10001 2147483647 0");
    row("release", 0x2B, "10001:5:0", "release 10001 5 0");
    row("level", 0x2C, "10001:0:3:200", "level 10001 0 3 200");
    row("level below zero", 0x2C, "10001:0:3:-7", "level 10001 0 3 -7");
    row("level, negative code", 0x2C, "10001:0:-3:7", "");
    row("level, value missing", 0x2C, "10001:0:3", "");
    row("status", 0x20, "10001:5:1", "status 10001 5 1");
    row("status below zero", 0x20, "10001:5:-1", "");
    row("text", 0x33, "text:5:1:Go: now", "text 5 1 'Go: now'");
    row("empty text", 0x33, "text:5:1:", "text 5 1 ''");
    row("text without its prefix", 0x33, "5:1:Go", "");
    row("text, no state", 0x33, "text:5:x:Go", "");
    row("text property", 0x37, "property:5:name:a:b", "property 5 0 '' name=text a:b");
    row("number property", 0x37, "property:5:top:12", "property 5 0 '' top=number 12");
    row("number that is none", 0x37, "property:5:top:high", "property 5 0 '' top=number 0");
    row("unknown property", 0x37, "property:5:colour:1", "");
    row("property of a state asked as of a button", 0x37, "property:5:textcolor:1", "");
    row("property, channel not a number", 0x37, "property:five:top:12", "");
    row("property without value part", 0x37, "property:5:top", "");
    row("state property", 0x39, "stateproperty:5:2:textcolor:255", "property 5 2 '' textcolor=number 255");
    row("state text", 0x39, "stateproperty:5:2:text:Go", "property 5 2 '' text=text Go");
    row("page property", 0x3D, "pageproperty:Main:desc:x", "property 0 0 'Main' desc=text x");
    row("page property of another table", 0x3D, "pageproperty:Main:enable:1", "");
    row("information", 0x12, "", "information?");
    row("command", 0x18, "reboot", "command reboot");
    row("controller", 0x3F, "sys:1", "controller sys:1");
    row("unknown code", 0x77, "x", "other");
}

void LinkSessionTest::readsBodies()
{
    QFETCH(int, code);
    QFETCH(QByteArray, body);
    QFETCH(QString, event);
    const bool isAcknowledged = (code >= 0x2A && code <= 0x2C) || code == 0x3F;
    PanelEnd peer;
    if (code != LinkCode::kHandshake) {
        peer.receive(kPanelHandshake);
        peer.events.clear();
    }
    const QByteArray id = isAcknowledged ? QByteArray::fromHex("00000007") : QByteArray();
    const QByteArray answer = peer.receive(frameBytes(static_cast<quint8>(code), id + body));
    QCOMPARE(answer, isAcknowledged ? kAck7 : QByteArray()); // also when the body is useless
    QCOMPARE(peer.events.empty() ? QString() : shown(peer.events.front()), event);
}

void LinkSessionTest::acknowledgesBeforeItTells()
{
    PanelEnd peer;
    QCOMPARE(peer.receive(kPanelHandshake + kPush7 + kBeat), kAck7 + kBeatAnswer);
    QCOMPARE(peer.events.size(), size_t(2));
    QCOMPARE(peer.receive(kPush7, 999), kAck7); // again: confirmed again, told once
    QCOMPARE(peer.events.size(), size_t(2));
    const QByteArray push8 = messageFrameBytes(0x2A, 8, "10001:5:0");
    peer.receive(push8, 1001);
    peer.receive(kPush7, 1002); // after a second with other traffic in between it is another push
    QCOMPARE(peer.events.size(), size_t(4));
    QCOMPARE(peer.session.deviceNumber(), 10001);
    peer.receive(frameBytes(0x1F, "1:10002:Lobby:2.0"));
    QCOMPARE(shown(peer.events.back()), QStringLiteral("peer 1 10002 Lobby 2.0 was 10001"));
}

void LinkSessionTest::strangersMayDoLittle()
{
    PanelEnd stranger;
    QCOMPARE(stranger.receive(kPush7 + messageFrameBytes(0x3F, 8, "sys:1") + frameBytes(0x33, "text:5:1:Go")),
             QByteArray());
    stranger.receive(kPush7); // again, as it was not confirmed
    QVERIFY(stranger.events.empty());
    QCOMPARE(stranger.receive(kBeat + frameBytes(0x18, "datetime?") + frameBytes(0x12, QByteArray())), kBeatAnswer);
    QCOMPARE(stranger.events.size(), size_t(2));
    const QByteArray large = frameBytes(0x77, QByteArray(9000, 'x'));
    stranger.events.clear();
    stranger.receive(large + large);
    QVERIFY(stranger.events.empty());
    // In one piece. What it said too early comes now, in its order, and once; an answer to nobody's question does not.
    QCOMPARE(stranger.receive(kPanelHandshake + large + kPush7),
             kAck7 + frameBytes(0x21, QByteArray::fromHex("00000008")) + kAck7);
    QStringList told;
    for (const LinkEvent &event : stranger.events) {
        told << shown(event).section(QLatin1Char(' '), 0, 0);
    }
    QCOMPARE(told.join(QLatin1Char(' ')), QStringLiteral("peer push controller other"));
}

void LinkSessionTest::damagedFramesDoNothing()
{
    QByteArray wrongSum = kPush7;
    wrongSum[wrongSum.size() - 2] = 0;
    const QByteArray shortId = frameBytes(0x2A, QByteArray::fromHex("000000"));
    const QByteArray giant = QByteArray::fromHex("5651 7fffffff");
    PanelEnd peer;
    peer.receive(kPanelHandshake);
    peer.events.clear();
    QCOMPARE(peer.receive("noise VQ" + wrongSum + shortId + giant), QByteArray());
    QVERIFY(peer.events.empty());
    QCOMPARE(peer.receive(kPush7), kAck7); // and the stream is still in step
    QCOMPARE(peer.events.size(), size_t(1));
}

void LinkSessionTest::anythingMayArrive()
{
    // Half of the bytes come from frames, so that more than the parser's hunt is reached.
    quint32 seed = 12345;
    const auto random = [&seed] { return (seed = seed * 1664525 + 1013904223) >> 16; };
    PanelEnd peer;
    peer.receive(kPanelHandshake);
    for (int round = 0; round < 3000; ++round) {
        QByteArray bytes;
        const int count = static_cast<int>(random() % 40);
        for (int index = 0; index < count; ++index) {
            bytes += static_cast<char>(random() % 4 == 0 ? ':' : random());
        }
        peer.receive(random() % 2 ? bytes : frameBytes(static_cast<quint8>(0x10 + random() % 0x35), bytes), round);
    }
    peer.receive(QByteArray(kMaxStreamPayload + kFrameOverhead, 'x')); // the end of whatever the noise had begun
    peer.events.clear();
    peer.receive(messageFrameBytes(0x2A, 0x12345678, "10001:5:0"));
    QCOMPARE(peer.events.size(), size_t(1));
}

void LinkSessionTest::asksForTheHandshake()
{
    LinkSession fresh(0);
    QCOMPARE(QByteArray(fresh.output().data(), fresh.output().size()), kIdentify);
    PanelEnd peer;
    QByteArray sent;
    for (qint64 now = 200; now <= 2000; now += 200) {
        peer.session.tick(now);
        sent += peer.output();
    }
    QCOMPARE(sent, kIdentify + kIdentify); // after 1 s and 2 s
    peer.receive(kPanelHandshake, 2100);
    peer.session.tick(3000);
    QCOMPARE(peer.output(), QByteArray());
}

void LinkSessionTest::silentPeerIsGivenUp()
{
    PanelEnd peer;
    peer.receive(kPanelHandshake);
    QVERIFY(peer.session.tick(1000));
    peer.receive(kBeat, 1500);
    for (qint64 now = 2000; now <= 11'000; now += 1000) {
        QVERIFY(peer.session.tick(now)); // ten misses are still forgiven
    }
    QVERIFY(!peer.session.tick(12'000));

    PanelEnd frozen; // the process itself had stopped for an hour: the peer is not to blame
    QVERIFY(frozen.session.tick(3'600'000));
    QVERIFY(frozen.session.tick(3'600'200));
}

void LinkSessionTest::transferSilencesTheRest()
{
    const QByteArray damagedChunk = QByteArray::fromHex("5651 00000006 23 00000000 41 00 AC");
    PanelEnd peer;
    QCOMPARE(peer.receive(kPanelHandshake + damagedChunk), QByteArray());
    peer.session.setTransferring(true);
    peer.events.clear();
    QCOMPARE(peer.receive(kPanelHandshake + kBeat + damagedChunk), QByteArray());
    QCOMPARE(peer.events.size(), size_t(1));
    QVERIFY(!std::get<OtherFrame>(peer.events.front()).frame.checksumOk);
    for (qint64 now = 1000; now <= 60'000; now += 1000) {
        QVERIFY(peer.session.tick(now)); // no heartbeat is expected
    }
    peer.session.setTransferring(false);
    QVERIFY(!peer.receive(kBeat, 60'500).isEmpty());
}

void LinkSessionTest::resendsAndStops()
{
    PanelEnd peer;
    peer.session.sendMessage(0x1E, "GO", 0);
    QCOMPARE(peer.output(), kGo1);
    peer.session.tick(200);
    QCOMPARE(peer.output(), QByteArray());
    peer.session.tick(400);
    QCOMPARE(peer.output(), kGo1);
    peer.receive(kAck1, 500);
    peer.session.tick(600);
    QCOMPARE(peer.output(), QByteArray());

    PanelEnd slider;
    slider.session.sendLevel(1, 50, 0);
    slider.session.sendLevel(1, 60, 10);
    slider.output();
    slider.session.tick(400);
    QCOMPARE(slider.output(), kLevelSecond);
    QCOMPARE(slider.session.pendingMessages(), 1);
    slider.receive(QByteArray::fromHex("56510000000421000002 23ac")); // three bytes of an id confirm nothing
    QCOMPARE(slider.session.pendingMessages(), 1);
}

void LinkSessionTest::waitsWithResendsUntilOutputIsGone()
{
    PanelEnd peer;
    peer.session.sendMessage(0x1E, "GO", 0); // the socket takes nothing
    for (qint64 now = 200; now <= 4800; now += 200) {
        peer.session.tick(now);
    }
    const QByteArray waiting = peer.output();
    QCOMPARE(waiting.count(kGo1), 1);
}

void LinkSessionTest::messageIdsSkipZero()
{
    LinkSession session(0, 0xFFFFFFFE);
    session.output().clear();
    session.sendMessage(0x1E, "GO", 0);
    session.sendMessage(0x1E, "GO", 0);
    const QByteArray sent(session.output().data(), session.output().size());
    QCOMPARE(sent.mid(7, 4).toHex(), QByteArray("ffffffff"));
    QCOMPARE(sent.right(sent.size() / 2), kGo1); // id 1
}

TEST_CLASS(LinkSessionTest)
#include "LinkSessionTest.moc"
