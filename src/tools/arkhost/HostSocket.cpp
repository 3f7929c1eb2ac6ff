#include "tools/arkhost/HostSocket.h"

#include "tools/arkhost/HostProtocol.h"

#include <QDir>
#include <QLocalSocket>
#include <QTimer>

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
constexpr int kConnectTimeoutMs = 200;
constexpr int kMaxTools = 16;
constexpr int kToolTimeMs = 5000;
constexpr int kMaxQuestion = 64; // payload bytes
constexpr int kMaxToolBytes = 1024;

/// Of the process that connected; -1 when the system does not tell.
qint64 peerOf(const QLocalSocket &socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    const int descriptor = static_cast<int>(socket.socketDescriptor());
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : -1;
}

QString anotherListens()
{
    return QStringLiteral("Another supervisor listens on the socket %1.").arg(HostProtocol::serverName());
}
} // namespace

/// What a tool has sent so far.
struct HostSocket::Tool
{
    FrameParser parser = FrameParser(kMaxQuestion);
    int taken = 0; // bytes
};

HostSocket::HostSocket(const Questions &questions, PortFrames portFrames)
    : m_questions(questions)
    , m_portFrames(portFrames)
{
    connect(&m_server, &QLocalServer::newConnection, this, &HostSocket::takeConnections);
}

HostSocket::~HostSocket()
{
    m_server.disconnect(this);
    for (QObject *child : m_server.children()) {
        child->disconnect(this);
    }
}

std::optional<QString> HostSocket::listen()
{
    if (!takeLock()) {
        return anotherListens();
    }
    if (m_server.listen(HostProtocol::serverName())) {
        return std::nullopt;
    }
    QLocalSocket other;
    other.connectToServer(HostProtocol::serverName());
    if (other.waitForConnected(kConnectTimeoutMs)) {
        return anotherListens();
    }
    QLocalServer::removeServer(HostProtocol::serverName()); // left behind by one that crashed
    if (m_server.listen(HostProtocol::serverName())) {
        return std::nullopt;
    }
    return QStringLiteral("Cannot listen on the socket %1: %2").arg(HostProtocol::serverName(), m_server.errorString());
}

bool HostSocket::takeLock()
{
    // Held by the kernel for as long as the process lives; a file that cannot be had (another user's) is no obstacle,
    // the question whether somebody listens comes still.
    const QString path = QDir(QDir::tempPath()).filePath(HostProtocol::serverName() + QStringLiteral(".lock"));
    m_lock = Descriptor(::open(path.toLocal8Bit().constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    return !m_lock.isOpen() || ::flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

void HostSocket::takeConnections()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        if (m_questions.isController(peerOf(*socket))) {
            serveController(*socket);
        } else {
            serveTool(*socket);
        }
    }
}

void HostSocket::serveController(QLocalSocket &socket)
{
    if (m_controller) {
        m_controller->abort(); // it has connected anew
    }
    m_controller = &socket;
    connect(&socket, &QLocalSocket::disconnected, this, &HostSocket::controllerLeft);
    const auto parser = std::make_shared<FrameParser>();
    connect(&socket, &QLocalSocket::readyRead, this, [this, &socket, parser] { readController(socket, *parser); });
    if (m_portFrames == PortFrames::Show) {
        socket.write(frameBytes(HostProtocol::kWatchPorts, {}));
    }
    readController(socket, *parser); // what came before
}

void HostSocket::serveTool(QLocalSocket &socket)
{
    if (m_tools.size() == kMaxTools) {
        m_tools.takeFirst()->abort();
    }
    m_tools << &socket;
    connect(&socket, &QLocalSocket::disconnected, this, [this, &socket] { m_tools.removeAll(&socket); });
    QTimer::singleShot(kToolTimeMs, &socket, &QLocalSocket::abort);
    const auto tool = std::make_shared<Tool>();
    socket.setReadBufferSize(kMaxToolBytes);
    connect(&socket, &QLocalSocket::readyRead, this, [this, &socket, tool] { readTool(socket, *tool); });
    readTool(socket, *tool); // what came before
}

void HostSocket::readController(QLocalSocket &socket, FrameParser &parser)
{
    for (const Frame &frame : parser.feed(socket.readAll())) {
        if (!frame.checksumOk) {
            continue;
        }
        if (frame.code == HostProtocol::kLed && frame.body.size() == 2) {
            Q_EMIT ledChanged(static_cast<quint8>(frame.body.at(0)), frame.body.at(1) != 0);
        } else if (frame.code == HostProtocol::kPortFrame) {
            Q_EMIT portFrame(frame.body);
        }
    }
}

void HostSocket::readTool(QLocalSocket &socket, Tool &tool)
{
    const QByteArray bytes = socket.readAll();
    tool.taken += bytes.size();
    for (const Frame &frame : tool.parser.feed(bytes)) {
        if (frame.checksumOk && frame.code == HostProtocol::kAskStatus) {
            disconnect(&socket, &QLocalSocket::readyRead, this, nullptr);
            socket.write(frameBytes(HostProtocol::kStatus, m_questions.status()));
            socket.disconnectFromServer(); // when all is out
            return;
        }
    }
    if (tool.taken > kMaxToolBytes) {
        socket.abort();
    }
}
