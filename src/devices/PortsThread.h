#pragma once
#include <QElapsedTimer>
#include <QThread>

/// The thread of the serial lines. A wake-up costs more than what it reads: while several lines talk at once, what they
/// say is read together, once a millisecond. A line that talks alone is served at once.
/// Owns: its event loop. Thread: the main thread starts and ends it. Ends: after the lines that live on it.
class PortsThread : public QThread
{
    Q_OBJECT
public:
    static constexpr int kTogetherUs = 1000;

    using QThread::QThread;

    void heard(const void *line); // on the thread itself: it has read from this line

protected:
    void run() override;

private:
    void gather();

    const void *m_line = nullptr; // the last that was read
    QElapsedTimer m_sinceHeard;
    bool m_areSeveral = false;
};
