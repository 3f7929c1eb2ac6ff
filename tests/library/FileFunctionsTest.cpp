#include "LibraryBench.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <sys/stat.h>

class FileFunctionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void givesHandlesInTurn();
    void refusesToOpen_data();
    void refusesToOpen();
    void readsAndWrites();
    void readsLines();
    void readsIntoSmallBuffers();
    void seeks();
    void appends();
    void checksItsArguments();
    void copiesRenamesAndDeletes();
    void closesWithTheProgram();

private:
    QByteArray path(const char *name) const
    {
        return QFile::encodeName(m_directory->filePath(QString::fromLatin1(name)));
    }
    QByteArray content(const char *name) const { return contentOf(m_directory->filePath(QString::fromLatin1(name))); }
    void write(const char *name, const QByteArray &bytes) const
    {
        QVERIFY(writeFile(m_directory->filePath(QString::fromLatin1(name)), bytes));
    }
    std::unique_ptr<QTemporaryDir> m_directory;
};

constexpr int kRead = 1;
constexpr int kReadWrite = 2;
constexpr int kAppend = 3;

void FileFunctionsTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
}

void FileFunctionsTest::givesHandlesInTurn()
{
    LibraryBench bench;
    QCOMPARE(bench.call("file_open", { path("a"), kReadWrite }), QVariant(4.0));
    QCOMPARE(bench.call("file_open", { path("b"), kAppend }), QVariant(5.0));
    QCOMPARE(bench.call("file_close", { 4 }), QVariant(0.0));
    QCOMPARE(bench.call("file_close", { 4 }), QVariant(-7.0));
    QCOMPARE(bench.call("file_close", { 9 }), QVariant(-1.0));
    QCOMPARE(bench.call("file_seek", { 4, 0 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_open", { path("a"), kRead }), QVariant(6.0));
}

void FileFunctionsTest::refusesToOpen_data()
{
    const Table<QByteArray, double, double> row("name", "mode", "status");
    row("no name", "", 1.0, -2.0);
    row("mode 0", "x", 0.0, -3.0);
    row("mode 4", "x", 4.0, -3.0);
    row("missing", "missing", 1.0, -5.0);
    row("no such directory", "no/such/file", 2.0, -5.0);
    row("a directory", ".", 1.0, -5.0);
    row("a pipe, which would block", "pipe", 1.0, -5.0);
}

void FileFunctionsTest::refusesToOpen()
{
    QFETCH(QByteArray, name);
    QFETCH(double, mode);
    QFETCH(double, status);
    QCOMPARE(mkfifo(path("pipe").constData(), 0600), 0);
    LibraryBench bench;
    const QByteArray full = name.isEmpty() ? name : path("") + name;
    QCOMPARE(bench.call("file_open", { full, mode }), QVariant(status));
    QCOMPARE(bench.messages, QStringList());
}

void FileFunctionsTest::readsAndWrites()
{
    LibraryBench bench;
    bench.call("file_open", { path("a"), kReadWrite });
    QCOMPARE(bench.call("file_write_line", { 4, QByteArray("HELLO"), 5 }), QVariant(6.0));
    QCOMPARE(content("a"), QByteArray("HELLO\r")); // there at once
    QCOMPARE(bench.call("file_write", { 4, variable(numbers(IntegerType, { 0x141, 0xE9, 7 })), 2 }), QVariant(2.0));
    QCOMPARE(content("a"), QByteArray("HELLO\rA\xE9"));
    QCOMPARE(bench.call("file_seek", { 4, 6 }), QVariant(6.0));
    const ValueRef buffer = text("", 10);
    QCOMPARE(bench.call("file_read", { 4, variable(buffer), 10 }), QVariant(2.0));
    auto &array = static_cast<Array &>(*buffer);
    QCOMPARE(array.length(), 0); // the program sets it from the result
    QCOMPARE(array.view(2).number, double(0xE9));
    QCOMPARE(bench.call("file_read", { 4, variable(buffer), 10 }), QVariant(-9.0));
    QCOMPARE(bench.call("file_write", { 4, variable(buffer), 2 }), QVariant(2.0)); // what was read, behind the length
    QCOMPARE(content("a"), QByteArray("HELLO\rA\xE9"
                                      "A\xE9"));
}

void FileFunctionsTest::readsLines()
{
    write("lines", "first\nsecond line\n\nlast");
    LibraryBench bench;
    bench.call("file_open", { path("lines"), kRead });
    const auto line = [&bench](int count) {
        const ValueRef buffer = text("", 64);
        const int read = bench.call("file_read_line", { 4, variable(buffer), count }).toInt();
        static_cast<Array &>(*buffer).setLength(read);
        return read < 0 ? QByteArray::number(read) : bytesOf(buffer);
    };
    QCOMPARE(line(1), QByteArray("-5")); // room for nothing
    QCOMPARE(line(60), QByteArray("first\n"));
    QCOMPARE(line(7), QByteArray("second"));
    QCOMPARE(line(60), QByteArray(" line\n"));
    QCOMPARE(line(60), QByteArray("\n"));
    QCOMPARE(line(60), QByteArray("last"));
    QCOMPARE(line(60), QByteArray("-9"));
}

void FileFunctionsTest::readsIntoSmallBuffers()
{
    write("long", QByteArray(200000, 'x') + "end");
    LibraryBench bench;
    bench.call("file_open", { path("long"), kRead });
    const ValueRef buffer = text("abc"); // not bounded: it has room for its length
    QCOMPARE(bench.call("file_read", { 4, variable(buffer), 200001 }), QVariant(200001.0));
    QCOMPARE(bytesOf(buffer), QByteArray("xxx"));
    QCOMPARE(bench.call("file_read", { 4, variable(buffer), 2147483647.0 }), QVariant(2.0));
    QCOMPARE(bytesOf(buffer), QByteArray("ndx"));
}

void FileFunctionsTest::seeks()
{
    write("ten", "0123456789");
    LibraryBench bench;
    bench.call("file_open", { path("ten"), kRead });
    QCOMPARE(bench.call("file_seek", { 4, 10 }), QVariant(10.0));
    QCOMPARE(bench.call("file_seek", { 4, 11 }), QVariant(-6.0));
    QCOMPARE(bench.call("file_seek", { 4, -1 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_seek", { 5, 0 }), QVariant(-1.0));
    QCOMPARE(bench.call("file_seek", { 4 }), QVariant(-6.0));
}

void FileFunctionsTest::appends()
{
    write("log", "one;");
    LibraryBench bench;
    bench.call("file_open", { path("log"), kAppend });
    bench.call("file_seek", { 4, 0 });
    bench.call("file_write", { 4, QByteArray("two;"), 4 });
    QCOMPARE(content("log"), QByteArray("one;two;"));
}

void FileFunctionsTest::checksItsArguments()
{
    write("a", "abc");
    LibraryBench bench;
    bench.call("file_open", { path("a"), kRead });
    const QVariant buffer = variable(text("", 10));
    QCOMPARE(bench.call("file_read", { 4, buffer }), QVariant(-6.0));
    QCOMPARE(bench.call("file_read", { 4, 5, 3 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_read", { 4, QByteArray("no variable"), 3 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_read", { 9, buffer, 3 }), QVariant(-1.0));
    QCOMPARE(bench.call("file_read", { 4, buffer, 0 }), QVariant(-6.0));
    QCOMPARE(bench.call("file_write", { 4, QByteArray("x") }), QVariant(-6.0));
    QCOMPARE(bench.call("file_write", { 4, 5, 3 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_write", { 4, QByteArray("x"), 1 }), QVariant(-5.0)); // opened for reading
    QCOMPARE(bench.call("file_write", { 4, QByteArray(), 1 }), QVariant(-5.0));
    QCOMPARE(bench.call("file_open", { path("a") }), QVariant());
    QCOMPARE(content("a"), QByteArray("abc"));
}

void FileFunctionsTest::copiesRenamesAndDeletes()
{
    write("a", "abc");
    LibraryBench bench;
    QCOMPARE(bench.call("file_copy", { path("a"), path("b") }), QVariant(0.0));
    QCOMPARE(bench.call("file_copy", { path("a"), path("b") }), QVariant(-5.0));
    QCOMPARE(bench.call("file_copy", { path("x"), path("c") }), QVariant(-2.0));
    QCOMPARE(bench.call("file_copy", { path("a") }), QVariant(-2.0));
    QCOMPARE(bench.call("file_rename", { path("a"), path("b") }), QVariant(-5.0));
    QCOMPARE(bench.call("file_rename", { path("a"), path("c") }), QVariant(0.0));
    QCOMPARE(content("c"), QByteArray("abc"));
    QCOMPARE(bench.call("file_delete", { path("c") }), QVariant(0.0));
    QCOMPARE(bench.call("file_delete", { path("c") }), QVariant(-2.0));
    QCOMPARE(bench.call("file_delete", { path("") }), QVariant(-5.0)); // a directory
    QCOMPARE(content("b"), QByteArray("abc"));
}

void FileFunctionsTest::closesWithTheProgram()
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    };
    const int before = openFiles();
    {
        LibraryBench bench;
        bench.call("file_open", { path("a"), kReadWrite });
        QVERIFY(openFiles() > before);
    }
    QCOMPARE(openFiles(), before);
}

TEST_CLASS(FileFunctionsTest)
#include "FileFunctionsTest.moc"
