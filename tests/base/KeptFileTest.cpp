#include "base/KeptFile.h"
#include "base/FileReplacement.h"
#include "base/IniText.h"
#include "devices/MonitorLines.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QSettings>
#include <QTemporaryDir>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {
/// As a full disk: no file of this process grows beyond that size.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{ bytes, m_before.rlim_max };
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_before{};
};

int modeOf(const QString &path)
{
    struct stat file
    {};
    return ::stat(QFile::encodeName(path).constData(), &file) == 0 ? int(file.st_mode & ALLPERMS) : -1;
}
} // namespace

class KeptFileTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void aFailureLeavesTheOldFileAndIsToldOnce()
    {
        MonitorLines monitor;
        KeptFile file(path("store"));
        const QByteArray old(100, 'o'); // less than a write buffer: what cannot be written shows when it is flushed
        QVERIFY(file.save(old));
        {
            const FileSizeLimit full(10);
            QVERIFY(!file.save("something new"));
            QVERIFY(!file.save("something newer"));
        }
        QCOMPARE(contentOf(path("store")), old);
        QCOMPARE(monitor.take(), QStringList(QStringLiteral("4 Cannot save %1: File too large").arg(path("store"))));
        QVERIFY(file.save("new"));
        QCOMPARE(contentOf(path("store")), QByteArray("new"));
        QCOMPARE(monitor.take(), QStringList(QStringLiteral("1 %1 is saved again").arg(path("store"))));
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files), QStringList(QStringLiteral("store")));
    }

    void placesThatCannotBeWritten_data()
    {
        const Table<QString, QString> row("name", "reason");
        row("a folder", "folder", "Is a directory");
        row("below a file", "file/store", "Not a directory");
        row("a device", "device", "Invalid argument");
    }

    void placesThatCannotBeWritten()
    {
        QVERIFY(writeFile(path("folder/x"), "x"));
        QVERIFY(writeFile(path("file"), "x"));
        QVERIFY(QFile::link(QStringLiteral("/dev/null"), path("device")));
        QFETCH(QString, name);
        QFETCH(QString, reason);
        KeptFile file(m_directory->filePath(name));
        QVERIFY(!file.save("content"));
        QCOMPARE(file.problem().value_or(QString()), reason);
    }

    void modesAndLinks()
    {
        const mode_t before = ::umask(0);
        KeptFile(path("new")).save("1");
        ::umask(0777);
        KeptFile(path("newer")).save("1");
        ::umask(before);
        QCOMPARE(modeOf(path("new")), 0600);
        QCOMPARE(modeOf(path("newer")), 0600);
        QVERIFY(writeFile(path("there/shared"), "old"));
        QCOMPARE(::chmod(path("there/shared").toUtf8().constData(), 0640), 0);
        QVERIFY(QFile::link(path("there/shared"), path("link")));
        QVERIFY(KeptFile(path("link")).save("new"));
        QVERIFY(QFileInfo(path("link")).isSymLink());
        QCOMPARE(contentOf(path("there/shared")), QByteArray("new"));
        QCOMPARE(modeOf(path("there/shared")), 0640);
    }

    void removesWhatKilledWritersLeft()
    {
        {
            KeptFile(path("store")).save("whole");
            FileReplacement cut(path("store"));
            QVERIFY(!cut.open());
            QVERIFY(QFile::copy(path("store.unfinished"), path("mac.unfinished")));
            QVERIFY(writeFile(path("persistent.backup"), "mine"));
            FileReplacement::removeLeftovers(m_directory->path());
        }
        QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files),
                 (QStringList{ QStringLiteral("persistent.backup"), QStringLiteral("store") }));
        QCOMPARE(contentOf(path("store")), QByteArray("whole"));
    }

    void keepsWhatItCannotRead()
    {
        MonitorLines monitor;
        QVERIFY(writeFile(path("store/inside"), "x"));
        QCOMPARE(KeptFile(path("none")).read().bytes, QByteArray());
        QCOMPARE(KeptFile(path("store")).read().bytes, QByteArray());
        QCOMPARE(contentOf(path("store.damaged-1/inside")), QByteArray("x"));
        const QStringList lines = monitor.take();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().endsWith(QStringLiteral("; it is kept as store.damaged-1")), qPrintable(lines.first()));
        QVERIFY(writeFile(path("store"), "damaged"));
        KeptFile file(path("store"));
        file.setAside(QStringLiteral("half of it"));
        QCOMPARE(contentOf(path("store")), QByteArray("damaged")); // until the next change
        QVERIFY(file.save("whole"));
        QCOMPARE(contentOf(path("store.damaged-2")), QByteArray("damaged"));
    }

    /// QSettings itself is the measure: it wrote the files of former versions, and people edit them by its rules.
    void readsAndWritesWhatSettingsDo_data()
    {
        const Table<QString, QVariant> row("key", "value");
        QByteArray everyByte;
        for (int byte = 0; byte < 256; ++byte) {
            everyByte += static_cast<char>(byte);
            everyByte += "0fg"[byte % 3]; // digits behind escapes
        }
        row("number", "systemNum", 7);
        row("truth", "dhcp", false);
        row("text", "ip", QStringLiteral("10.0.0.2"));
        row("empty text", "ip", QString());
        row("bytes", "vol = 1;[x]", everyByte);
        row("no bytes", "k", QByteArray());
        row("bytes that end in a bracket", "k", QByteArray("a)"));
        row("quotes, blanks and commas", "k", QStringLiteral(" a, \"b\"; c=\\d "));
        row("other scripts", QStringLiteral("钥匙 é"), QStringLiteral("课堂 é\x7F"));
        row("looks like a kind", "k", QStringLiteral("@Invalid()"));
        row("list", "listen",
            QStringList{ QStringLiteral("10.0.0.3"), QStringLiteral("a, b"), QString(), QStringLiteral("@x ") });
        row("list of one", "listen", QStringList(QStringLiteral("10.0.0.3")));
        row("no list", "listen", QStringList());
        row("section", "web/port", 80);
        row("section in a section", "a/b/c d", QStringLiteral("x"));
        row("section called General", "General/x", QStringLiteral("y"));
    }

    void readsAndWritesWhatSettingsDo()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        const QVariant other = QStringLiteral("beside it");
        {
            QSettings theirs(path("theirs.ini"), QSettings::IniFormat);
            theirs.setValue(key, value);
            theirs.setValue(QStringLiteral("zz"), other);
        }
        const IniText::Content read = IniText::parse(contentOf(path("theirs.ini")));
        QVERIFY(read.isWhole);
        QCOMPARE(read.values.keys(), QSettings(path("theirs.ini"), QSettings::IniFormat).allKeys());
        const auto same = [](const QVariant &ours, const QVariant &theirs) {
            return ours.toString() == theirs.toString() && ours.toByteArray() == theirs.toByteArray() &&
                   ours.toStringList() == theirs.toStringList();
        };
        QVERIFY(QFile::copy(path("theirs.ini"), path("read.ini"))); // under the same name it would not read again
        const QVariant asTheyRead = QSettings(path("read.ini"), QSettings::IniFormat).value(key);
        QVERIFY2(same(read.values.value(key), asTheyRead), contentOf(path("theirs.ini")).constData());
        QVERIFY(writeFile(path("ours.ini"), IniText::write({ { key, value }, { QStringLiteral("zz"), other } })));
        QSettings theirs(path("ours.ini"), QSettings::IniFormat);
        QCOMPARE(theirs.status(), QSettings::NoError);
        QVERIFY2(same(theirs.value(key), asTheyRead), contentOf(path("ours.ini")).constData());
        QCOMPARE(theirs.value(QStringLiteral("zz")), other);
    }

    void readsByHandWritten_data()
    {
        const Table<QByteArray> row("text");
        row("comments, blanks, no section", "; one\n  a = 1 ; two\r\n\r\n[General]\nb=\"x;y\" z\n; c=3\n");
        row("continued lines", "a=one \\\n two\nb=\"three\nfour\"\nc=5\\\r\n6\n");
        row("escapes", "a=\\x41\\101\\q\\?\\'\\\nb=a\\tb  \nc=\\x20\\x20\n%41=B\n%U00e9=e\nx%4=%\n");
        row("UTF-8", "ip=\xC3\xA9\n");
        row("sections", "[ web ]\nport=1\n[general]\na=2\n[%General]\na=3\n[a\\b%20c]\nd=4\n");
        row("lists", "a=1,2 , \"3,4\" ,\nb=,\nc=@Invalid()\nd=@@x,@ByteArray(y)\n");
        row("no line makes sense", "\x01\xff no settings at all [\n]]]\n");
        row("half a file", "a=9\nb=\"tr\n[Gen");
        row("half a section", "a=9\n[Gen\nb=1");
        row("twice", "a=1\na=2\n");
        row("nothing", "");
    }

    void readsByHandWritten()
    {
        QFETCH(QByteArray, text);
        QVERIFY(writeFile(path("byhand.ini"), text));
        const QSettings theirs(path("byhand.ini"), QSettings::IniFormat);
        const IniText::Content ours = IniText::parse(text);
        QCOMPARE(ours.values.keys(), theirs.allKeys());
        for (const QString &key : theirs.allKeys()) {
            QCOMPARE(ours.values.value(key).toStringList(), theirs.value(key).toStringList());
        }
        QCOMPARE(ours.isWhole, theirs.status() == QSettings::NoError);
    }

private:
    QString path(const char *name) const { return m_directory->filePath(QString::fromLatin1(name)); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

TEST_CLASS(KeptFileTest)
#include "KeptFileTest.moc"
