#pragma once
#include "tools/arkctl/LinkRun.h"
#include <QObject>

class QTimer;

/// A connection that comes back: once it has been made, and is lost, it is tried again without end, with growing
/// pauses. The first attempt is the person's: when it fails, that is told and nothing is tried again. Owns: the client
/// and timers (Qt children). Thread: the main thread. Ends: with its parent; the connection is closed.
class LastingLink : public QObject
{
    Q_OBJECT
public:
    enum class State { Connecting, Connected, Pausing };

    LastingLink(const LinkClient::Identity &identity, const RunOptions &options, QObject *parent);

    LinkClient &client() { return *m_client; }
    State state() const { return m_state; }
    int pauseLeftMs() const; // before the next attempt

    /// The pause after that many attempts in a row that failed: half a second, then twice as long up to 15 s.
    static int pauseMs(int failedAttempts);

public Q_SLOTS:
    void start();

Q_SIGNALS:
    void connected();                                  // and introduced
    void lost(const QString &why);                     // after connected()
    void attempted();                                  // one more attempt has begun, or failed
    void neverConnected(const ConnectionFault &fault); // the first attempt

private:
    void attemptFailed(const QString &why, const ConnectionFault &fault);
    void lookForSilence();

    const RunOptions m_options;
    LinkClient *m_client = nullptr; // Qt child
    QTimer *m_patience = nullptr;   // Qt child; while an attempt is under way
    QTimer *m_pause = nullptr;      // Qt child; until the next attempt
    QTimer *m_watch = nullptr;      // Qt child; while connected
    State m_state = State::Pausing;
    int m_failedAttempts = 0;
    bool m_wasConnected = false;
};
