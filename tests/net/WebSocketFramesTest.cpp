#include "net/sockets/websocket/WebSocketFrames.h"
#include "net/sockets/websocket/WebSocketHandshake.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QUrl>

/// The bytes of the WebSocket protocol.
class WebSocketFramesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cutsStream_data();
    void cutsStream();
    void refuses_data();
    void refuses();
    void takesNoMemoryForALength();
    void writesFrames();
    void answersRequests_data();
    void answersRequests();
    void requests();
    void recognisesAnswers_data();
    void recognisesAnswers();
};

namespace {
QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

/// What a server's parser makes of a stream in pieces: "opcode:payload" each.
QByteArrayList messagesOf(const QByteArray &stream, int piece, quint16 *violation = nullptr,
                          WebSocketRole role = WebSocketRole::Server)
{
    WebSocketParser parser(role);
    QByteArrayList messages;
    for (int start = 0; start < stream.size(); start += piece) {
        parser.append(stream.mid(start, piece));
        while (const auto message = parser.next()) {
            messages << QByteArray::number(message->opcode) + ':' + message->payload;
        }
    }
    if (violation) {
        *violation = parser.violation();
    }
    return messages;
}
} // namespace

void WebSocketFramesTest::cutsStream_data()
{
    const Table<QByteArray, QByteArrayList> row("stream", "messages");
    const QByteArray hello = hex("8185 37fa213d 7f9f4d5158"); // "Hello", masked
    row("text", hello, { "1:Hello" });
    row("two in one", hello + hello, { "1:Hello", "1:Hello" });
    row("binary, no mask to speak of", hex("8283 00000000 000dff"), { hex("323a000dff") });
    row("empty", hex("8280 01020304"), { "2:" });
    row("16 bits of length", hex("82fe0080 00000000") + QByteArray(128, 'x'), { "2:" + QByteArray(128, 'x') });
    row("64 bits of length", hex("82ff0000000000000001 00000000") + "x", { "2:x" });
    row("fragments with a ping in between",
        hex("0182 00000000") + "He" + hex("8981 00000000") + "p" + hex("0082 00000000") + "ll" + hex("8081 00000000") +
            "o",
        { "9:p", "1:Hello" });
    row("a letter split between fragments", hex("0181 00000000 c3 8081 00000000 a4"), { hex("313ac3a4") });
    row("pong and close", hex("8a80 00000000 8882 00000000 03e8"), { "10:", hex("383a03e8") });
    row("close without a code", hex("8880 00000000"), { "8:" });
}

void WebSocketFramesTest::cutsStream()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArrayList, messages);
    for (int piece = 1; piece <= stream.size(); ++piece) {
        quint16 violation = 0;
        QCOMPARE(messagesOf(stream, piece, &violation), messages);
        QCOMPARE(violation, quint16(0));
    }
}

void WebSocketFramesTest::refuses_data()
{
    const Table<QByteArray, int> row("stream", "code");
    row("not masked", hex("8101") + "x", 1002);
    row("reserved bit", hex("c181 00000000") + "x", 1002);
    row("opcode 3", hex("8381 00000000") + "x", 1002);
    row("opcode 11", hex("8b80 00000000"), 1002);
    row("long ping", hex("89fe007e 00000000") + QByteArray(126, 'x'), 1002);
    row("ping in fragments", hex("0981 00000000") + "x", 1002);
    row("continuation of nothing", hex("8081 00000000") + "x", 1002);
    row("message within a message", hex("0181 00000000") + "x" + hex("8181 00000000") + "y", 1002);
    row("text that is no UTF-8", hex("8181 00000000 ff"), 1007);
    row("half a letter at the end", hex("8181 00000000 c3"), 1007);
    row("too long", hex("82ff0000000000100001 00000000"), 1009);
    row("length above all", hex("82ffffffffffffffffff 00000000"), 1009);
    row("close with half a code", hex("8881 00000000 03"), 1002);
    row("close with a code that none may send", hex("8882 00000000 03ed"), 1002);
    row("close with a broken reason", hex("8883 00000000 03e8ff"), 1007);
}

void WebSocketFramesTest::refuses()
{
    QFETCH(QByteArray, stream);
    QFETCH(int, code);
    for (int piece = 1; piece <= stream.size(); ++piece) {
        quint16 violation = 0;
        QCOMPARE(messagesOf(stream + hex("8181 00000000") + "z", piece, &violation), QByteArrayList());
        QCOMPARE(violation, quint16(code));
    }
}

void WebSocketFramesTest::takesNoMemoryForALength()
{
    const QByteArray fragment = hex("02ff0000000000080000 00000000") + QByteArray(512 * 1024, 'x');
    const QByteArray next = hex("00ff0000000000080000 00000000") + QByteArray(512 * 1024, 'x');
    quint16 violation = 0;
    QCOMPARE(messagesOf(fragment + next + hex("8080 00000000"), 60000, &violation).value(0).size(), 1024 * 1024 + 2);
    QCOMPARE(violation, quint16(0));
    QCOMPARE(messagesOf(fragment + next + hex("8081 00000000"), 60000, &violation), QByteArrayList());
    QCOMPARE(violation, quint16(1009));
}

void WebSocketFramesTest::writesFrames()
{
    QCOMPARE(webSocketFrame(2, "abc", WebSocketRole::Server), hex("8203") + "abc");
    QCOMPARE(webSocketFrame(2, QByteArray(125, 'x'), WebSocketRole::Server).left(3), hex("827d") + "x");
    QCOMPARE(webSocketFrame(2, QByteArray(126, 'x'), WebSocketRole::Server).left(5), hex("827e007e") + "x");
    QCOMPARE(webSocketFrame(2, QByteArray(65536, 'x'), WebSocketRole::Server).left(11),
             hex("827f0000000000010000") + "x");
    QCOMPARE(webSocketCloseFrame(1000, WebSocketRole::Server), hex("880203e8"));
    const QByteArray masked = webSocketFrame(2, "abc", WebSocketRole::Client);
    QCOMPARE(masked.left(2), hex("8283"));
    QCOMPARE(messagesOf(masked, 1), QByteArrayList{ "2:abc" });
    quint16 violation = 0;
    QCOMPARE(messagesOf(masked, 1, &violation, WebSocketRole::Client), QByteArrayList()); // a server must not mask
    QCOMPARE(violation, quint16(1002));
}

void WebSocketFramesTest::answersRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer"); // its beginning
    const QByteArray good =
        "GET /chat?x=1 HTTP/1.1\r\nHost: h\r\nUpgrade: WebSocket\r\nConnection: keep-alive, "
        "Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";
    const auto row = [&good](const char *label, const char *before, const char *after, const char *answer) {
        QTest::newRow(label) << QByteArray(good).replace(before, after) << QByteArray(answer);
    };
    row("good", "", "",
        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nServer: my room\r\n"
        "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n");
    row("header names in another case", "Sec-WebSocket-Key:", "SEC-websocket-KEY : ", "HTTP/1.1 101");
    row("no get", "GET", "POST", "HTTP/1.1 400");
    row("old HTTP", "HTTP/1.1", "HTTP/1.0", "HTTP/1.1 400");
    row("a page is wanted", "Upgrade: WebSocket\r\n", "", "HTTP/1.1 400");
    row("no connection header", "Connection", "Connections", "HTTP/1.1 400");
    row("no key", "dGhlIHNhbXBsZSBub25jZQ==", "", "HTTP/1.1 400");
    row("short key", "dGhlIHNhbXBsZSBub25jZQ==", "dGhl", "HTTP/1.1 400");
    row("another version", ": 13", ": 8", "HTTP/1.1 426");
    row("page of this host", "Host: h\r\n", "Host: room:8000\r\nOrigin: http://ROOM\r\n", "HTTP/1.1 101");
    row("page of this host, IPv6", "Host: h\r\n", "Host: [::1]:80\r\nOrigin: http://[::1]:8080\r\n", "HTTP/1.1 101");
    row("page of another host", "Host: h\r\n", "Host: h\r\nOrigin: http://h.example\r\n", "HTTP/1.1 403");
    row("page of nowhere", "Host: h\r\n", "Host: h\r\nOrigin: null\r\n", "HTTP/1.1 403");
    row("two origins", "Host: h\r\n", "Host: h\r\nOrigin: http://h\r\nOrigin: http://x\r\n", "HTTP/1.1 403");
    row("no host", "Host: h\r\n", "Origin: http://x\r\n", "HTTP/1.1 403");
    row("listed page", "Host: h\r\n", "Host: h\r\nOrigin: https://pages.example:8443\r\n", "HTTP/1.1 101");
    row("listed, at another port", "Host: h\r\n", "Host: h\r\nOrigin: https://pages.example\r\n", "HTTP/1.1 403");
    row("page of a listed host", "Host: h\r\n", "Host: h\r\nOrigin: http://tv:81\r\n", "HTTP/1.1 101");
    row("nonsense", "GET", QByteArray(3000, '\xFF').constData(), "HTTP/1.1 400");
}

void WebSocketFramesTest::answersRequests()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const auto given = WebSocketHandshake::answerTo(
        request,
        { QStringLiteral("my\r\nroom"), { QStringLiteral("https://pages.example:8443"), QStringLiteral("tv") } });
    QCOMPARE(given.bytes.left(answer.size()), answer);
    QCOMPARE(given.isAccepted, answer.startsWith("HTTP/1.1 101"));
}

void WebSocketFramesTest::requests()
{
    const auto request = [](const char *url) {
        return WebSocketHandshake::request(QUrl(QString::fromUtf8(url)), "KEY");
    };
    QCOMPARE(request("ws://h"), QByteArray("GET / HTTP/1.1\r\nHost: h\r\nUpgrade: websocket\r\nConnection: "
                                           "Upgrade\r\nSec-WebSocket-Key: KEY\r\nSec-WebSocket-Version: 13\r\n\r\n"));
    QVERIFY(request("ws://[::1]:81/a b?c=d").startsWith("GET /a%20b?c=d HTTP/1.1\r\nHost: [::1]:81\r\n"));
    QVERIFY(request("ws://u:p@h/").contains("\r\nAuthorization: Basic dTpw\r\n"));
    QCOMPARE(request("ws://h/a\r\nb: c").count("\r\n"), 7); // none from the URL
}

void WebSocketFramesTest::recognisesAnswers_data()
{
    const Table<QByteArray, bool> row("answer", "isGood");
    const QByteArray good = "HTTP/1.1 101 Yes\r\nupgrade: websocket\r\nconnection: upgrade\r\n"
                            "sec-websocket-accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n";
    row("good", good, true);
    row("a page", QByteArray(good).replace("101", "200"), false);
    row("of another key", QByteArray(good).replace("s3p", "S3p"), false);
    row("no upgrade", QByteArray(good).replace("websocket\r", "h2c\r"), false);
    row("nonsense", "\r\n\r\n", false);
}

void WebSocketFramesTest::recognisesAnswers()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, isGood);
    QCOMPARE(WebSocketHandshake::isAccepted(answer, "dGhlIHNhbXBsZSBub25jZQ=="), isGood);
}

TEST_CLASS(WebSocketFramesTest)
#include "WebSocketFramesTest.moc"
