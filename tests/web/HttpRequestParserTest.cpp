#include "web/HttpRequestParser.h"
#include "support/Table.h"
#include "support/TestClass.h"

/// What the request parser takes, and what it refuses and why.
class HttpRequestParserTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void reads_data();
    void reads();
    void refuses_data();
    void refuses();
    void limits_data();
    void limits();
    void multipart_data();
    void multipart();
    void multipartParameterThatIsTooLarge();
};

namespace {
HttpSettings smallLimits()
{
    HttpSettings settings;
    settings.maxRequestSize = 200;
    settings.maxMultiPartSize = 2000;
    return settings;
}

QByteArray bytes(std::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

/// Feeds a stream in pieces; how many bytes were taken.
int feed(HttpRequestParser &parser, const QByteArray &stream, int piece)
{
    int used = 0;
    while (used < stream.size() && parser.state() < HttpRequestParser::State::Complete) {
        used += parser.feed(stream.constData() + used, std::min(piece, stream.size() - used));
    }
    return used;
}

QByteArray fields(const HttpText::Fields &map)
{
    QByteArrayList list;
    for (auto field = map.begin(); field != map.end(); ++field) {
        list << field.key() + '=' + field.value();
    }
    return list.join('|');
}

/// A request as one line: what stands in the tables below.
QByteArray summary(const HttpRequest &request)
{
    const QByteArrayList parts{ bytes(request.method()),   request.path(),
                                bytes(request.version()),  fields(request.parameters()),
                                fields(request.cookies()), request.body() };
    return parts.join(" / ");
}

QByteArray times(const QByteArray &text, int count)
{
    return text.repeated(count);
}
} // namespace

void HttpRequestParserTest::reads_data()
{
    // stream: one request; "NEXT" behind it stays
    const Table<QByteArray, QByteArray> row("stream", "expected");
    row("plain", "GET / HTTP/1.1\r\nHost: a\r\n\r\n", "GET / / / HTTP/1.1 /  /  / ");
    row("without a host, lines ended by line feeds", "GET /a HTTP/1.0\n\n", "GET / /a / HTTP/1.0 /  /  / ");
    row("line ends in front", "\r\n\r\nGET / HTTP/1.1\r\n\r\n", "GET / / / HTTP/1.1 /  /  / ");
    row("encoded path and query", "GET /%41%2f%zz+%4?a=1+2&b=%26&c&&a=3 HTTP/1.1\r\n\r\n",
        "GET / /A/%zz+%4 / HTTP/1.1 / a=3|a=1 2|b=&|c= /  / ");
    row("as a proxy asks", "GET http://host:80/p?q=1 HTTP/1.1\r\n\r\n", "GET / /p / HTTP/1.1 / q=1 /  / ");
    row("a host alone", "GET http://host HTTP/1.1\r\n\r\n", "GET / / / HTTP/1.1 /  /  / ");
    row("an asterisk", "OPTIONS * HTTP/1.1\r\n\r\n", "OPTIONS / * / HTTP/1.1 /  /  / ");
    row("cookies", "GET / HTTP/1.1\r\nCookie: a=1; b=x=y;;  c\r\n\r\n", "GET / / / HTTP/1.1 /  / a=1|b=x=y|c= / ");
    row("a body", "POST / HTTP/1.1\r\ncontent-LENGTH:  3 \r\n\r\na\r\n", "POST / / / HTTP/1.1 /  /  / a\r\n");
    row("an empty body", "POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n", "POST / / / HTTP/1.1 /  /  / ");
    row("a form",
        "POST /?x=0 HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: 7\r\n\r\na=%31&b",
        "POST / / / HTTP/1.1 / a=1|b=|x=0 /  / a=%31&b");
    row("chunks",
        "POST / HTTP/1.1\r\nTransfer-Encoding: Chunked\r\n\r\n3\r\nabc\r\nA;x=\"y\"\r\n0123456789\r\n0\r\nTail: "
        "1\r\n\r\n",
        "POST / / / HTTP/1.1 /  /  / abc0123456789");
    row("no chunk", "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "POST / / / HTTP/1.1 /  /  / ");
    row("multipart without a boundary is an ordinary body",
        "POST / HTTP/1.1\r\nContent-Type: multipart/form-data\r\nContent-Length: 2\r\n\r\nab",
        "POST / / / HTTP/1.1 /  /  / ab");
}

void HttpRequestParserTest::reads()
{
    QFETCH(QByteArray, stream);
    QFETCH(QByteArray, expected);
    const HttpSettings limits = smallLimits();
    HttpRequestParser parser(limits);
    for (int piece = 1; piece <= stream.size(); ++piece) { // the network may split anywhere
        QCOMPARE(feed(parser, stream + "NEXT", piece), stream.size());
        QCOMPARE(parser.state(), HttpRequestParser::State::Complete);
        QCOMPARE(summary(parser.request()), expected);
        parser.reset(); // nothing of one request is left in the next
    }
}

void HttpRequestParserTest::refuses_data()
{
    const Table<QByteArray, int> row("stream", "status");
    const auto header = [](const QByteArray &lines) {
        return "POST / HTTP/1.1\r\n" + lines + "\r\n\r\nGET / HTTP/1.1";
    };
    const auto chunks = [&](const QByteArray &body) { return header("Transfer-Encoding: chunked") + body; };
    row("two words", "GET /\r\n", 413);
    row("four words", "GET / b HTTP/1.1\r\n", 413);
    row("an empty word", "GET  HTTP/1.1\r\n", 413);
    row("no HTTP", "GET / FTP/1.1\r\n", 413);
    row("TLS", QByteArray::fromHex("16030100a5010000a10303") + "\n", 413);
    row("no method", "G(T / HTTP/1.1\r\n", 400);
    row("NUL in the target", QByteArray("GET /a\0b HTTP/1.1\r\n", 19), 400);
    row("no version", "GET / HTTP/11\r\n", 400);
    row("another version", "GET / HTTP/2.0\r\n", 505);
    row("bare CR in the first line", "GET /\r HTTP/1.1\r\n", 400);
    row("bare CR in a header", header("A: b\rContent-Length: 5"), 400);
    row("NUL in a header", header(QByteArray("A: \0", 4)), 400);
    row("no colon", header("Nonsense"), 400);
    row("no name", header(": a"), 400);
    row("blank behind a name", header("Content-Length : 5"), 400);
    row("continued line", header("A: b\r\n Content-Length: 5"), 400);
    row("two hosts", header("Host: a\r\nHost: b"), 400);
    row("two lengths", header("Content-Length: 5\r\nContent-Length: 6"), 400);
    row("one length twice", header("Content-Length: 5\r\nContent-Length: 5"), 400);
    row("a list of lengths", header("Content-Length: 5, 5"), 400);
    row("negative length", header("Content-Length: -1"), 400);
    row("length with a sign", header("Content-Length: +5"), 400);
    row("hexadecimal length", header("Content-Length: 0x5"), 400);
    row("empty length", header("Content-Length:"), 400);
    row("length beyond 64 bits", header("Content-Length: 99999999999999999999999"), 413);
    row("length and chunks", header("Content-Length: 5\r\nTransfer-Encoding: chunked"), 400);
    row("two codings", header("Transfer-Encoding: chunked\r\nTransfer-Encoding: identity"), 400);
    row("unknown coding", header("Transfer-Encoding: gzip, chunked"), 501);
    row("almost chunked", header("Transfer-Encoding: xchunked"), 501);
    row("chunks in HTTP/1.0", "POST / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n", 400);
    row("chunk size with 0x", chunks("0x5\r\n"), 400);
    row("negative chunk", chunks("-5\r\n"), 400);
    row("chunk size with a blank", chunks("5 \r\n"), 400);
    row("no chunk size", chunks(";a\r\n"), 400);
    row("chunk size beyond 64 bits", chunks("fffffffffffffffff\r\n"), 400);
    row("chunk line without CR", chunks("5\nabcde\n"), 400);
    row("chunk longer than said", chunks("2\r\nabcd\r\n"), 400);
    row("chunk line without end", chunks("5;" + times("x", 300)), 400);
    row("trailer without end", chunks("0\r\n" + times("A: b\r\n", 1000)), 413);
}

void HttpRequestParserTest::refuses()
{
    QFETCH(QByteArray, stream);
    QFETCH(int, status);
    HttpSettings limits = smallLimits();
    limits.maxRequestSize = 500;
    QByteArray wanted = stream;
    wanted.replace("\r\n\r\nGET / HTTP/1.1", "\r\n\r\n"); // only there to be smuggled in
    for (const int piece : { 1, 7, 1000 }) {
        HttpRequestParser parser(limits);
        feed(parser, wanted, piece);
        QCOMPARE(parser.state(), HttpRequestParser::State::Aborted);
        QCOMPARE(static_cast<int>(parser.refusal()), status);
        QCOMPARE(feed(parser, "GET / HTTP/1.1\r\n\r\n", 100), 0); // it does not go on
    }
}

void HttpRequestParserTest::limits_data()
{
    const Table<QByteArray, bool> row("stream", "isTaken");
    const auto headOf = [](int size) { // 200 bytes are the most
        const QByteArray start = "GET / HTTP/1.1\r\nA: ";
        return start + times("a", size - start.size() - 4) + "\r\n\r\n";
    };
    const auto bodyOf = [](const QByteArray &type, int size) {
        return "POST / HTTP/1.1\r\nContent-Type: " + type + "\r\nContent-Length: " + QByteArray::number(size) +
               "\r\n\r\n" + times("a", size);
    };
    const auto chunked = [](int size) {
        return "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n" + times("64\r\n" + times("a", 100) + "\r\n", 1) +
               QByteArray::number(size - 100, 16) + "\r\n" + times("a", size - 100) + "\r\n0\r\n\r\n";
    };
    row("head that fits", headOf(200), true);
    row("head", headOf(201), false);
    row("many headers", "GET / HTTP/1.1\r\n" + times("a:\r\n", 100), false);
    row("first line without end", "GET /" + times("a", 200), false);
    row("body that fits", bodyOf("text/plain", 200), true);
    row("body", bodyOf("text/plain", 201), false);
    row("chunks that fit", chunked(200), true);
    row("chunks", chunked(201), false);
    row("multipart body that fits", bodyOf("multipart/form-data; boundary=b", 2000), true);
    row("multipart body", bodyOf("multipart/form-data; boundary=b", 2001), false);
}

void HttpRequestParserTest::limits()
{
    QFETCH(QByteArray, stream);
    QFETCH(bool, isTaken);
    const HttpSettings limits = smallLimits();
    HttpRequestParser parser(limits);
    feed(parser, stream, 64);
    QCOMPARE(parser.state(), isTaken ? HttpRequestParser::State::Complete : HttpRequestParser::State::Aborted);
    QCOMPARE(parser.refusal(), isTaken ? HttpRefusal::None : HttpRefusal::TooLarge);
}

namespace {
QByteArray multipartRequest(const QByteArray &body)
{
    return "POST / HTTP/1.1\r\nContent-Type: multipart/form-data; charset=x; boundary=\"b b\"\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}
} // namespace

void HttpRequestParserTest::multipart_data()
{
    // uploads: field:file:type:content, separated by |
    const Table<QByteArray, QByteArray, QByteArray> row("body", "parameters", "uploads");
    const QByteArray value = "--b b\r\nContent-Disposition: form-data; name=\"a;\\\"b\"\r\n\r\none\r\ntwo\r\n";
    const QByteArray file = "--b b \r\ncontent-disposition: Form-Data; filename=\"f.txt\"; name=up\r\n"
                            "Content-Type: text/plain\r\n\r\n--b\r\n\r\n";
    row("a value and a file", value + file + "--b b--\r\nbehind", "a;\"b=one\r\ntwo", "up:f.txt:text/plain:--b\r\n");
    row("something in front", "hello\r\n" + value + "--b b--", "a;\"b=one\r\ntwo", "");
    row("an empty part", "--b b\r\nContent-Disposition: form-data; name=e\r\n\r\n\r\n--b b--", "e=", "");
    row("a part without even a line end", "--b b\r\nContent-Disposition: form-data; name=e\r\n\r\n--b b--", "e=", "");
    row("no form data", "--b b\r\nContent-Disposition: attachment; name=x\r\n\r\nno\r\n" + value + "--b b--",
        "a;\"b=one\r\ntwo", "");
    row("a part without end", value + file, "a;\"b=one\r\ntwo", "");
    row("a head without end", value + "--b b\r\nContent-Disposition: form-data; name=x\r\n", "a;\"b=one\r\ntwo", "");
    row("no boundary at all", "nonsense", "", "");
}

void HttpRequestParserTest::multipart()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, parameters);
    QFETCH(QByteArray, uploads);
    const HttpSettings limits = smallLimits();
    HttpRequestParser parser(limits);
    feed(parser, multipartRequest(body), 13);
    QCOMPARE(parser.state(), HttpRequestParser::State::Complete);
    QCOMPARE(fields(parser.request().parameters()), parameters);
    QByteArrayList files;
    for (const HttpUpload &upload : parser.request().uploads()) {
        files << upload.fieldName + ':' + upload.fileName + ':' + upload.contentType + ':' + bytes(upload.content);
    }
    QCOMPARE(files.join('|'), uploads);
}

void HttpRequestParserTest::multipartParameterThatIsTooLarge()
{
    const HttpSettings limits = smallLimits();
    HttpRequestParser parser(limits);
    feed(parser,
         multipartRequest("--b b\r\nContent-Disposition: form-data; name=a\r\n\r\n" + times("x", 200) + "\r\n--b b--"),
         13);
    QCOMPARE(parser.refusal(), HttpRefusal::FieldTooLarge);
}

TEST_CLASS(HttpRequestParserTest)
#include "HttpRequestParserTest.moc"
