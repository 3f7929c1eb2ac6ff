#include "web/HttpConversation.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <stdexcept>

/// One client's requests and answers, in order, with the rules of when the connection ends.
class HttpConversationTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void answers_data();
    void answers();
    void manyPipelinedRequestsWaitForRoom();
    void nothingIsServedBehindAFile();
    void continueIsSaidOnce();
    void halfARequestAtTheEnd();
    void readTimeout();
    void stalling();
    void defaultHandler();
};

namespace {
/// Says what was asked: the path tells how.
class EchoHandler : public HttpRequestHandler
{
public:
    void service(const HttpRequest &request, HttpResponse &response) override
    {
        ++served;
        const QByteArray &path = request.path();
        if (path == "/parts") {
            response.write("one", HttpResponse::Part::More);
            response.write("", HttpResponse::Part::More);
            response.write("a second one", HttpResponse::Part::More);
        } else if (path == "/throws") {
            throw std::runtime_error("handler");
        } else if (path == "/empty") {
            response.setStatus(204, "No Content");
        } else if (path == "/bye") {
            response.setHeader("Connection", "Close");
            response.write(path, HttpResponse::Part::Last);
        } else if (path == "/cookie") {
            response.setHeader("X", "a\r\nInjected: b");
            response.addCookie({ "n", "v", "d", "/p", "c", 5, true, true });
            response.addCookie({ "m", "w", {}, {}, {}, {}, false, false });
            response.write(path, HttpResponse::Part::Last);
        } else if (path == "/file") {
            response.setHeader("Content-Length", "5");
            response.writeFile(std::make_shared<Descriptor>(::dup(0)), 0, 5);
        } else {
            response.write(request.body().isEmpty() ? path : request.body(), HttpResponse::Part::Last);
        }
    }
    int served = 0;
};

struct Fixture
{
    HttpSettings settings;
    EchoHandler handler;
    HttpConversation conversation{ settings, handler, 0 };

    void say(const QByteArray &stream, qint64 nowMs = 0)
    {
        conversation.receive(stream.constData(), stream.size(), nowMs);
    }
    QByteArray heard(qint64 nowMs = 0) // takes what is to be sent, as a client does that reads all
    {
        OutBuffer &bytes = conversation.output().bytes();
        QByteArray text(bytes.data(), bytes.size());
        bytes.consume(bytes.size());
        conversation.sent(nowMs);
        return text;
    }
};

const QByteArray kGetA = "GET /a HTTP/1.1\r\n\r\n";
const QByteArray kAnswerA = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n/a";
} // namespace

void HttpConversationTest::answers_data()
{
    const Table<QByteArray, QByteArray, bool> row("stream", "expected", "isOver");
    row("stays open", kGetA, kAnswerA, false);
    row("in order", kGetA + "POST /b HTTP/1.1\r\nContent-Length: 1\r\n\r\nx" + kGetA,
        kAnswerA + "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx" + kAnswerA, false);
    row("close is asked for; what follows is not served", "GET /a HTTP/1.1\r\nConnection: x, Close\r\n\r\n" + kGetA,
        "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\n/a", true);
    row("HTTP/1.0", "GET /a HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" + kGetA,
        "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\n/a", true);
    row("the handler closes", "GET /bye HTTP/1.1\r\n\r\n" + kGetA,
        "HTTP/1.1 200 OK\r\nConnection: Close\r\nContent-Length: 4\r\n\r\n/bye", true);
    row("parts in chunks, the last by the server", "GET /parts HTTP/1.1\r\n\r\n" + kGetA,
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\none\r\nc\r\na second one\r\n0\r\n\r\n" + kAnswerA,
        false);
    row("parts to HTTP/1.0", "GET /parts HTTP/1.0\r\n\r\n",
        "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nonea second one", true);
    row("the head alone", "HEAD /a HTTP/1.1\r\n\r\nHEAD /parts HTTP/1.1\r\n\r\n" + kGetA,
        "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n"
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" +
            kAnswerA,
        false);
    row("no content", "GET /empty HTTP/1.1\r\n\r\n" + kGetA, "HTTP/1.1 204 No Content\r\n\r\n" + kAnswerA, false);
    row("a handler throws", "GET /throws HTTP/1.1\r\n\r\n" + kGetA,
        "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n" + kAnswerA, false);
    row("cookies; nothing begins a line of its own", "GET /cookie HTTP/1.1\r\n\r\n",
        "HTTP/1.1 200 OK\r\nX: a  Injected: b\r\nContent-Length: 7\r\n"
        "Set-Cookie: n=v; Comment=c; Domain=d; Max-Age=5; Path=/p; Secure; HttpOnly; Version=1\r\n"
        "Set-Cookie: m=w; Version=1\r\n\r\n/cookie",
        false);
    row("refused behind a good one", kGetA + "nonsense\r\n" + kGetA,
        kAnswerA + "HTTP/1.1 413 entity too large\r\nConnection: close\r\n\r\n413 Entity too large\r\n", true);
    row("two lengths", "POST / HTTP/1.1\r\nContent-Length: 0\r\nContent-Length: 30\r\n\r\n" + kGetA,
        "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n400 Bad Request\r\n", true);
}

void HttpConversationTest::answers()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, expected);
    QFETCH(bool, isOver);
    for (const int piece : { 1, 5, stream.size() }) {
        Fixture client;
        QByteArray heard;
        for (int start = 0; start < stream.size() && !client.conversation.isOver(); start += piece) {
            client.say(stream.mid(start, piece));
            heard += client.heard();
        }
        QCOMPARE(heard, expected);
        QCOMPARE(client.conversation.isOver(), isOver);
        QCOMPARE(client.conversation.wantsInput(), !isOver);
    }
}

void HttpConversationTest::manyPipelinedRequestsWaitForRoom()
{
    constexpr int kRequests = 5000;
    Fixture client;
    client.say(kGetA.repeated(kRequests));
    QVERIFY(client.handler.served < kRequests); // a client that reads nothing makes no heap of answers
    QVERIFY(!client.conversation.wantsInput());
    QByteArray heard;
    for (QByteArray piece = client.heard(); !piece.isEmpty(); piece = client.heard()) {
        heard += piece;
    }
    QVERIFY(heard == kAnswerA.repeated(kRequests));
    QVERIFY(client.conversation.wantsInput());
}

void HttpConversationTest::nothingIsServedBehindAFile()
{
    Fixture client;
    client.say("GET /file HTTP/1.1\r\n\r\n" + kGetA);
    QCOMPARE(client.heard(), QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n"));
    QCOMPARE(client.handler.served, 1);
    client.conversation.endOfInput(); // the client has asked for all it wants and shuts its side
    QVERIFY(!client.conversation.isOver());
    client.conversation.output().consumeFile(5);
    client.conversation.sent(0);
    QCOMPARE(client.heard(), kAnswerA);
    QVERIFY(client.conversation.isOver());
}

void HttpConversationTest::continueIsSaidOnce()
{
    Fixture client;
    client.say("POST / HTTP/1.1\r\nExpect: 100-Continue\r\nContent-Length: 4\r\n\r\n");
    QCOMPARE(client.heard(), QByteArray("HTTP/1.1 100 Continue\r\n\r\n"));
    client.say("ab");
    QCOMPARE(client.heard(), QByteArray());
    client.say("cd");
    QCOMPARE(client.heard(), QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nabcd"));
    client.say("POST / HTTP/1.1\r\nExpect: 100-Continue\r\nContent-Length: 2\r\n\r\nab"); // did not wait
    QCOMPARE(client.heard(), QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nab"));
}

void HttpConversationTest::halfARequestAtTheEnd()
{
    Fixture client;
    client.say(kGetA + "GET /b HT");
    client.conversation.endOfInput();
    QCOMPARE(client.heard(), kAnswerA);
    QVERIFY(client.conversation.isOver());
}

void HttpConversationTest::readTimeout()
{
    Fixture client; // 10 s
    QVERIFY(!client.conversation.isTimedOut(9999));
    client.say("GET /a HTTP/1.1\r\n", 9000); // the head has one span of time for all of it
    QVERIFY(client.conversation.isTimedOut(10000));
    client.say("\r\n", 9999);
    client.heard(9999);
    QVERIFY(!client.conversation.isTimedOut(19998)); // a new one after an answer
    client.say("POST / HTTP/1.1\r\nContent-Length: 3\r\n\r\na", 19000);
    client.say("b", 28000); // and with every piece of a body
    QVERIFY(!client.conversation.isTimedOut(37999));
    QVERIFY(client.conversation.isTimedOut(38000));
}

void HttpConversationTest::stalling()
{
    Fixture idle;
    QVERIFY(!idle.conversation.isStalling(9000)); // it may be silent between requests
    Fixture slow;
    for (int second = 0; second < 9; ++second) {
        const qint64 nowMs = second * 1000LL;
        slow.say("G", nowMs);
        QCOMPARE(slow.conversation.isStalling(nowMs), second >= 5);
    }
    Fixture busy;
    busy.say("POST / HTTP/1.1\r\nContent-Length: 9000\r\n\r\n", 0);
    busy.say(QByteArray(1000, 'x'), 6000);
    QVERIFY(!busy.conversation.isStalling(6000));
    Fixture deaf;
    deaf.say(kGetA, 1000);
    QVERIFY(!deaf.conversation.isStalling(5999));
    QVERIFY(deaf.conversation.isStalling(6000));
    deaf.heard(6001);
    QVERIFY(!deaf.conversation.isStalling(20000));
}

void HttpConversationTest::defaultHandler()
{
    const HttpSettings settings;
    HttpRequestHandler handler;
    HttpConversation conversation(settings, handler, 0);
    QTest::ignoreMessage(QtDebugMsg, "HttpRequestHandler: request=GET /a HTTP/1.1");
    QTest::ignoreMessage(QtDebugMsg, "HttpRequestHandler: you need to override the service() function");
    conversation.receive(kGetA.constData(), kGetA.size(), 0);
    QCOMPARE(QByteArray(conversation.output().bytes().data(), conversation.output().bytes().size()),
             QByteArray("HTTP/1.1 501 not implemented\r\nContent-Length: 19\r\n\r\n501 not implemented"));
}

TEST_CLASS(HttpConversationTest)
#include "HttpConversationTest.moc"
