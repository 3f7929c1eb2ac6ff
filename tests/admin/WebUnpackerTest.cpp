#include "admin/WebUnpacker.h"
#include "admin/ZipArchive.h"
#include "devices/MonitorLines.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include <QDir>
#include <QDirIterator>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <zlib.h>

namespace {
/// One entry of an archive as a test wants it, with every lie it wants to tell.
struct Member
{
    QByteArray name;
    QByteArray content = {};
    bool isDeflated = true;
    quint32 unixMode = 0; // 0: made on no Unix
    std::optional<quint32> size = {};
    std::optional<quint32> checksum = {};
    quint16 flags = 0;
    std::optional<quint16> method = {};
};

QByteArray little(quint32 number, int bytes)
{
    QByteArray text;
    for (; bytes > 0; --bytes) {
        text += static_cast<char>(number);
        number >>= 8;
    }
    return text;
}

QByteArray deflated(const QByteArray &bytes)
{
    z_stream stream{};
    ::deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray packed(static_cast<int>(::deflateBound(&stream, static_cast<uLong>(bytes.size()))), '\0');
    QByteArray source = bytes;
    stream.next_in = reinterpret_cast<Bytef *>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ::deflate(&stream, Z_FINISH);
    packed.truncate(static_cast<int>(stream.total_out));
    ::deflateEnd(&stream);
    return packed;
}

QByteArray archiveOf(const std::vector<Member> &members, const QByteArray &comment = {})
{
    QByteArray data;
    QByteArray list;
    for (const Member &one : members) {
        const QByteArray packed = one.isDeflated ? deflated(one.content) : one.content;
        const auto *bytes = reinterpret_cast<const Bytef *>(one.content.constData());
        const uLong checksum = ::crc32(0, bytes, static_cast<uInt>(one.content.size()));
        const QByteArray common = little(one.flags, 2) + little(one.method.value_or(one.isDeflated ? 8 : 0), 2) +
                                  little(0, 4) + little(one.checksum.value_or(static_cast<quint32>(checksum)), 4) +
                                  little(static_cast<quint32>(packed.size()), 4) +
                                  little(one.size.value_or(static_cast<quint32>(one.content.size())), 4) +
                                  little(static_cast<quint32>(one.name.size()), 2) + little(0, 2);
        list += "PK\x01\x02" + little(20, 1) + little(one.unixMode != 0 ? 3 : 0, 1) + little(20, 2) + common +
                little(0, 2) + little(0, 2) + little(0, 2) + little(one.unixMode << 16, 4) +
                little(static_cast<quint32>(data.size()), 4) + one.name;
        data += "PK\x03\x04" + little(20, 2) + common + one.name + packed;
    }
    const auto count = static_cast<quint32>(members.size());
    return data + list + "PK\x05\x06" + little(0, 4) + little(count, 2) + little(count, 2) +
           little(static_cast<quint32>(list.size()), 4) + little(static_cast<quint32>(data.size()), 4) +
           little(static_cast<quint32>(comment.size()), 2) + comment;
}

/// Every file below a folder with its content, sorted: "a=1 b/c=2 l->target".
QString picture(const QString &folder)
{
    QStringList lines;
    QDirIterator files(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QString name = QDir(folder).relativeFilePath(path);
        if (files.fileInfo().isSymLink()) {
            lines << name + QStringLiteral("->") + QFileInfo(path).fileName();
        } else if (files.fileInfo().isFile()) {
            lines << name + QLatin1Char('=') + QString::fromUtf8(contentOf(path).left(20));
        }
    }
    lines.sort();
    return lines.join(QLatin1Char(' '));
}
} // namespace

class WebUnpackerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.info=false")); }
    void init();
    void archiveIsMergedIn();
    void firstArchiveMakesTheFolder();
    void linkedFolderStaysALink();
    void folderKeepsItsMode();
    void refusedArchivesChangeNothing_data();
    void refusedArchivesChangeNothing();
    void interruptedOneIsUndone();
    void outcomeIsTold();

private:
    QString path(const char *name) const { return m_directory->filePath(QLatin1String(name)); }
    QString unpack(const QByteArray &archive);

    std::unique_ptr<QTemporaryDir> m_directory;
    int m_files = 0;
};

void WebUnpackerTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    m_files = 0;
}

QString WebUnpackerTest::unpack(const QByteArray &archive)
{
    if (!writeFile(path("web.zip"), archive)) {
        return QStringLiteral("cannot write the archive");
    }
    return WebUnpacker(path("web")).unpackNow(path("web.zip"), m_files).value_or(QString());
}

void WebUnpackerTest::archiveIsMergedIn()
{
    QVERIFY(writeFile(path("web/index.html"), "old"));
    QVERIFY(writeFile(path("web/pages/kept.html"), "kept"));
    QVERIFY(writeFile(path("web/pages/a.html"), "old"));
    QVERIFY(writeFile(path("web/folder/x"), "in the way"));
    QVERIFY(writeFile(path("outside"), "safe"));
    QVERIFY(QFile::link(path("outside"), path("web/link")));
    QVERIFY(QFile::link(path("outside"), path("web/replaced")));
    QVERIFY(QFile::link(m_directory->path(), path("web/up")));
    QFile open(path("web/index.html")); // somebody is being served it
    QVERIFY(open.open(QIODevice::ReadOnly));

    const QByteArray large(200000, 'L');
    QCOMPARE(unpack(archiveOf({ { "index.html", "new" },
                                { "pages/" },
                                { "pages\\a.html", "new", false },
                                { "./large//l.txt", large },
                                { "replaced", "new", true, 0100644 },
                                { "up/outside", "new" },
                                { "folder", "file now" },
                                { "empty", "", false },
                                { "\xE4\xB8\xAD.txt", "utf8" } },
                              "a comment with PK\x05\x06 in it")),
             QString());
    QCOMPARE(m_files, 8);
    QCOMPARE(
        picture(path("web")),
        QString::fromUtf8("empty= folder=file now index.html=new large/l.txt=LLLLLLLLLLLLLLLLLLLL link->link "
                          "pages/a.html=new pages/kept.html=kept replaced=new up/outside=new \xE4\xB8\xAD.txt=utf8"));
    QCOMPARE(QFileInfo(path("web/large/l.txt")).size(), qint64(large.size()));
    QCOMPARE(open.readAll(), QByteArray("old"));
    QCOMPARE(contentOf(path("outside")), QByteArray("safe"));
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot),
             QStringList{ QStringLiteral("web") });
}

void WebUnpackerTest::firstArchiveMakesTheFolder()
{
    QCOMPARE(unpack(archiveOf({ { "a/b/c", "1" } })), QString());
    QCOMPARE(picture(path("web")), QStringLiteral("a/b/c=1"));
    QCOMPARE(unpack(archiveOf({})), QString());
    QCOMPARE(picture(path("web")), QStringLiteral("a/b/c=1"));
}

void WebUnpackerTest::linkedFolderStaysALink()
{
    QVERIFY(writeFile(path("elsewhere/pages/old"), "1"));
    QVERIFY(QFile::link(path("elsewhere/pages"), path("web")));
    QCOMPARE(unpack(archiveOf({ { "new", "2" } })), QString());
    QVERIFY(QFileInfo(path("web")).isSymLink());
    QCOMPARE(picture(path("elsewhere")), QStringLiteral("pages/new=2 pages/old=1"));
}

void WebUnpackerTest::folderKeepsItsMode()
{
    QVERIFY(writeFile(path("web/old"), "1"));
    constexpr mode_t kMode =
        S_ISGID | S_IRWXU | S_IRGRP | S_IXGRP; // readers by their group, as an administrator likes it
    QCOMPARE(::chmod(QFile::encodeName(path("web")).constData(), kMode), 0);
    QCOMPARE(unpack(archiveOf({ { "new", "2" } })), QString());
    struct stat status
    {};
    QCOMPARE(::stat(QFile::encodeName(path("web")).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, kMode);
}

void WebUnpackerTest::refusedArchivesChangeNothing_data()
{
    const Table<QByteArray, QString> row("archive", "problem");
    const auto out = [&row](const char *name) {
        const QByteArray problem = QByteArray(name) + " leads out of the web folder";
        row(name, archiveOf({ { "index.html", "new" }, { name, "x" } }), QString::fromUtf8(problem));
    };
    out("../x");
    out("/etc/x");
    out("a/../../x");
    out("a/..");
    out("..\\x");
    out("\\x");
    out("C:x");
    out("C:\\x");
    out("a\nb");
    out("");
    row("link", archiveOf({ { "l", "../x", false, 0120777 }, { "l/a", "x" } }), "l is a link or no plain file");
    row("device", archiveOf({ { "d", "", false, 020644 } }), "d is a link or no plain file");
    row("password", archiveOf({ { "p", "x", true, 0, {}, {}, 1 } }), "p is encrypted or packed in an unknown way");
    row("method", archiveOf({ { "m", "x", true, 0, {}, {}, 0, 12 } }), "m is encrypted or packed in an unknown way");
    row("bomb", archiveOf({ { "1", "", true, 0, 300000000 }, { "2", "", true, 0, 300000000 } }),
        "The archive unpacks to more than 512 MiB");
    row("bomb that hides its size", archiveOf({ { "b", QByteArray(5000000, '\0'), true, 0, 10 } }),
        "The archive is damaged");
    row("shorter than it says", archiveOf({ { "b", "abc", true, 0, 10 } }), "The archive is damaged");
    row("checksum", archiveOf({ { "c", "abc", true, 0, {}, 1 } }), "The archive is damaged");
    row("too many", archiveOf(std::vector<Member>(10001, { "a", "", false })),
        "The archive has more than 10000 entries");
    row("file and folder at once", archiveOf({ { "a", "x" }, { "a/b", "x" } }), "Cannot write a/b");
    row("no archive", "hello", "This is no ZIP archive");
    row("empty", "", "This is no ZIP archive");
    const QByteArray good = archiveOf({ { "index.html", "new" } });
    row("cut off", good.left(good.size() - 5), "This is no ZIP archive");
    row("its beginning is missing", good.mid(10), "The archive is damaged");
}

void WebUnpackerTest::refusedArchivesChangeNothing()
{
    QFETCH(QByteArray, archive);
    QVERIFY(writeFile(path("web/index.html"), "old"));
    QTEST(unpack(archive), "problem");
    QVERIFY(QFile::remove(path("web.zip")));
    QCOMPARE(picture(m_directory->path()), QStringLiteral("web/index.html=old"));
}

void WebUnpackerTest::interruptedOneIsUndone()
{
    QVERIFY(writeFile(path("web.old/index.html"), "old"));
    QVERIFY(writeFile(path("web.new/index.html"), "half"));
    const WebUnpacker unpacker(path("web"));
    QCOMPARE(picture(m_directory->path()), QStringLiteral("web/index.html=old"));
}

void WebUnpackerTest::outcomeIsTold()
{
    MonitorLines monitor;
    QStringList lines;
    QVERIFY(writeFile(path("web.zip"), archiveOf({ { "a", "1" }, { "b", "1" } })));
    QVERIFY(writeFile(path("bad.zip"), "bad"));
    WebUnpacker unpacker(path("web"));
    unpacker.unpack(path("web.zip"), QStringLiteral("site.zip"));
    unpacker.unpack(path("bad.zip"), QStringLiteral("other.zip"));
    QTRY_COMPARE(lines += monitor.take(), (QStringList{ QStringLiteral("1 site.zip: 2 files unpacked"),
                                                        QStringLiteral("4 other.zip: This is no ZIP archive") }));
}

TEST_CLASS(WebUnpackerTest)
#include "WebUnpackerTest.moc"
