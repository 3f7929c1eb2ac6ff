#pragma once
#include <QDateTime>

#include <functional>
#include <map>
#include <memory>

class QTimer;

/// All time that a program can see: monotonic milliseconds, local date and time, and the ticks and delays made of them.
/// Driven by the system's clock, or by hand in tests (advance), so that hours of waits take no time.
/// Owns: its timer. Thread: the main thread. Ends: with the process, or with the test that made it.
class Clock
{
public:
    enum class Drive { System, ByHand };
    using Job = std::function<void()>;

    explicit Clock(Drive drive = Drive::System);
    ~Clock();
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;

    static Clock &instance(); // the one in force: the newest made, else one on the system's clock

    qint64 monotonicMs() const { return monotonicMicros() / 1000; } // since some moment before the start
    qint64 monotonicMicros() const;
    QDateTime localDateTime() const;
    qint64 nowMicros() const; // the same since 1970

    /// Runs a job every periodMs, first after one period. A late tick is not made up for: the next keeps the phase.
    /// Returns a ticket for cancel(), never 0.
    int every(int periodMs, Job job);
    int after(int delayMs, Job job); // once
    void cancel(int ticket);         // of a job that has run or is unknown: nothing

    void advance(qint64 ms);                     // by hand only: runs what falls due on the way, in order
    void setLocalDateTime(const QDateTime &now); // by hand only: what localDateTime() answers, moving on with advance

private:
    struct Entry
    {
        qint64 dueMs;
        int periodMs; // 0: once
        Job job;
    };
    int add(int periodMs, int delayMs, Job job);
    void runDue(qint64 nowMs);
    void arm();
    std::map<int, Entry>::iterator earliest();

    Drive m_drive;
    Clock *m_previous;
    qint64 m_byHandMs = 0;
    QDateTime m_byHandStart;
    std::map<int, Entry> m_entries; // by ticket: of jobs due at the same moment the older runs first
    int m_lastTicket = 0;
    std::unique_ptr<QTimer> m_timer;
};
