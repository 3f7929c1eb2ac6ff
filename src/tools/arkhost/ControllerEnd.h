#pragma once
#include <QProcess>
#include <QString>

/// How a controller has ended.
struct ControllerEnd
{
    bool wasSignal = false;
    int number = 0; // of the signal, or the exit status

    static ControllerEnd of(int status, QProcess::ExitStatus how);

    bool isInOrder() const { return !wasSignal && number == 0; }
    bool isWrongUse() const { return !wasSignal && number == 2; } // the controller refuses its arguments
    QString reason() const;                                       // "exit status 3", "signal SIGSEGV"
};

/// "SIGSEGV"; the number when it has no name.
QString signalName(int number);

/// "0:00:07", "27:46:40".
QString timeText(qint64 seconds);
