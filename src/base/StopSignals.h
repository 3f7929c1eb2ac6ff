#pragma once
#include <QObject>

class QSocketNotifier;

/// SIGTERM, SIGINT and SIGHUP (unless it is ignored, as under nohup): a function that runs at once, also while the main
/// thread is busy, and a signal from the event loop. Owns: a notifier (Qt child); the handlers of the process while it
/// lives. Thread: the main thread. Ends: with the application; from then on they are ignored, the process is ending
/// anyway.
class StopSignals : public QObject
{
    Q_OBJECT
public:
    /// \param atOnce  called in the signal handler, on any thread: it may only do what such a handler may
    explicit StopSignals(void (*atOnce)() = nullptr, QObject *parent = nullptr);
    ~StopSignals() override;

    /// While one lives, threads that start inherit a mask in which they are blocked.
    class Blocked
    {
    public:
        Blocked() { setBlocked(true); }
        ~Blocked() { setBlocked(false); }
        Blocked(const Blocked &) = delete;
        Blocked &operator=(const Blocked &) = delete;
    };

Q_SIGNALS:
    void received();

private:
    static void setBlocked(bool isBlocked);

    QSocketNotifier *m_notifier = nullptr; // Qt child
};
