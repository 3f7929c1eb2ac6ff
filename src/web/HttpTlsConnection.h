#pragma once
#include "web/HttpConnectionHandlerPool.h"
#include "web/HttpConversation.h"
#include <QObject>
#include <QSslConfiguration>

#include <vector>

class QSslSocket;
class QThread;

/// What every connection of a listener needs; it outlives them.
struct HttpService
{
    const HttpSettings &settings;
    HttpRequestHandler &handler;
    HttpConnectionHandlerPool &pool;
};

/// Serves one encrypted connection.
/// Owns: the socket and the timer (Qt children), the conversation. Thread: one of HttpTlsThreads for life.
/// Ends: deletes itself when the connection does.
class HttpTlsConnection : public QObject
{
public:
    class Place : public HttpPlace
    {
    public:
        using HttpPlace::HttpPlace;
        void giveUp() override { isGivenUp = true; }
        void setStalling(bool isStalling) { m_isStalling = isStalling; }
        void setActive(qint64 nowMs) { m_activeMs = nowMs; }
        std::atomic<bool> isGivenUp{ false };
    };

    HttpTlsConnection(Descriptor socket, const QSslConfiguration &configuration, const HttpService &service,
                      std::shared_ptr<Place> place, QObject *parent);
    ~HttpTlsConnection() override;

private:
    void move(); // bytes in both directions, as far as they go
    bool moveOut();
    void tick();

    const HttpService m_service;
    const std::shared_ptr<Place> m_place;
    HttpConversation m_conversation;
    QSslSocket *m_socket = nullptr; // Qt child
    qint64 m_lingersUntilMs = 0;    // all is said; the rest is on its way
    const qint64 m_beganMs;
};

/// A few threads with event loops, on which encrypted connections are served.
/// Owns: the threads and the connections. Thread: made and ended by the owner; accept() on any.
/// Ends: with its owner; every connection is gone then.
class HttpTlsThreads
{
public:
    HttpTlsThreads(const QSslConfiguration &configuration, const HttpService &service, int threads);
    ~HttpTlsThreads();
    HttpTlsThreads(const HttpTlsThreads &) = delete;
    HttpTlsThreads &operator=(const HttpTlsThreads &) = delete;

    void accept(HttpConnectionHandlerPool::Newcomer client);
    /// Tells the client that there is no place, as soon as it has asked for something. The counter outlives this: of
    /// those that there are.
    void turnAway(Descriptor socket, std::atomic<int> &count);

    /// A server's configuration with the key and the certificates of two PEM files; why there is none.
    static std::optional<QSslConfiguration> configure(const HttpSettings &settings, QString &problem);

private:
    struct Lane
    {
        std::unique_ptr<QThread> thread;
        QObject *connections = nullptr; // their parent; lives on the thread and is deleted at its end
    };
    template <class Make>
    void onSomeLane(Make make);

    const QSslConfiguration m_configuration;
    const HttpService m_service;
    const HttpSettings m_briefly; // for those that are turned away
    const std::unique_ptr<HttpRequestHandler> m_noPlace;
    std::vector<Lane> m_lanes;
    std::atomic<size_t> m_next{ 0 };
};
