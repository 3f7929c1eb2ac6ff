#include "net/link/DuplicateFilter.h"
#include "net/link/ResendTable.h"
#include "support/Table.h"
#include "support/TestClass.h"

/// The pending sends and the received ids, driven with times of our own.
class ReliabilityTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void resendsUntilAcknowledgedOrOld();
    void limitsOneTick_data();
    void limitsOneTick();
    void overflowKeepsItsOrder();
    void newestLevelReplacesOlder();
    void duplicates();
};

void ReliabilityTest::resendsUntilAcknowledgedOrOld()
{
    ResendTable table;
    table.add(1, "a", 1000);
    table.add(2, "b", 1200);
    QCOMPARE(table.dueFrames(1299), QByteArray());
    QCOMPARE(table.dueFrames(1300), QByteArray("a"));
    QCOMPARE(table.dueFrames(1500), QByteArray("ab")); // a resend does not start the time again
    QVERIFY(!table.acknowledge(3));
    QVERIFY(!table.acknowledge(0)); // the mark of a free slot is no id
    QVERIFY(table.acknowledge(1));
    QVERIFY(!table.acknowledge(1));
    QCOMPARE(table.forgetOld(6200), 0);
    QCOMPARE(table.dueFrames(6200), QByteArray("b"));
    QCOMPARE(table.forgetOld(6201), 1);
    QCOMPARE(table.pending(), 0);
    table.add(3, "c", 7000);
    table.add(4, "d", 7000);
    table.acknowledge(3);
    table.add(5, "e", 7000); // takes the first free slot, so it is sent before d
    QCOMPARE(table.dueFrames(7300), QByteArray("ed"));
}

void ReliabilityTest::limitsOneTick_data()
{
    const Table<int, int, int> row("inSlots", "inOverflow", "sent");
    row("forty due", 40, 0, 31);
    row("slots give thirty: overflow waits", 30, 10, 30);
    row("slots give less: overflow fills up", 29, 10, 31);
    row("all fit", 20, 3, 23);
}

void ReliabilityTest::limitsOneTick()
{
    QFETCH(int, inSlots);
    QFETCH(int, inOverflow);
    QFETCH(int, sent);
    ResendTable table;
    for (int id = 1; id <= ResendTable::kSlots + inOverflow; ++id) {
        table.add(static_cast<quint32>(id), "x", 0);
    }
    for (int id = inSlots + 1; id <= ResendTable::kSlots; ++id) {
        QVERIFY(table.acknowledge(static_cast<quint32>(id)));
    }
    QCOMPARE(table.pending(), inSlots + inOverflow);
    QCOMPARE(table.dueFrames(300).size(), sent);
}

void ReliabilityTest::overflowKeepsItsOrder()
{
    ResendTable table;
    for (quint32 id = 1; id <= ResendTable::kSlots; ++id) {
        table.add(id, "s", 0);
    }
    for (const char *frame : { "a", "b", "c" }) {
        table.add(1000 + static_cast<quint8>(*frame), frame, 100);
    }
    QVERIFY(table.acknowledge(1000 + 'b'));
    QCOMPARE(table.forgetOld(5001), ResendTable::kSlots);
    QCOMPARE(table.dueFrames(5001), QByteArray("ac"));
    QCOMPARE(table.forgetOld(5101), 2); // also what never got a slot
    QCOMPARE(table.pending(), 0);
}

void ReliabilityTest::newestLevelReplacesOlder()
{
    ResendTable table;
    table.addLevel(1, 7, "old", 0);
    table.addLevel(2, 8, "other", 0);
    table.addLevel(3, 7, "new", 10);
    QCOMPARE(table.pending(), 2);
    QCOMPARE(table.dueFrames(1000), QByteArray("newother"));
    QVERIFY(table.acknowledge(3));
    table.addLevel(4, 7, "newest", 20); // the one before is confirmed: nothing else may be dropped for it
    QCOMPARE(table.pending(), 2);
    for (quint32 id = 5; id <= 200; ++id) {
        table.add(id, "x", 30);
    }
    table.addLevel(201, 9, "listed", 30);
    table.addLevel(202, 9, "listed again", 30); // the older one sits in the overflow
    QCOMPARE(table.pending(), 199);
}

void ReliabilityTest::duplicates()
{
    DuplicateFilter filter;
    QVERIFY(filter.isNew(5, 0));
    QVERIFY(!filter.isNew(5, 900));
    QVERIFY(!filter.isNew(5, 3000)); // nothing else came: still remembered
    QVERIFY(filter.isNew(6, 1000));  // 5 is exactly 1000 ms old and stays
    QVERIFY(!filter.isNew(5, 1000));
    QVERIFY(filter.isNew(7, 1001));
    QVERIFY(filter.isNew(5, 1002));
    QVERIFY(!filter.isNew(6, 1002));
}

TEST_CLASS(ReliabilityTest)
#include "ReliabilityTest.moc"
