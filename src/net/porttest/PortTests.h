#pragma once
#include "net/porttest/PortTestEndpoints.h"
#include <QThread>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

class SocketClient;

/// The port tests of one connection: at most one endpoint of each kind.
/// Owns: the endpoints. Thread: the port test thread. Ends: with the connection.
class PortTestSession : public QObject
{
    Q_OBJECT
public:
    /// \param reports  whether the peer is a management tool: only those are told
    PortTestSession(std::weak_ptr<SocketClient> peer, bool reports);

    void perform(const PortTest::Request &request);

private:
    void perform(const PortTest::Start &start);
    void perform(const PortTest::Stop &stop);
    void perform(const PortTest::Send &send);
    PortTestEndpoint &endpoint(PortTest::Kind kind); // made when it is missing
    void report(const PortTest::Report &report) const;

    const std::weak_ptr<SocketClient> m_peer;
    const bool m_reports;
    std::map<PortTest::Kind, std::unique_ptr<PortTestEndpoint>> m_endpoints;
};

/// All port tests of the controller. They wait for names and peers on a thread of their own, which panels never notice;
/// it starts with the first request.
/// Owns: the thread, and through it the sessions. Thread: any. Ends: with the link.
class PortTests
{
public:
    PortTests();
    ~PortTests();
    PortTests(const PortTests &) = delete;
    PortTests &operator=(const PortTests &) = delete;

    void request(SocketClient &peer, const QByteArray &body); // on the peer's I/O thread
    void peerClosed(SocketClient &peer);

private:
    using Sessions = std::unordered_map<SocketClient *, std::unique_ptr<PortTestSession>>;
    struct Worker : QObject // lives on the thread
    {
        Sessions sessions;
    };

    QThread m_thread;
    Worker *m_worker; // deleted when the thread finishes
    std::once_flag m_onceStarted;
    std::atomic<bool> m_isStarted{ false };
};
