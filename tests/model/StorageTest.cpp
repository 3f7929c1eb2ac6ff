#include "model/StorageManager.h"
#include "model/Values.h"
#include "support/Files.h"
#include "support/Table.h"

#include <QTemporaryDir>
#include <QTest>

namespace {
std::unique_ptr<Double> variable(const char *name, int storageClass, double value)
{
    auto number = std::make_unique<Double>(value, IntegerType);
    number->setName(Name(QString::fromLatin1(name)));
    number->setStorageClass(storageClass);
    return number;
}

} // namespace

class StorageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void writesTheMapLastNameFirst()
    {
        StorageManager storage(m_directory->path());
        storage.saveVariable(*variable("a", NonVolatile, 5));
        storage.saveVariable(*variable("b", NonVolatile, 1));
        storage.saveVariable(*variable("c", Volatile, 9));
        // Written by hand: two entries, B then A; each record is type, name, const, storage, placement, initialised,
        // number.
        const QByteArray expected =
            QByteArray::fromHex("00000002"
                                "00000002 0042"
                                "0000001c"
                                "0000000a 00000002 0042 00 00000065 00000068 00 3ff0000000000000"
                                "00000002 0041"
                                "0000001c"
                                "0000000a 00000002 0041 00 00000065 00000068 00 4014000000000000");
        QCOMPARE(contentOf(m_directory->filePath(QStringLiteral("nonvolatile"))).toHex(), expected.toHex());
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("persistent"))));
    }

    void givesValuesBack()
    {
        {
            StorageManager storage(m_directory->path());
            storage.saveVariable(*variable("volume", NonVolatile, 5));
            storage.saveVariable(*variable("source", Persistent, 3));
        }
        StorageManager again(m_directory->path());
        const auto volume = variable("VOLUME", NonVolatile, 1);
        const auto source = variable("source", Persistent, 1);
        const auto other = variable("other", Persistent, 7);
        again.restoreVariable(*volume);
        again.restoreVariable(*source);
        again.restoreVariable(*other);
        QCOMPARE(volume->value(), 5.0);
        QCOMPARE(source->value(), 3.0);
        QCOMPARE(other->value(), 7.0);

        again.reloadVariables(); // a new program: PERSISTENT values survive it
        StorageManager fresh(m_directory->path());
        const auto volumeAfter = variable("volume", NonVolatile, 1);
        const auto sourceAfter = variable("source", Persistent, 1);
        fresh.restoreVariable(*volumeAfter);
        fresh.restoreVariable(*sourceAfter);
        QCOMPARE(volumeAfter->value(), 1.0);
        QCOMPARE(sourceAfter->value(), 3.0);
    }

    void startsWithoutADamagedStore_data()
    {
        const Table<QByteArray> row("content");
        row("empty", "");
        row("noise", QByteArray(500, '\xEE'));
        row("count of four thousand million", QByteArray::fromHex("ffffffff"));
        row("cut in an entry", QByteArray::fromHex("00000001 00000002 0041 0000001c 0000000a"));
        row("giant record", QByteArray::fromHex("00000001 00000002 0041 7fffffff 0000000a"));
    }

    void startsWithoutADamagedStore()
    {
        QFETCH(QByteArray, content);
        QVERIFY(writeFile(m_directory->filePath(QStringLiteral("persistent")), content));
        StorageManager storage(m_directory->path());
        const auto value = variable("a", Persistent, 4);
        storage.restoreVariable(*value);
        QCOMPARE(value->value(), 4.0);
        storage.saveVariable(*variable("a", Persistent, 6)); // and is whole again with the next change
        StorageManager again(m_directory->path());
        again.restoreVariable(*value);
        QCOMPARE(value->value(), 6.0);
    }

    void survivesAFolderThatCannotBeWritten()
    {
        StorageManager storage(m_directory->filePath(QStringLiteral("missing/folder")));
        storage.saveVariable(*variable("a", Persistent, 6));
        const auto value = variable("a", Persistent, 4);
        storage.restoreVariable(*value); // what was said stays in memory
        QCOMPARE(value->value(), 6.0);
    }

    void keepsParameters()
    {
        StorageManager storage(m_directory->path());
        storage.saveParameter(QStringLiteral("vol = 1;[x]"), *variable("n", Volatile, 12));
        const auto target = variable("target", Persistent, 1);
        storage.loadParameter(QStringLiteral("unknown"), *target);
        QCOMPARE(target->value(), 1.0);
        storage.loadParameter(QStringLiteral("vol = 1;[x]"), *target);
        QCOMPARE(target->value(), 12.0);
        QCOMPARE(target->name().text(), QStringLiteral("TARGET"));
        QCOMPARE(target->storageClass(), int(Persistent));
        storage.deleteAllParameters();
        storage.loadParameter(QStringLiteral("vol = 1;[x]"), *variable("t", Volatile, 0));
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("vars_storage.ini"))));
    }

private:
    std::unique_ptr<QTemporaryDir> m_directory;
};

QTEST_GUILESS_MAIN(StorageTest)
#include "StorageTest.moc"
