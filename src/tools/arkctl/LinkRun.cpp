#include "tools/arkctl/LinkRun.h"
#include "net/link/LinkCodes.h"
#include "tools/arkctl/Rendering.h"
#include <QCoreApplication>
#include <QHostAddress>
#include <QRegularExpression>
#include <QTimer>

std::string Endpoint::text() const
{
    const bool isIpv6 = host.contains(QLatin1Char(':'));
    const QString shown = isIpv6 ? QStringLiteral("[%1]").arg(host) : host;
    return QStringLiteral("%1:%2").arg(shown).arg(port).toStdString();
}

std::optional<Endpoint> parseEndpoint(const QString &text)
{
    if (QHostAddress(text).protocol() == QAbstractSocket::IPv6Protocol) {
        return Endpoint{ text }; // without a port its brackets may be left out
    }
    static const QRegularExpression form(
        QStringLiteral("\\A(?:\\[([0-9A-Fa-f:.]+)\\]|([^\\s:\\[\\]]+))(?::([0-9]{1,5}))?\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    Endpoint endpoint{ match.captured(1) + match.captured(2) };
    if (const QString port = match.captured(3); !port.isEmpty()) {
        const int number = port.toInt();
        if (number < 1 || number > 65535) {
            return std::nullopt;
        }
        endpoint.port = static_cast<quint16>(number);
    }
    return endpoint;
}

namespace {
constexpr char kNameAController[] = "--host ADDRESS[:PORT] names a controller, which listens on port 6139";
} // namespace

ConnectionFault ConnectionFault::refused(const Endpoint &endpoint, const QString &reason)
{
    const bool isUnknown = reason == QStringLiteral("Host not found"); // Qt's text, which no catalogue translates here
    return { "no connection to " + endpoint.text() + ": " + reason.toStdString(),
             isUnknown ? "check the name, or give the address instead; arkctl discover shows addresses"
                       : "is the controller running there? --host ADDRESS[:PORT] names another" };
}

ConnectionFault ConnectionFault::stranger(const Endpoint &endpoint, const QByteArray &words)
{
    return { "no controller listens at " + endpoint.text() + ", but something that says " +
                 Rendering::quotedStart(words),
             kNameAController };
}

ConnectionFault ConnectionFault::closed(const Endpoint &endpoint)
{
    return { endpoint.text() + " closed the connection and did not say what it is", kNameAController };
}

ConnectionFault ConnectionFault::silence(const Endpoint &endpoint, bool isConnected)
{
    if (isConnected) {
        return { "what listens at " + endpoint.text() + " says nothing, as no controller does", kNameAController };
    }
    return { "no answer from " + endpoint.text() + " in time",
             "see whether a controller listens there, or give it longer with --timeout SECONDS" };
}

LinkRun::LinkRun(const LinkClient::Identity &identity, const RunOptions &options)
    : m_options(options)
    , m_console(new Console(this))
    , m_client(new LinkClient(identity, this))
    , m_patience(new QTimer(this))
{
    m_patience->setSingleShot(true);
    connect(m_patience, &QTimer::timeout, this, [this] { unanswered(); });
    connect(m_console, &Console::stopRequested, this, [this] { finish(outcomeWhenStopped()); });
    connect(m_console, &Console::outputFailed, this, [this] { finish(Outcome::Failed); });
    connect(m_client, &LinkClient::introduced, this, [this] {
        m_wasIntroduced = true;
        begin();
    });
    connect(m_client, &LinkClient::heardStranger, this,
            [this](const QByteArray &words) { fail(ConnectionFault::stranger(m_options.endpoint, words)); });
    connect(m_client, &LinkClient::received, this, [this](const LinkMessage &message) {
        static const QByteArray keyword = "failed:";
        if (message.kind == LinkMessage::Kind::TextReply && message.body.startsWith(keyword)) {
            fail("the controller at " + m_options.endpoint.text() +
                     " says: " + Rendering::escaped(message.body.mid(keyword.size())),
                 "mend that, and try again");
        }
    });
    connect(m_client, &LinkClient::failed, this,
            [this](const QString &reason) { fail(ConnectionFault::refused(m_options.endpoint, reason)); });
    connect(m_client, &LinkClient::disconnected, this, [this] {
        if (m_wasIntroduced) {
            lost();
        } else {
            fail(ConnectionFault::closed(m_options.endpoint));
        }
    });
}

Outcome LinkRun::run()
{
    m_client->connectTo(m_options.endpoint.host, m_options.endpoint.port);
    QTimer::singleShot(m_options.timeoutMs, this, [this] {
        if (!m_wasIntroduced) {
            giveUpConnecting();
        }
    });
    if (!m_outcome) {
        QCoreApplication::exec();
    }
    m_client->disconnect(this);
    return m_outcome.value_or(Outcome::Done);
}

LinkClient::Identity LinkRun::tool()
{
    constexpr int kToolNumber = 100;
    return { PeerType::kManagementTool, kToolNumber, "arkctl", QCoreApplication::applicationVersion().toUtf8() };
}

LinkClient::Identity LinkRun::panel(int device)
{
    constexpr int kPanelType = 1;
    return { kPanelType, device, "arkctl", QCoreApplication::applicationVersion().toUtf8() };
}

void LinkRun::giveUpConnecting()
{
    fail(ConnectionFault::silence(m_options.endpoint, m_client->isConnected()));
}

void LinkRun::unanswered()
{
    fail("the controller at " + m_options.endpoint.text() + " does not answer",
         "see whether its program is in a long loop, and try again");
}

void LinkRun::lost()
{
    fail("the controller at " + m_options.endpoint.text() + " closed the connection", adviceWhenLost());
}

void LinkRun::awaitAnswer(int workMs)
{
    m_patience->start(m_options.timeoutMs + workMs);
}

void LinkRun::answered()
{
    m_patience->stop();
}

void LinkRun::finish(Outcome outcome)
{
    if (!m_outcome) {
        m_outcome = outcome;
        QCoreApplication::quit();
    }
}

void LinkRun::fail(const std::string &what, const std::string &tryThis)
{
    if (!m_outcome) {
        leave(what);
        Console::complain(what, tryThis);
        finish(Outcome::Failed);
    }
}
