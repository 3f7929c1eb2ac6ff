#pragma once
#include <QObject>
#include <QString>

#include <deque>
#include <functional>
#include <mutex>
#include <vector>

/// The newest monitor lines, for a tool that asks what has happened. While it lives, lines are made whether anybody
/// listens or not.
/// Owns: the lines, at most as many as asked for and 512 KiB of text; the oldest make room.
/// Thread: any. Who shows lines of the past and those that follow takes the latter from line() here: it is emitted in
///         the order in which lines are kept, with the lock held, so that no line is in both or in neither.
/// Ends: with its owner, after those that are connected to line().
class MonitorHistory : public QObject
{
    Q_OBJECT
public:
    static constexpr int kMostLines = 10000;
    static constexpr int kMostTextBytes = 512 * 1024; // as it lies in memory, two bytes a character
    static constexpr int kLongestText = 4000;         // characters; more is cut off

    struct Line
    {
        qint64 wallMs = 0; // milliseconds since 1970-01-01 UTC
        quint8 type = 0;   // a MonitorMessageType
        QString text;
    };

    struct Past
    {
        qint64 nowMs = 0;       // when it was asked
        qint64 lostUntilMs = 0; // the time of the newest line that had to make room; 0: none had to
        std::vector<Line> lines;
    };

    explicit MonitorHistory(int mostLines);
    ~MonitorHistory() override;

    /// The first line that is no older than that, and all after it: a clock that was put back hides none.
    /// \param atTheSeam  called while no line can be kept or told: what line() told before is in the past, and what it
    ///                   tells later is not
    Past since(qint64 nowMs, qint64 ageMs, const std::function<void(const Past &)> &atTheSeam) const;

    void add(qint64 wallMs, int type, const QString &text); // and tells it

Q_SIGNALS:
    void line(int type, const QString &text); // any thread, lock held: connect directly, and do not call back

private:
    void makeRoom();

    const size_t m_mostLines;
    mutable std::mutex m_mutex;
    std::deque<Line> m_lines;
    int m_textBytes = 0;
    qint64 m_lostUntilMs = 0;
};
