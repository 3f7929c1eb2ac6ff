#pragma once
#include "base/Descriptor.h"
#include "base/Frame.h"

#include <QLocalServer>
#include <QPointer>

#include <functional>
#include <optional>

class QLocalSocket;

/// The supervisor's socket: the controller tells its LEDs there, tools ask for the status.
/// Who connects is told apart by its process, which the system knows: what the controller may say, nobody else may. A
/// tool asks once, within five seconds and a few bytes; when sixteen are connected the oldest gives way. Owns: the
/// server with its connections, and a lock, so that of two that start at once only one listens. Thread: the main
/// thread. Ends: with the supervisor.
class HostSocket : public QObject
{
    Q_OBJECT
public:
    struct Questions
    {
        std::function<bool(qint64 processId)> isController;
        std::function<QByteArray()> status; // as JSON
    };
    enum class PortFrames { Hide, Show };

    HostSocket(const Questions &questions, PortFrames portFrames);
    ~HostSocket() override;

    std::optional<QString> listen(); // what went wrong

Q_SIGNALS:
    void ledChanged(int led, bool on);
    void portFrame(const QByteArray &frame);
    void controllerLeft(); // after all that it has told

private:
    void takeConnections();
    struct Tool;
    bool takeLock();
    void serveController(QLocalSocket &socket);
    void serveTool(QLocalSocket &socket);
    void readController(QLocalSocket &socket, FrameParser &parser);
    void readTool(QLocalSocket &socket, Tool &tool);

    const Questions m_questions;
    const PortFrames m_portFrames;
    Descriptor m_lock; // of the lock file
    QLocalServer m_server;
    QPointer<QLocalSocket> m_controller; // the server's child
    QList<QLocalSocket *> m_tools;       // oldest first; the server's children
};
