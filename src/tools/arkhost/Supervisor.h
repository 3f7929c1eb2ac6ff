#pragma once
#include "base/Frame.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QProcess>
#include <QStringList>

#include <optional>

class QLocalSocket;

/// Keeps one controller running and shows its LEDs.
/// Owns: the controller's process and the socket it reports to. Thread: the main thread.
/// Ends: with the application, after the controller has ended.
class Supervisor : public QObject
{
    Q_OBJECT
public:
    enum class PortFrames { Hide, Show };

    Supervisor(const QString &controller, const QStringList &arguments, PortFrames portFrames);

    /// Listens and starts the controller. Nothing when all is well, else what went wrong.
    std::optional<QString> start();
    void end(); // asks the controller to end; ended() follows

Q_SIGNALS:
    void ended(int status);

private:
    std::optional<QString> listen();
    void startController();
    void takeConnection();
    void readFrames(QLocalSocket &socket, FrameParser &parser);
    void controllerEnded(int status, QProcess::ExitStatus how);
    void controllerFailed(QProcess::ProcessError error);

    const QString m_controllerPath;
    const QStringList m_arguments;
    const PortFrames m_portFrames;
    QLocalServer m_server;
    QProcess m_controller;
    QElapsedTimer m_age; // of the controller
    bool m_isEnding = false;
};
