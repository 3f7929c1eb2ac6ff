#pragma once
#include <QProcess>
#include <QString>

/// How a controller has ended.
struct ControllerEnd
{
    bool wasSignal = false;
    int number = 0;   // of the signal, or the exit status
    int silentMs = 0; // it was ended because it gave no sign of life for so long; 0: it was not

    static ControllerEnd of(int status, QProcess::ExitStatus how);

    bool isInOrder() const { return !wasSignal && number == 0 && silentMs == 0; }
    bool isWrongUse() const { return !wasSignal && number == 2; } // the controller refuses its arguments
    QString reason() const; // "exit status 3", "signal SIGSEGV", "no sign of life for 60 s"
};

/// "SIGSEGV"; the number when it has no name.
QString signalName(int number);

/// "60 s", "0.5 s".
QString secondsText(qint64 ms);

/// "0:00:07", "27:46:40".
QString timeText(qint64 seconds);
