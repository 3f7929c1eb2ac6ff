#pragma once
#include <QProcess>

/// The controller's process. It gets a process group of its own, so that a Control-C at the terminal reaches it through
/// the supervisor only, and it is killed by the system when the supervisor dies without having ended it.
/// Thread: the main thread, which must live as long as the process: the system watches the thread that started it.
class ChildController : public QProcess
{
    Q_OBJECT
public:
    using QProcess::QProcess;

    bool hasInGroup(qint64 processId) const; // the controller, or a process that it has started
    void killGroup();
    void signal(int number) const; // to the controller alone

protected:
    void setupChildProcess() override; // in the child, before the controller's program takes over
};
