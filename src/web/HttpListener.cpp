#include "web/HttpListener.h"
#include "base/Messages.h"
#include "io/ListenSocket.h"
#include "web/HttpConnectionHandler.h"
#include "web/HttpTlsConnection.h"

#include <QDebug>

namespace {
constexpr int kMostTurnedAway = 100; // at once; more are closed without a word
}

/// Looks after those that wait for a place, on the thread that accepts.
/// Owns: nothing. Ends: with the thread.
class HttpListener::Waiting final : public IoHandler
{
public:
    explicit Waiting(HttpListener &listener)
        : m_listener(listener)
    {}
    int descriptor() const override { return -1; }
    bool ready(quint32, qint64) override { return true; }
    bool tick(qint64 nowMs) override
    {
        for (Descriptor &socket : m_listener.m_pool.tick(nowMs)) {
            m_listener.turnAway(std::move(socket));
        }
        return true;
    }

private:
    HttpListener &m_listener;
};

HttpListener::HttpListener(const HttpSettings &settings, HttpRequestHandler &handler, int threads)
    : m_settings(settings)
    , m_handler(handler)
    , m_pool(settings.maxThreads, [this](HttpConnectionHandlerPool::Newcomer newcomer) { serve(std::move(newcomer)); })
{
    const int count = threads > 0 ? threads : usableCores();
    const quint16 port = settings.port.value_or(0);
    if (!settings.port) {
        m_error = translated(QT_TRANSLATE_NOOP("messages", "The web settings name no port"));
        return;
    }
    startTls(count);
    listen(count);
    if (isListening()) {
        qDebug("HttpListener: Listening on port %i", m_port);
    } else {
        qDebug("HttpListener: Cannot bind on port %i: %s", port, qPrintable(m_error));
    }
}

HttpListener::~HttpListener()
{
    m_pool.stop();
    for (const std::unique_ptr<IoThread> &thread : m_threads) {
        thread->stop();
    }
    qDebug("HttpListener: closed");
    m_tls.reset();
    qDebug("HttpListener: destroyed");
}

void HttpListener::startTls(int threads)
{
    if (m_settings.sslKeyFile.isEmpty() || m_settings.sslCertFile.isEmpty()) {
        return;
    }
    if (const auto configuration = HttpTlsThreads::configure(m_settings, m_warning)) {
        m_tls = std::make_unique<HttpTlsThreads>(*configuration, HttpService{ m_settings, m_handler, m_pool }, threads);
    }
}

void HttpListener::listen(int threads)
{
    for (int count = 0; count < (m_tls ? 1 : threads); ++count) { // with TLS this one only accepts
        m_threads.push_back(std::make_unique<IoThread>());
        if (!m_threads.back()->start()) {
            m_error = translated(QT_TRANSLATE_NOOP("messages", "Cannot start the network threads"));
            return;
        }
    }
    IoThread &first = *m_threads.front();
    ListenSocket::Result listening = ListenSocket::open(
        m_settings.host, *m_settings.port, first.loop(), [this](Descriptor socket, const QString &address) {
            HttpConnectionHandlerPool::Newcomer newcomer{ std::move(socket), address, linkClockMs() };
            if (!m_pool.take(newcomer)) {
                turnAway(std::move(newcomer.socket));
            }
        });
    m_error = listening.error;
    if (listening.socket) {
        m_port = listening.socket->port();
        first.add(std::move(listening.socket));
        first.add(std::make_shared<Waiting>(*this));
    }
}

void HttpListener::serve(HttpConnectionHandlerPool::Newcomer newcomer)
{
    if (m_tls) {
        m_tls->accept(std::move(newcomer));
        return;
    }
    IoThread &thread = *m_threads[m_nextThread++ % m_threads.size()];
    const auto connection =
        std::make_shared<HttpConnectionHandler>(std::move(newcomer), thread, m_settings, m_handler, m_pool);
    m_pool.add(connection);
    thread.add(connection);
}

void HttpListener::turnAway(Descriptor socket)
{
    qDebug("HttpListener: Too many incoming connections");
    if (m_turnedAway >= kMostTurnedAway) {
        return;
    }
    if (m_tls) {
        m_tls->turnAway(std::move(socket), m_turnedAway);
    } else {
        m_threads.front()->add(std::make_shared<HttpTurnedAway>(std::move(socket), linkClockMs(), m_turnedAway));
    }
}
