#include "tools/arkhost/StatusCommand.h"

#include "base/Frame.h"
#include "tools/arkhost/HostDisplay.h"
#include "tools/arkhost/HostProtocol.h"
#include "tools/arkhost/HostStatus.h"

#include <QDeadlineTimer>
#include <QLocalSocket>

#include <cerrno>
#include <cstdio>
#include <variant>

namespace {
constexpr int kRunning = 0;
constexpr int kNotRunning = 1;

struct NoAnswer
{
    const char *state; // for --json
    QString why;
};

int leftMs(const QDeadlineTimer &deadline)
{
    return static_cast<int>(deadline.remainingTime());
}

QString whyNotConnected(const QLocalSocket &socket)
{
    switch (socket.error()) {
    case QLocalSocket::ServerNotFoundError:
    case QLocalSocket::ConnectionRefusedError:
        return QStringLiteral("no supervisor listens on the socket %1; is arkhost running, with the same TMPDIR?")
            .arg(HostProtocol::serverName());
    case QLocalSocket::SocketAccessError:
        return QStringLiteral("no permission to use the socket %1; ask as the user who started arkhost")
            .arg(HostProtocol::serverName());
    default:
        return QStringLiteral("cannot connect to the socket %1: %2")
            .arg(HostProtocol::serverName(), socket.errorString());
    }
}

/// The status as JSON, or why there is none.
std::variant<QByteArray, NoAnswer> ask(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    socket.connectToServer(HostProtocol::serverName());
    if (!socket.waitForConnected(leftMs(deadline))) {
        return { NoAnswer{ "none", whyNotConnected(socket) } };
    }
    socket.write(frameBytes(HostProtocol::kAskStatus, {}));
    FrameParser parser;
    while (socket.bytesAvailable() > 0 || socket.waitForReadyRead(leftMs(deadline))) {
        for (const Frame &frame : parser.feed(socket.readAll())) {
            if (frame.checksumOk && frame.code == HostProtocol::kStatus) {
                return frame.body;
            }
        }
    }
    return NoAnswer{ "silent", QStringLiteral("no answer on the socket %1; does something else listen there, or an "
                                              "older supervisor?")
                                   .arg(HostProtocol::serverName()) };
}

/// False: it could not be written; said, unless nobody reads it any more.
bool print(const QByteArray &text)
{
    const auto size = static_cast<size_t>(text.size());
    if (std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0) {
        return true;
    }
    if (errno != EPIPE) {
        HostDisplay::complain(QStringLiteral("cannot write the output: %1").arg(qt_error_string(errno)));
    }
    return false;
}
} // namespace

int runStatusCommand(bool wantsJson, int timeoutMs)
{
    const auto answer = ask(timeoutMs);
    if (const auto *none = std::get_if<NoAnswer>(&answer)) {
        if (wantsJson) {
            print(QByteArray("{\"state\":\"") + none->state + "\"}\n");
        }
        HostDisplay::complain(none->why);
        return kNotRunning;
    }
    const auto &json = std::get<QByteArray>(answer);
    const std::optional<HostStatus> status = HostStatusText::fromJson(json);
    if (!status) {
        HostDisplay::complain(QStringLiteral("the supervisor answers in a form that this version does not know"));
        return kNotRunning;
    }
    const bool isPrinted = print(wantsJson ? json + '\n' : HostStatusText::lines(*status).toLocal8Bit());
    return isPrinted && status->isRunning() ? kRunning : kNotRunning;
}
