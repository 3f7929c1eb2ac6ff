#pragma once
#include "base/Descriptor.h"
#include <QObject>
#include <QProcessEnvironment>
#include <QTimer>

/// Notices a controller that hangs: it says that it is alive as it says so to systemd, by datagrams to a socket that
/// its environment names.
/// Owns: the socket, which has no file, and timers. Thread: the main thread. Ends: with the supervisor.
class LifeSigns : public QObject
{
    Q_OBJECT
public:
    static constexpr int kStartMs = 120000; // for the start block; systemd gives it as long

    /// \param limitMs  0: nobody is watched
    explicit LifeSigns(int limitMs);

    int limitMs() const { return m_limitMs; }
    bool isMissed() const { return m_isMissed; } // of the controller that was started last

    void addTo(QProcessEnvironment &environment) const;
    void controllerStarted();
    void controllerEnded() { m_patience.stop(); }

Q_SIGNALS:
    void missed();

private:
    bool takeSigns(); // whether there were any
    void lookOnce();

    const int m_limitMs;
    Descriptor m_socket; // none: nobody is watched
    QString m_name;
    QTimer m_patience;
    bool m_isMissed = false;
};
