#include "LinkFrames.h"
#include "net/controllers/ListenerSession.h"
#include "net/link/LinkCodes.h"
#include "support/Spoken.h"
#include "support/Table.h"
#include "support/TestClass.h"

namespace {
const QByteArray kControllerHandshake = QByteArray::fromHex("56510000000a1f333a3130303a6d3a312fac"); // 3:100:m:1
const QByteArray kAsk1 = QByteArray::fromHex("56510000000a3f000000017379733a310aac");                // id 1, sys:1

QByteArray message(quint32 id, const QByteArray &body)
{
    return messageFrameBytes(LinkCode::kController, id, body);
}

/// Every message in one line, as the tables below write them.
QString shown(const TargetMessage &message)
{
    if (const auto *number = std::get_if<TargetNumber>(&message)) {
        return spoken("number", number->system);
    }
    if (const auto *data = std::get_if<TargetPortData>(&message)) {
        return spoken("data", data->system, data->port, '\'' + data->data + '\'');
    }
    if (const auto *input = std::get_if<TargetInput>(&message)) {
        return spoken(input->isPush ? "push" : "release", input->system, input->channel);
    }
    const auto &status = std::get<TargetPortStatus>(message);
    return spoken("status", status.system, status.port, status.channel, status.status);
}

/// A listener that has just been connected, and what it sends and tells.
struct ListenerEnd
{
    ListenerSession session{ "3:100:m:1", 0 };
    std::vector<TargetMessage> messages;

    QByteArray output()
    {
        OutBuffer &out = session.output();
        const QByteArray bytes(out.data(), out.size());
        out.consume(out.size());
        return bytes;
    }

    QByteArray receive(const QByteArray &bytes, qint64 nowMs = 0)
    {
        session.receive(bytes.constData(), bytes.size(), nowMs, messages);
        return output();
    }

    QStringList told()
    {
        QStringList lines;
        for (const TargetMessage &each : messages) {
            lines << shown(each);
        }
        messages.clear();
        return lines;
    }
};
} // namespace

class ControllerSessionTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsTargets_data();
    void readsTargets();
    void readsListeners_data();
    void readsListeners();
    void writesBodies();
    void introducesItself();
    void asksForTheNumberUntilItIsKnown();
    void tellsOnceWhatCameTwice();
    void silentTargetIsGivenUp();
    void resendsAndForgets();
    void restsWhileNotReading();
    void anythingMayArrive();
};

void ControllerSessionTest::readsTargets_data()
{
    // message: empty: confirmed and ignored
    const Table<QByteArray, QString> row("body", "message");
    row("sys:7", "number 7");
    row("sys:0", "");
    row("sys:-3", "");
    row("sys:", "");
    row("sys:7:", "");
    row("sys:99999999999", "");
    row("string:7:2:on", "data 7 2 'on'");
    row("string:7:2:", "data 7 2 ''");
    row("string:7:2:a:b:", "data 7 2 'a:b:'");
    row("string:7:2", "");
    row("string:0:2:loop", ""); // 0 would be this controller
    row("string:7::x", "");
    row("string: 7:2:x", "");
    row("io:7:0:3", "push 7 3");
    row("io:7:1:3", "release 7 3");
    row("io:7:2:3", "");
    row("io:7:0:3:4", "");
    row("io:7:0", "");
    row("query:5001:18:7:3:1", "status 7 18 3 1");
    row("query:5001:18:7:3:1:2", "");
    row("query:5001:18:7:3", "");
    row("query:x:18:7:3:1", "");
    row("setup:5001:9:7:1:1", "");
    row("", "");
    row("sy", "");
}

void ControllerSessionTest::readsTargets()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    ListenerEnd listener;
    QCOMPARE(listener.receive(::message(7, body)), kAck7);
    QCOMPARE(listener.told(), message.isEmpty() ? QStringList() : QStringList{ message });
}

void ControllerSessionTest::readsListeners_data()
{
    // kind: -1: none
    const Table<QByteArray, int, QByteArray> row("body", "kind", "rest");
    const auto is = [](ListenerRequest request) { return static_cast<int>(request); };
    row("sys:1", is(ListenerRequest::Number), "1");
    row("sys:7", -1, "");
    row("sys:", -1, "");
    row("setup:5001:9:7:1:1", is(ListenerRequest::Setup), "5001:9:7:1:1");
    row("query:5001:18:7:3", is(ListenerRequest::Query), "5001:18:7:3");
    row("command:5001:1:7:SET BAUD 9600,N,8,1", is(ListenerRequest::Command), "5001:1:7:SET BAUD 9600,N,8,1");
    row("string:5001:1:7:a:b", is(ListenerRequest::String), "5001:1:7:a:b");
    row("cancelTo:", is(ListenerRequest::Cancel), "");
    row("cancelTo", -1, "");
    row("io:7:0:3", -1, "");
    row("", -1, "");
}

void ControllerSessionTest::readsListeners()
{
    QFETCH(QByteArray, body);
    const std::optional<ControllerText::Request> request = ControllerText::parseFromListener(body);
    QTEST(request ? static_cast<int>(request->kind) : -1, "kind");
    QTEST(request ? request->rest : QByteArray(""), "rest");
}

void ControllerSessionTest::writesBodies()
{
    using namespace ControllerText;
    const DeviceAddress port{ 5001, 9, 7 };
    QCOMPARE(askNumber(), QByteArray("sys:1"));
    QCOMPARE(number(7), QByteArray("sys:7"));
    QCOMPARE(string(port, "a:b"), QByteArray("string:5001:9:7:a:b"));
    QCOMPARE(command(port, "x"), QByteArray("command:5001:9:7:x"));
    QCOMPARE(setup(port, 2, 1), QByteArray("setup:5001:9:7:2:1"));
    QCOMPARE(query(port, 2), QByteArray("query:5001:9:7:2"));
    QCOMPARE(cancel(), QByteArray("cancelTo:"));
    QCOMPARE(portData(7, 1, QByteArray("a\0b", 3)), QByteArray("string:7:1:a\0b", 14));
    QCOMPARE(input({ 7, true, 3 }), QByteArray("io:7:0:3"));
    QCOMPARE(input({ 7, false, 3 }), QByteArray("io:7:1:3"));
    QCOMPARE(portStatus({ 7, 18, 3, 1 }), QByteArray("query:5001:18:7:3:1"));
}

void ControllerSessionTest::introducesItself()
{
    ListenerEnd listener;
    QCOMPARE(listener.output(), QByteArray()); // the target speaks first
    QCOMPARE(listener.receive(kIdentify), kControllerHandshake);
    QCOMPARE(listener.receive(kIdentify), kControllerHandshake); // whenever it asks
}

void ControllerSessionTest::asksForTheNumberUntilItIsKnown()
{
    ListenerEnd listener;
    QVERIFY(listener.session.tick(200));
    QCOMPARE(listener.output(), QByteArray());
    listener.session.tick(400);
    QCOMPARE(listener.output(), kAsk1);
    listener.receive(QByteArray::fromHex("565100000005210000000122ac")); // confirmed, not answered
    listener.session.tick(600);
    QCOMPARE(listener.output(), message(2, "sys:1"));
    listener.receive(message(1, "sys:7"), 700);
    listener.receive(QByteArray::fromHex("565100000005210000000223ac"));
    QCOMPARE(listener.told(), QStringList{ QStringLiteral("number 7") });
    QCOMPARE(listener.session.systemNumber(), 7);
    listener.session.tick(1000);
    QCOMPARE(listener.output(), kBeat); // and no question
    listener.receive(message(2, "sys:7") + message(3, "sys:8"), 1100);
    QCOMPARE(listener.told(), QStringList{ QStringLiteral("number 8") });
}

void ControllerSessionTest::tellsOnceWhatCameTwice()
{
    ListenerEnd listener;
    const QByteArray data = message(7, "string:7:1:on");
    QCOMPARE(listener.receive(data + data), kAck7 + kAck7);
    QCOMPARE(listener.receive(data, 900), kAck7);
    QCOMPARE(listener.told(), QStringList{ QStringLiteral("data 7 1 'on'") });
}

void ControllerSessionTest::silentTargetIsGivenUp()
{
    // Sent at 1, 3 and 5 s, missed at 2, 4 and 6 s.
    ListenerEnd listener;
    qint64 nowMs = 0;
    int beats = 0;
    while (nowMs < 10000 && listener.session.tick(nowMs += 200)) {
        beats += listener.output().contains(kBeat) ? 1 : 0;
    }
    QCOMPARE(nowMs, qint64(6000));
    QCOMPARE(beats, 3);

    ListenerEnd answered;
    for (nowMs = 200; nowMs < 60000; nowMs += 200) {
        QVERIFY(answered.session.tick(nowMs));
        if (nowMs % 4000 == 0) { // one answer a while is enough
            answered.receive(kBeatAnswer, nowMs);
        }
    }
}

void ControllerSessionTest::resendsAndForgets()
{
    ListenerEnd listener;
    listener.receive(message(1, "sys:7"));
    listener.session.send("cancelTo:", 50);
    const QByteArray cancel = listener.output();
    QCOMPARE(cancel, message(1, "cancelTo:"));
    QVector<qint64> sentAgainAtMs;
    for (qint64 nowMs = 200; nowMs <= 7000; nowMs += 200) {
        listener.session.tick(nowMs);
        if (listener.output().contains(cancel)) {
            sentAgainAtMs << nowMs;
        }
        listener.receive(kBeatAnswer, nowMs);
    }
    QCOMPARE(sentAgainAtMs.mid(0, 4), (QVector<qint64>{ 400, 600, 1000, 1200 })); // every 300 ms, on ticks of 200
    QVERIFY(sentAgainAtMs.last() > 4600 && sentAgainAtMs.last() <= 5050);
    QCOMPARE(listener.session.exchange().pendingMessages(), 0);
    QCOMPARE(listener.session.exchange().pendingBytes(), qint64(0));
}

void ControllerSessionTest::restsWhileNotReading()
{
    ListenerEnd listener;
    listener.session.send("cancelTo:", 0);
    listener.output();
    for (qint64 nowMs = 200; nowMs <= 20000; nowMs += 200) {
        QVERIFY(listener.session.tick(nowMs, false));
        const QByteArray sent = listener.output();
        QVERIFY2(sent.isEmpty() || sent == kBeat, sent.toHex().constData()); // the confirmation may be there, unread
    }
}

void ControllerSessionTest::anythingMayArrive()
{
    quint32 seed = 4711;
    const auto random = [&seed] { return (seed = seed * 1664525 + 1013904223) >> 16; };
    const QByteArrayList words{ "sys:", "string:", "io:", "query:", ":", "0", "7", "-1", "4294967296", "\xff", "x" };
    ListenerEnd listener;
    for (int round = 0; round < 5000; ++round) {
        QByteArray body;
        for (int count = static_cast<int>(random() % 8); count > 0; --count) {
            body += words.at(static_cast<int>(random() % static_cast<quint32>(words.size())));
        }
        listener.receive(random() % 4 ? message(static_cast<quint32>(round + 1), body) : body, round);
    }
    listener.messages.clear();
    listener.receive(QByteArray(kMaxStreamPayload + kFrameOverhead, 'x'), 6000); // the end of what the noise had begun
    listener.receive(message(900001, "io:7:0:3"), 6000);
    QCOMPARE(listener.told(), QStringList{ QStringLiteral("push 7 3") });
}

TEST_CLASS(ControllerSessionTest)
#include "ControllerSessionTest.moc"
