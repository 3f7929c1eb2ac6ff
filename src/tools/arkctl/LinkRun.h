#pragma once
#include "net/client/LinkClient.h"
#include "tools/arkctl/Console.h"
#include <QObject>
#include <QString>

#include <optional>
#include <string>

class QTimer;

/// A controller's address as given on the command line.
struct Endpoint
{
    QString host;
    quint16 port = LinkClient::kDefaultPort;

    std::string text() const;
};

/// ADDRESS, ADDRESS:PORT, [IPV6] or [IPV6]:PORT; nothing when it is none of them.
std::optional<Endpoint> parseEndpoint(const QString &text);

/// Why there is no connection to a controller, and what to try.
struct ConnectionFault
{
    std::string what;
    std::string tryThis;

    static ConnectionFault refused(const Endpoint &endpoint, const QString &reason);
    static ConnectionFault stranger(const Endpoint &endpoint, const QByteArray &words); // it is something else
    static ConnectionFault closed(const Endpoint &endpoint);
    static ConnectionFault silence(const Endpoint &endpoint, bool isConnected);
};

struct RunOptions
{
    Endpoint endpoint;
    int timeoutMs = 5000;
};

/// What every command with a connection has in common: it connects, begins once the controller has asked who we are,
/// and ends the event loop with an outcome.
/// Owns: console and client (Qt children). Thread: the main thread.
/// Ends: with main(), after run().
class LinkRun : public QObject
{
    Q_OBJECT
public:
    LinkRun(const LinkClient::Identity &identity, const RunOptions &options);
    Outcome run(); // until finish()

    /// The management tool: no device, so that the program's online handlers leave it alone.
    static LinkClient::Identity tool();
    static LinkClient::Identity panel(int device);

protected:
    virtual void begin() = 0;                          // introduced: to work
    virtual void leave(const std::string & /*why*/) {} // before the complaint
    virtual void unanswered();                         // awaitAnswer() has waited in vain: fails
    virtual void lost();                               // the connection, after it had been made: fails
    virtual Outcome outcomeWhenStopped() const { return Outcome::Done; }
    virtual std::string adviceWhenLost() const { return "see whether it is restarting, and try again"; }

    Console &console() { return *m_console; }
    LinkClient &client() { return *m_client; }
    const RunOptions &options() const { return m_options; }
    void finish(Outcome outcome);                                   // the first one counts
    void fail(const std::string &what, const std::string &tryThis); // says so, with the address, and finishes
    void fail(const ConnectionFault &fault) { fail(fault.what, fault.tryThis); }

    /// Fails unless answered(), or the next awaitAnswer(), comes within the time limit.
    void awaitAnswer(int workMs = 0); // what the controller has to do first, in addition
    void answered();

private:
    void giveUpConnecting();

    const RunOptions m_options;
    Console *m_console = nullptr;   // Qt child
    LinkClient *m_client = nullptr; // Qt child
    QTimer *m_patience = nullptr;   // Qt child
    std::optional<Outcome> m_outcome;
    bool m_wasIntroduced = false;
};
