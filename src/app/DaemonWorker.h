#pragma once
#include "base/Frame.h"

#include <QObject>

class QLocalSocket;
class QTimer;

/// The link to a supervisor that listens on the local socket "emulator": it sees the LEDs and may end the process.
/// While nobody listens it tries again once a second, silently.
/// Owns: its socket and timer (Qt children). Thread: made on the main thread, then moved to one of its own; reach it
///       through signals and slots. Ends: deleted when that thread finishes.
class DaemonWorker : public QObject
{
    Q_OBJECT
public:
    static constexpr const char *kServerName = "emulator";
    enum Code : quint8 {
        kQuit = 1,       // incoming: end the process
        kLed = 2,        // outgoing: LED number, then 1 or 0
        kWatchPorts = 3, // incoming: send what goes to the port hardware, too
        kPortFrame = 4,  // outgoing, to a supervisor that has asked: one frame
    };

    DaemonWorker(); // no parent: it changes threads; connects at once

public Q_SLOTS:
    void sendLed(int led, bool on);
    void sendPortFrame(const QByteArray &frame);
    void finish(); // what was sent is out, or the supervisor does not read

Q_SIGNALS:
    void shouldQuit();

private:
    void connectToSupervisor();
    void readAvailable();
    void send(quint8 code, const QByteArray &body);

    QLocalSocket *m_socket = nullptr; // Qt child
    QTimer *m_timer = nullptr;        // Qt child
    FrameParser m_parser;
    bool m_watchesPorts = false;
};
