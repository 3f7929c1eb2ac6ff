#pragma once
#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

/// Messages on sockets of their own, sent in the background: TCP by many threads, because each may wait some seconds
/// for its peer or for a name server; UDP by one, so that datagrams leave in the order in which they were sent. Owns:
/// threads, made when there is something to do, that end when there is not. Thread: any. Ends: with the process, which
/// does not wait for the threads; see finish().
class OneShotSends
{
public:
    static constexpr int kMostTcpThreads = 32;
    static constexpr int kMostWaiting = 1000; // of each kind
    static constexpr int kMostWaitingBytes = 16 * 1024 * 1024;
    static constexpr int kConnectMs = 2000;
    static constexpr int kWriteMs = 2000;

    static OneShotSends &instance();

    // False: too many are waiting. Nothing else is ever reported.
    bool sendTcp(const QString &host, int port, const QByteArray &data);
    bool sendUdp(const QString &address, int port, const QByteArray &data);

    /// Nothing new is taken; waits until all is sent, no longer than that.
    void finish(int mostMs);

private:
    class Lane;
    OneShotSends();
    std::shared_ptr<Lane> m_tcp; // shared with its threads
    std::shared_ptr<Lane> m_udp;
};
