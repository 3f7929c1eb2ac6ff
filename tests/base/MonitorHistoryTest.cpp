#include "base/MonitorHistory.h"
#include "base/Monitor.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <algorithm>
#include <atomic>
#include <thread>

/// What the ring keeps, and that a line is either before the seam or after it.
class MonitorHistoryTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keepsTheNewest_data();
    void keepsTheNewest();
    void beginsAtATime_data();
    void beginsAtATime();
    void noLineIsOnBothSides_data();
    void noLineIsOnBothSides();
};

namespace {
constexpr auto kNothing = [](const MonitorHistory::Past &) {};
constexpr qint64 kEver = 1'000'000;
} // namespace

void MonitorHistoryTest::keepsTheNewest_data()
{
    const Table<int, int, int, int> row("most", "told", "textSize", "kept");
    row("room for all", 5, 5, 1, 5);
    row("one more", 5, 6, 1, 5);
    row("more than there may be", 100'000, 10'005, 1, 10'000);
    row("too much text", 1000, 100, 4000, 65);
    row("a huge line is cut", 1000, 66, 1'000'000, 65);
}

void MonitorHistoryTest::keepsTheNewest()
{
    QFETCH(int, most);
    QFETCH(int, told);
    QFETCH(int, textSize);
    QFETCH(int, kept);
    MonitorHistory history(most);
    for (int number = 1; number <= told; ++number) {
        history.add(number, 1, QString(textSize, QLatin1Char('x')));
    }
    const MonitorHistory::Past past = history.since(told, kEver, kNothing);
    QCOMPARE(static_cast<int>(past.lines.size()), kept);
    QCOMPARE(past.lines.back().wallMs, qint64(told));
    QCOMPARE(past.lostUntilMs, qint64(told - kept));
}

void MonitorHistoryTest::beginsAtATime_data()
{
    // age: at 100
    const Table<QVector<int>, int, QVector<int>> row("times", "age", "shown");
    row("between", { 10, 20, 30 }, 75, { 30 });
    row("exactly", { 10, 20, 30 }, 80, { 20, 30 });
    row("nothing so young", { 10, 20 }, 5, {});
    row("clock put back", { 10, 90, 30 }, 20, { 90, 30 });
    row("nothing at all", {}, 100, {});
}

void MonitorHistoryTest::beginsAtATime()
{
    QFETCH(QVector<int>, times);
    QFETCH(int, age);
    MonitorHistory history(10);
    for (const int time : qAsConst(times)) {
        history.add(time, 1, QString());
    }
    QVector<int> shown;
    for (const MonitorHistory::Line &line : history.since(100, age, kNothing).lines) {
        shown << static_cast<int>(line.wallMs);
    }
    QTEST(shown, "shown");
}

void MonitorHistoryTest::noLineIsOnBothSides_data()
{
    QTest::addColumn<int>("round"); // one alone may happen to meet no thread at the wrong moment
    for (int round = 1; round <= 20; ++round) {
        QTest::addRow("round %d", round) << round;
    }
}

/// Threads tell lines while the past is asked for again and again: what was told live before a seam is the past.
void MonitorHistoryTest::noLineIsOnBothSides()
{
    MonitorHistory history(MonitorHistory::kMostLines);
    constexpr int kThreads = 3;
    constexpr int kLines = 3000;
    constexpr int kAll = kThreads * kLines;
    std::vector<QString> live; // guarded by the lock of the history
    live.reserve(kAll);
    connect(
        &history, &MonitorHistory::line, this, [&live](int, const QString &text) { live.push_back(text); },
        Qt::DirectConnection);
    std::atomic<int> told{ 0 };
    std::vector<std::thread> tellers;
    for (int thread = 0; thread < kThreads; ++thread) {
        tellers.emplace_back([thread, &told] {
            for (int number = 0; number < kLines; ++number) {
                monitorLog(MonitorMessageType::On, QString::number(thread * kLines + number));
                ++told;
            }
        });
    }
    int wrongSeams = 0;
    while (told < kAll) {
        history.since(0, kEver, [&](const MonitorHistory::Past &past) {
            wrongSeams += past.lines.size() == live.size() ? 0 : 1;
        });
    }
    for (std::thread &teller : tellers) {
        teller.join();
    }
    QCOMPARE(wrongSeams, 0);
    const MonitorHistory::Past past = history.since(0, kEver, kNothing);
    QCOMPARE(static_cast<int>(past.lines.size()), kAll);
    QVERIFY(std::equal(past.lines.begin(), past.lines.end(), live.begin(), live.end(),
                       [](const MonitorHistory::Line &line, const QString &text) { return line.text == text; }));
}

TEST_CLASS(MonitorHistoryTest)
#include "MonitorHistoryTest.moc"
