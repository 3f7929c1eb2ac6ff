#pragma once
#include "tools/arkhost/ChildController.h"
#include "tools/arkhost/CrashReports.h"
#include "tools/arkhost/HostDisplay.h"
#include "tools/arkhost/HostLeds.h"
#include "tools/arkhost/HostSocket.h"
#include "tools/arkhost/HostStatus.h"
#include "tools/arkhost/LifeSigns.h"
#include "tools/arkhost/OutputTail.h"
#include "tools/arkhost/RestartPauses.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

#include <optional>

/// Keeps one controller running, shows what it says and its LEDs, and reports its crashes.
/// Owns: the controller's process, the socket, the display. Thread: the main thread.
/// Ends: with the application, after the controller has ended.
class Supervisor : public QObject
{
    Q_OBJECT
public:
    struct Setup
    {
        QString controller;
        QStringList arguments;
        QString reports; // folder
        int keptReports = 0;
        int watchdogMs = 0; // a controller that is silent for so long hangs; 0: it may
        QString version;
        HostSocket::PortFrames portFrames = HostSocket::PortFrames::Hide;
        HostDisplay::Form form = HostDisplay::Form::Plain;
    };

    explicit Supervisor(const Setup &setup);

    HostStatus status() const;

    /// Listens and starts the controller. Nothing when all is well, else what went wrong.
    std::optional<QString> start();
    void end(); // asks the controller to end; ended() follows in five seconds at most, at once when asked again

Q_SIGNALS:
    void ended(int status);

private:
    void startController();
    void takeOutput();
    void controllerEnded(int status, QProcess::ExitStatus how);
    void controllerHangs();
    void controllerFailed(QProcess::ProcessError error);
    void recordEnd(const QString &reason);
    void afterOrderlyEnd(const ControllerEnd &end);
    void afterCrash(const ControllerEnd &end);
    void startLater(qint64 pauseMs);
    QString reportCrash(const ControllerEnd &end, qint64 pauseMs);
    void showLed(int led, bool on);
    void showStatus();
    qint64 uptimeMs() const { return m_clock.elapsed() - m_startedAtMs; } // of the controller

    const Setup m_setup;
    HostDisplay m_display;
    const CrashReports m_reports;
    HostLeds m_leds;
    HostSocket m_socket;
    LifeSigns m_life;
    ChildController m_controller;
    OutputTail m_tail;
    RestartPauses m_pauses;
    QElapsedTimer m_clock; // runs from construction on
    QTimer m_nextStart;
    QTimer m_redraw; // a flicker of LEDs costs one
    QTimer m_second;
    qint64 m_startedAtMs = 0;
    qint64 m_processId = 0; // stays after the end
    int m_starts = 0;
    int m_crashes = 0;
    std::optional<HostStatus::LastEnd> m_lastEnd;
    bool m_isEnding = false;
};
