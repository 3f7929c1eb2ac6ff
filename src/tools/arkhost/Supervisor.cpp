#include "Supervisor.h"

#include <QLocalSocket>
#include <QTextStream>
#include <QTimer>

#include <memory>

namespace {
constexpr int kUsageStatus = 2;    // the controller refuses its arguments: starting it again is no use
constexpr int kShortLifeMs = 1000; // one that ends sooner is started again only after this time
constexpr int kKillAfterMs = 5000; // of a controller that was asked to end
constexpr int kConnectTimeoutMs = 200;

// The codes of the supervisor link.
constexpr quint8 kLed = 2;
constexpr quint8 kWatchPorts = 3;
constexpr quint8 kPortFrame = 4;

const QString &serverName()
{
    static const QString name = QStringLiteral("emulator");
    return name;
}

void say(const QString &text)
{
    QTextStream(stdout) << text << '\n';
}
} // namespace

Supervisor::Supervisor(const QString &controller, const QStringList &arguments, PortFrames portFrames)
    : m_controllerPath(controller)
    , m_arguments(arguments)
    , m_portFrames(portFrames)
{
    m_controller.setProcessChannelMode(QProcess::ForwardedChannels);
    connect(&m_server, &QLocalServer::newConnection, this, &Supervisor::takeConnection);
    connect(&m_controller, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &Supervisor::controllerEnded);
    connect(&m_controller, &QProcess::errorOccurred, this, &Supervisor::controllerFailed);
}

std::optional<QString> Supervisor::start()
{
    if (std::optional<QString> problem = listen()) {
        return problem;
    }
    startController();
    return std::nullopt;
}

void Supervisor::end()
{
    m_isEnding = true;
    if (m_controller.state() == QProcess::NotRunning) {
        Q_EMIT ended(0);
        return;
    }
    m_controller.terminate();
    QTimer::singleShot(kKillAfterMs, &m_controller, &QProcess::kill);
}

std::optional<QString> Supervisor::listen()
{
    if (m_server.listen(serverName())) {
        return std::nullopt;
    }
    QLocalSocket other;
    other.connectToServer(serverName());
    if (other.waitForConnected(kConnectTimeoutMs)) {
        return QStringLiteral("Another supervisor listens on the socket %1.").arg(serverName());
    }
    QLocalServer::removeServer(serverName()); // left behind by one that crashed
    if (m_server.listen(serverName())) {
        return std::nullopt;
    }
    return QStringLiteral("Cannot listen on the socket %1: %2").arg(serverName(), m_server.errorString());
}

void Supervisor::startController()
{
    if (!m_isEnding) {
        m_age.start();
        m_controller.start(m_controllerPath, m_arguments);
    }
}

void Supervisor::takeConnection()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        const auto parser = std::make_shared<FrameParser>();
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, socket, [this, socket, parser] { readFrames(*socket, *parser); });
        if (m_portFrames == PortFrames::Show) {
            socket->write(frameBytes(kWatchPorts, {}));
        }
    }
}

void Supervisor::readFrames(QLocalSocket &socket, FrameParser &parser)
{
    for (const Frame &frame : parser.feed(socket.readAll())) {
        if (!frame.checksumOk) {
            continue;
        }
        if (frame.code == kLed && frame.body.size() == 2) {
            const QLatin1String state(frame.body.at(1) != 0 ? "on" : "off");
            say(QStringLiteral("LED %1 %2").arg(static_cast<quint8>(frame.body.at(0))).arg(state));
        } else if (frame.code == kPortFrame) {
            say(QStringLiteral("port frame %1").arg(QString::fromLatin1(frame.body.toHex(' '))));
        }
    }
}

void Supervisor::controllerEnded(int status, QProcess::ExitStatus how)
{
    if (m_isEnding) {
        Q_EMIT ended(0);
        return;
    }
    if (how == QProcess::NormalExit && status == kUsageStatus) {
        Q_EMIT ended(status);
        return;
    }
    const QLatin1String reason(how == QProcess::NormalExit ? "ended" : "crashed");
    say(QStringLiteral("The controller has %1 with status %2 and is started again.").arg(reason).arg(status));
    QTimer::singleShot(m_age.elapsed() < kShortLifeMs ? kShortLifeMs : 0, this, &Supervisor::startController);
}

void Supervisor::controllerFailed(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart) { // every other failure is followed by the end of the process
        say(QStringLiteral("Cannot start %1: %2").arg(m_controllerPath, m_controller.errorString()));
        Q_EMIT ended(kUsageStatus);
    }
}
