#include "web/FileController.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "web/HttpConversation.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>

#include <unistd.h>

/// The files of the web directory as a client sees them.
class FileControllerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void wholeFile();
    void index();
    void missingPage();
    void ranges_data();
    void ranges();
    void rangeOfALargeFile();
    void conditions_data();
    void conditions();
    void staysInside_data();
    void staysInside();
    void changedFile_data();
    void changedFile();
    void directoryIsMade();
    void unreadableFile();
};

namespace {
const char kSecret[] = "the secret";

/// A web directory with a client of its own.
struct Site
{
    QTemporaryDir directory;
    QString web = directory.filePath(QStringLiteral("data/web"));
    HttpSettings settings;
    FileController handler;

    explicit Site(std::time_t settledAfterSeconds = 0) // small files are kept at once
        : handler(web, settledAfterSeconds)
    {
        QDir().mkpath(web);
    }

    void put(const QString &name, const QByteArray &content, int modified = 1000000000) const
    {
        QFile file(web + QLatin1Char('/') + name);
        QDir().mkpath(QFileInfo(file).path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.flush();
        file.setFileTime(QDateTime::fromSecsSinceEpoch(modified), QFileDevice::FileModificationTime);
    }

    /// Head and body of the answer, without the date.
    QByteArray ask(const QByteArray &method, const QByteArray &path, const QByteArray &headers = QByteArray())
    {
        HttpConversation conversation(settings, handler, 0);
        const QByteArray request = method + ' ' + path + " HTTP/1.1\r\n" + headers + "\r\n";
        conversation.receive(request.constData(), request.size(), 0);
        HttpOutput &output = conversation.output();
        QByteArray answer(output.bytes().data(), output.bytes().size());
        if (output.hasFile()) {
            QByteArray rest(static_cast<int>(output.fileBytes()), '?');
            if (::pread(output.file(), rest.data(), static_cast<size_t>(rest.size()), output.fileOffset()) > 0) {
                answer += rest;
            }
        }
        if (const int date = answer.indexOf("Date: "); date >= 0) {
            answer.replace(date, answer.indexOf('\r', date) - date, "Date");
        }
        return answer;
    }
    QByteArray get(const QByteArray &path, const QByteArray &headers = QByteArray())
    {
        return ask("GET", path, headers);
    }
};

QByteArray statusOf(const QByteArray &answer)
{
    return answer.mid(9, 3);
}

QByteArray bodyOf(const QByteArray &answer)
{
    return answer.mid(answer.indexOf("\r\n\r\n") + 4);
}

QByteArray digits(int count)
{
    QByteArray text;
    for (int number = 0; text.size() < count; ++number) {
        text += QByteArray::number(number) + ' ';
    }
    return text.left(count);
}

const QByteArray kNoPage = "HTTP/1.1 404 Not Found\r\nContent-Type: text/html\r\nAccept-Ranges: bytes\r\n"
                           "Server: Tessweb 1.0\r\nContent-Length: 16\r\n\r\n<html>404</html>";
const QByteArray kModified = "Sun, 09 Sep 2001 01:46:40 GMT"; // 1000000000
} // namespace

void FileControllerTest::wholeFile()
{
    Site site;
    site.put(QStringLiteral("sub/a b.css"), "body {}");
    const QByteArray head = "HTTP/1.1 200 OK\r\nServer: Tessweb 1.0\r\nDate\r\nContent-Type: text/css\r\n"
                            "Accept-Ranges: bytes\r\nContent-Length: 7\r\nETag: Nw==\r\nLast-Modified: " +
                            kModified + "\r\n\r\n";
    QCOMPARE(site.get("/sub/a%20b.css?x=1"), head + "body {}");
    QCOMPARE(site.ask("POST", "//sub/./a%20b.css").left(12), QByteArray("HTTP/1.1 404")); // an absolute path
    QCOMPARE(site.ask("DELETE", "/sub/./a%20b.css"), head + "body {}");
    QCOMPARE(site.ask("HEAD", "/sub/a%20b.css"), head);
    QVERIFY(site.get("/sub/a%20b.css", "Range: lines=1-2\r\n") == head + "body {}");
}

void FileControllerTest::index()
{
    Site site;
    for (const char *path : { "/", "/index.html", "/index.htm" }) {
        QCOMPARE(site.get(path), kNoPage);
    }
    site.put(QStringLiteral("index.htm"), "htm");
    for (const char *path : { "/", "/index.html", "/index.htm", "/?q" }) {
        QCOMPARE(bodyOf(site.get(path)), QByteArray("htm"));
    }
    site.put(QStringLiteral("index.html"), "html");
    for (const char *path : { "/", "/index.html", "/index.htm" }) {
        QCOMPARE(bodyOf(site.get(path)), QByteArray("html"));
    }
}

void FileControllerTest::missingPage()
{
    Site site;
    QCOMPARE(site.get("/none", "Range: bytes=0-1\r\n"), kNoPage);
    QDir().mkpath(site.web + QStringLiteral("/folder"));
    QCOMPARE(site.get("/folder"), kNoPage);
    QCOMPARE(site.get("/folder/"), kNoPage);
    site.put(QStringLiteral("404.html"), "<html>gone</html>");
    const QByteArray head = "HTTP/1.1 404 OK\r\nServer: Tessweb 1.0\r\nDate\r\nContent-Type: text/html\r\n"
                            "Accept-Ranges: bytes\r\nContent-Length: 17\r\nETag: MTc=\r\nLast-Modified: " +
                            kModified + "\r\n\r\n";
    QCOMPARE(site.get("/none", "Range: bytes=0-1\r\nIf-None-Match: MTc=\r\n"), head + "<html>gone</html>");
    QCOMPARE(site.get("/" + QByteArray(5000, 'x')), head + "<html>gone</html>");
    QCOMPARE(statusOf(site.get("/404.html")), QByteArray("200"));
}

void FileControllerTest::ranges_data()
{
    // expected: what Content-Range says; nothing: the whole file with 200
    const Table<QByteArray, QByteArray> row("range", "expected");
    row("bytes=100-", "100-999/1000");
    row(" bytes=100-199 ", "100-199/1000");
    row("bytes=100", "100-999/1000");
    row("bytes=999-999", "999-999/1000");
    row("bytes=0-5000", "0-999/1000");
    row("bytes=0-99999999999999999999999", "0-999/1000");
    row("bytes=-500", "0-500/1000");
    row("bytes=5-0", "5-999/1000"); // an end of 0 means the last byte
    row("bytes=", "0-999/1000");
    row("bytes=-", "0-999/1000");
    row("bytes=a-b", "0-999/1000");
    row("bytes=1-2,5-6", "0-999/1000");
    row("bytes=1000-", "*/1000");
    row("bytes=99999999999999999999999-", "*/1000");
    row("bytes=9-5", "*/1000");
    row("Bytes=1-2", "");
    row("byte=1-2", "");
    row("", "");
}

void FileControllerTest::ranges()
{
    QFETCH(QByteArray, range);
    QFETCH(QByteArray, expected);
    Site site;
    const QByteArray content = digits(1000);
    site.put(QStringLiteral("f.txt"), content);
    const QByteArray answer = site.get("/f.txt", "Range: " + range + "\r\n");
    if (expected.isEmpty()) {
        QCOMPARE(statusOf(answer), QByteArray("200"));
        QCOMPARE(bodyOf(answer), content);
    } else if (expected.startsWith('*')) {
        QCOMPARE(answer, "HTTP/1.1 416 Range Not Satisfiable\r\nServer: Tessweb 1.0\r\nDate\r\nAccept-Ranges: bytes\r\n"
                         "Content-Range: bytes " +
                             expected + "\r\nContent-Length: 0\r\n\r\n");
    } else {
        const int first = expected.left(expected.indexOf('-')).toInt();
        const int last = expected.mid(expected.indexOf('-') + 1).split('/').first().toInt();
        QCOMPARE(answer, "HTTP/1.1 206 OK\r\nServer: Tessweb 1.0\r\nDate\r\nContent-Type: text/plain\r\n"
                         "Accept-Ranges: bytes\r\nContent-Range: bytes " +
                             expected + "\r\nContent-Length: " + QByteArray::number(last - first + 1) +
                             "\r\nETag: MTAwMA==\r\nLast-Modified: " + kModified + "\r\n\r\n" +
                             content.mid(first, last - first + 1));
    }
}

void FileControllerTest::rangeOfALargeFile()
{
    Site site;
    const QByteArray content = digits(300000);
    site.put(QStringLiteral("f"), content);
    for (int turn = 0; turn < 2; ++turn) { // the second time it is known
        QCOMPARE(bodyOf(site.get("/f", "Range: bytes=123456-250000\r\n")), content.mid(123456, 250000 - 123456 + 1));
        QVERIFY(bodyOf(site.get("/f")) == content);
        QCOMPARE(bodyOf(site.ask("HEAD", "/f")), QByteArray());
    }
}

void FileControllerTest::conditions_data()
{
    QTest::addColumn<QByteArray>("headers");
    QTest::addColumn<QByteArray>("status");
    const auto row = [](const QByteArray &headers, const QByteArray &status) {
        QTest::newRow(headers.constData()) << QByteArray(headers).replace("; ", "\r\n") + "\r\n" << status;
    };
    // A new file may have the size of the old one, and so its tag; and an archive may bring one that is older.
    row("If-None-Match: NQ==", "200");
    row("If-None-Match: *", "200");
    row("If-None-Match: \"x\", W/\"NQ==\"; If-Modified-Since: " + kModified, "304");
    row("If-None-Match: *; If-Modified-Since: " + kModified, "304");
    row("If-None-Match: NQ; If-Modified-Since: " + kModified, "200");
    row("If-Modified-Since: " + kModified, "304");
    row("If-Modified-Since: Mon, 10 Sep 2001 01:46:40 GMT", "200");
    row("If-Modified-Since: Sun, 09 Sep 2001 01:46:39 GMT", "200");
    row("If-Modified-Since: yesterday", "200");
    row("If-None-Match: NQ==; If-Modified-Since: " + kModified, "304");
    row("If-None-Match: NQ==; If-Modified-Since: Mon, 10 Sep 2001 01:46:40 GMT", "200");
    row("If-None-Match: x; If-Modified-Since: " + kModified, "200");
    row("If-None-Match: NQ==; If-Modified-Since: " + kModified + "; Range: bytes=1-2", "304");
    row("If-Range: NQ==; Range: bytes=1-2", "206");
    row("If-Range: " + kModified + "; Range: bytes=1-2", "206");
    row("If-Range: Sun, 09 Sep 2001 01:46:39 GMT; Range: bytes=1-2", "200");
}

void FileControllerTest::conditions()
{
    QFETCH(QByteArray, headers);
    QFETCH(QByteArray, status);
    Site site;
    site.put(QStringLiteral("f.txt"), "hello");
    const QByteArray answer = site.get("/f.txt", headers);
    QCOMPARE(statusOf(answer), status);
    if (status == "304") {
        QCOMPARE(answer, "HTTP/1.1 304 Not Modified\r\nServer: Tessweb 1.0\r\nDate\r\nETag: NQ==\r\nLast-Modified: " +
                             kModified + "\r\n\r\n");
    }
}

void FileControllerTest::staysInside_data()
{
    const Table<QByteArray, bool> row("path", "isServed");
    for (const char *path : { "/../secret",
                              "/sub/../../secret",
                              "/%2e%2e/secret",
                              "/%2E%2e%2Fsecret",
                              "/..%2fsecret",
                              "/..\\secret",
                              "/..%5Csecret",
                              "/sub/..",
                              "/../web/page",
                              "/sub/../page",
                              "//SECRET",
                              "/%2fSECRET",
                              "SECRET",
                              "/out",
                              "/outfolder/secret",
                              "/deep/out2",
                              "/secret%00.html",
                              "/page%00",
                              "/%00",
                              "/.%2e/secret",
                              "/proc",
                              "/pipe",
                              "/loop",
                              "/..%c0%afsecret",
                              "/%252e%252e/secret" }) {
        row(path, false);
    }
    for (const char *path :
         { "/page", "/./page", "/in", "/absolute", "/folder/page", "/..page", "/sub//page", "/pa%67e" }) {
        row(path, true);
    }
}

void FileControllerTest::staysInside()
{
    QFETCH(QByteArray, path);
    QFETCH(bool, isServed);
    Site site;
    const QString secret = site.directory.filePath(QStringLiteral("data/secret"));
    site.put(QStringLiteral("../secret"), kSecret);
    for (const char *name : { "page", "..page", "sub/page" }) {
        site.put(QLatin1String(name), "page");
    }
    const auto link = [&](const QString &target, const char *name) {
        QVERIFY(QFile::link(target, site.web + QLatin1Char('/') + QLatin1String(name)));
    };
    QDir().mkpath(site.web + QStringLiteral("/deep"));
    link(secret, "out");
    link(QStringLiteral("../../secret"), "deep/out2");
    link(QFileInfo(secret).path(), "outfolder");
    link(QStringLiteral("/proc/self/environ"), "proc");
    link(QStringLiteral("loop"), "loop");
    link(QStringLiteral("page"), "in");
    link(site.web + QStringLiteral("/page"), "absolute");
    link(QStringLiteral("sub"), "folder");
    QCOMPARE(::mkfifo(QFile::encodeName(site.web + QStringLiteral("/pipe")).constData(), 0600), 0);
    path.replace("SECRET", QFile::encodeName(secret));
    for (int turn = 0; turn < 2; ++turn) {
        const QByteArray answer = site.get(path);
        QVERIFY(!answer.contains(kSecret));
        QCOMPARE(statusOf(answer), QByteArray(isServed ? "200" : "404"));
    }
}

void FileControllerTest::changedFile_data()
{
    const Table<int, QByteArray> row("settledAfterSeconds", "next");
    row("kept", 0, "newer");
    row("in the same moment", 2, "new"); // with the same size and time
}

void FileControllerTest::changedFile()
{
    QFETCH(int, settledAfterSeconds);
    QFETCH(QByteArray, next);
    Site site(settledAfterSeconds);
    site.put(QStringLiteral("f"), "old");
    for (int turn = 0; turn < 2; ++turn) {
        QCOMPARE(bodyOf(site.get("/f")), QByteArray("old"));
    }
    site.put(QStringLiteral("f"), next);
    QCOMPARE(bodyOf(site.get("/f")), next);
    site.put(QStringLiteral("../secret"), "out");
    QVERIFY(QFile::remove(site.web + QStringLiteral("/f")));
    QCOMPARE(site.get("/f"), kNoPage);
    QVERIFY(QFile::link(QStringLiteral("../secret"), site.web + QStringLiteral("/f")));
    QCOMPARE(site.get("/f"), kNoPage);
}

void FileControllerTest::directoryIsMade()
{
    Site site;
    QVERIFY(QDir(site.directory.filePath(QStringLiteral("data"))).removeRecursively());
    QCOMPARE(site.get("/"), kNoPage);
    QVERIFY(QFileInfo(site.web).isDir());
    site.put(QStringLiteral("index.html"), "back");
    QCOMPARE(bodyOf(site.get("/")), QByteArray("back"));
}

void FileControllerTest::unreadableFile()
{
    if (::geteuid() == 0) {
        QSKIP("root reads every file");
    }
    Site site;
    site.put(QStringLiteral("404.html"), "gone");
    site.put(QStringLiteral("f"), "closed");
    QFile::setPermissions(site.web + QStringLiteral("/f"), QFileDevice::WriteOwner);
    QCOMPARE(site.get("/f"), kNoPage); // not the page for a missing one
}

TEST_CLASS(FileControllerTest)
#include "FileControllerTest.moc"
