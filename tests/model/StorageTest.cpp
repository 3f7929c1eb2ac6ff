#include "base/Clock.h"
#include "devices/MonitorLines.h"
#include "model/StorageManager.h"
#include "model/Values.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QSettings>
#include <QTemporaryDir>

namespace {
std::unique_ptr<Double> variable(const char *name, int storageClass, double value)
{
    auto number = std::make_unique<Double>(value, IntegerType);
    number->setName(Name(QString::fromLatin1(name)));
    number->setStorageClass(storageClass);
    return number;
}

/// A persistent variable as a test writes it: "type value" or "type[size] text".
std::unique_ptr<BasicType> valueOf(const QByteArray &text)
{
    const int blank = text.indexOf(' ');
    const int bracket = text.left(blank).indexOf('[');
    const QByteArray type = text.left(bracket < 0 ? blank : bracket);
    const QByteArray content = text.mid(blank + 1);
    const int typeCode = type == "char" ? CharType : type == "double" ? DoubleType : IntegerType;
    std::unique_ptr<BasicType> value;
    if (type == "device") {
        value = std::make_unique<Device>(DeviceAddress{ content.toInt(), 1, 0 });
    } else if (bracket < 0) {
        value = std::make_unique<Double>(content.toDouble(), typeCode);
    } else {
        std::unique_ptr<Array> array = Array::ofBytes({ content.constData(), static_cast<size_t>(content.size()) });
        array->setType(typeCode);
        array->setMaxLength(text.mid(bracket + 1, text.indexOf(']') - bracket - 1).toInt());
        value = std::move(array);
    }
    value->setName(Name(QStringLiteral("V")));
    value->setStorageClass(Persistent);
    return value;
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
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("nonvolatile")))); // one write serves both
        storage.flush();
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

    void longHandlersAreSavedOnTheWay()
    {
        Clock clock(Clock::Drive::ByHand);
        StorageManager storage(m_directory->path());
        storage.saveVariable(*variable("a", Persistent, 5));
        clock.advance(StorageManager::kMostUnsavedMs);
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("persistent"))));
        storage.saveVariable(*variable("b", Persistent, 6));
        QVERIFY(contentOf(m_directory->filePath(QStringLiteral("persistent"))).startsWith(QByteArray("\0\0\0\2", 4)));
    }

    void keepsWhatCanBeReadOfADamagedStore_data()
    {
        const Table<QByteArray> row("content");
        row("empty", "");
        row("noise", QByteArray(500, '\xEE'));
        row("count of four thousand million", QByteArray::fromHex("ffffffff"));
        row("cut in an entry", QByteArray::fromHex("00000001 00000002 0041 0000001c 0000000a"));
        row("giant record", QByteArray::fromHex("00000001 00000002 0041 7fffffff 0000000a"));
        row("zeros", QByteArray(100, '\0'));
        row("one whole value",
            QByteArray::fromHex("00000002 00000002 0042 0000001c"
                                "0000000a 00000002 0042 00 00000066 00000068 00 3ff0000000000000 0000"));
    }

    void keepsWhatCanBeReadOfADamagedStore()
    {
        MonitorLines monitor;
        QFETCH(QByteArray, content);
        QVERIFY(writeFile(m_directory->filePath(QStringLiteral("persistent")), content));
        StorageManager storage(m_directory->path());
        const auto value = variable("a", Persistent, 4);
        storage.restoreVariable(*value);
        QCOMPARE(value->value(), 4.0);
        QCOMPARE(contentOf(m_directory->filePath(QStringLiteral("persistent.damaged-1"))), content);
        QCOMPARE(monitor.take().size(), 1);
        const bool hasValue = QLatin1String(QTest::currentDataTag()) == QLatin1String("one whole value");
        for (int start = 0; start < 2; ++start) { // the first has mended the file
            StorageManager again(m_directory->path());
            const auto whole = variable("b", Persistent, 4);
            again.restoreVariable(*whole);
            QCOMPARE(whole->value(), hasValue ? 1.0 : 4.0);
        }
        QCOMPARE(monitor.take(), QStringList());
    }

    void whatCannotBeWrittenIsTriedAgain()
    {
        MonitorLines monitor;
        Clock clock(Clock::Drive::ByHand);
        const QString folder = m_directory->filePath(QStringLiteral("folder"));
        QVERIFY(writeFile(folder, "in the way"));
        StorageManager storage(folder);
        storage.saveVariable(*variable("a", Persistent, 6));
        storage.flush();
        QCOMPARE(monitor.take(),
                 QStringList(QStringLiteral("4 Cannot save %1/persistent: Not a directory").arg(folder)));
        const auto value = variable("a", Persistent, 4);
        storage.restoreVariable(*value); // what was said stays in memory
        QCOMPARE(value->value(), 6.0);
        QVERIFY(QFile::remove(folder));
        clock.advance(60000);
        QVERIFY(contentOf(folder + QStringLiteral("/persistent")).startsWith(QByteArray("\0\0\0\1", 4)));
        QCOMPARE(monitor.take(), QStringList(QStringLiteral("1 %1/persistent is saved again").arg(folder)));
    }

    void recordsOfAnotherKindAreNotRead_data()
    {
        // A value of the first kind was stored; a program that declares the second comes.
        const Table<QByteArray, QByteArray, bool> row("stored", "declared", "isRead");
        row("number of another type", "integer 5", "char 1", true);
        row("larger array", "char[3] ab", "char[9] x", true);
        row("array without size", "char[0] ab", "char[9] x", true);
        row("number as array", "integer 5", "integer[3] x", false);
        row("fraction as array", "double 0.3", "integer[3] x", false);
        row("nothing as array", "integer 0", "integer[3] x", false);
        row("below nothing as array", "double -1", "integer[3] x", false);
        row("array as number", "integer[3] x", "integer 5", false);
        row("empty array as number", "char[3] ", "integer 5", false);
        row("device as number", "device 5", "integer 1", false);
        row("number as device", "integer 1", "device 5", false);
        row("array as device", "char[3] abc", "device 5", false);
    }

    void recordsOfAnotherKindAreNotRead()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QByteArray, declared);
        QFETCH(bool, isRead);
        {
            StorageManager storage(m_directory->path());
            storage.saveVariable(*valueOf(stored));
        }
        StorageManager storage(m_directory->path());
        const std::unique_ptr<BasicType> value = valueOf(declared);
        const QByteArray before = recordOf(*value);
        storage.restoreVariable(*value);
        QCOMPARE(recordOf(*value) != before, isRead);
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
        storage.flush();
        QSettings settings(m_directory->filePath(QStringLiteral("vars_storage.ini")), QSettings::IniFormat);
        QVERIFY(!settings.value(QStringLiteral("vol = 1;[x]")).toByteArray().isEmpty()); // as former versions kept them
        storage.deleteAllParameters();
        storage.loadParameter(QStringLiteral("vol = 1;[x]"), *target);
        QCOMPARE(target->value(), 12.0);
        storage.flush();
        QVERIFY(!QFile::exists(m_directory->filePath(QStringLiteral("vars_storage.ini"))));
    }

private:
    std::unique_ptr<QTemporaryDir> m_directory;
};

TEST_CLASS(StorageTest)
#include "StorageTest.moc"
