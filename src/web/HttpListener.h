#pragma once
#include "web/HttpConnectionHandlerPool.h"
#include "web/HttpRequestHandler.h"
#include "web/HttpSettings.h"

#include <atomic>
#include <memory>
#include <vector>

class HttpTlsThreads;
class IoThread;

/// The web server: accepts connections and deals them out to threads of its own, so that web traffic never delays
/// panels.
/// Owns: the threads and with them the connections. Thread: made and ended by its owner; the handler is called on the
/// threads. Ends: with its owner, before the handler.
class HttpListener
{
public:
    /// Listens at once; see isListening(). The handler outlives it.
    /// \param threads  0: as many as there are cores
    HttpListener(const HttpSettings &settings, HttpRequestHandler &handler, int threads = 0);
    ~HttpListener();
    HttpListener(const HttpListener &) = delete;
    HttpListener &operator=(const HttpListener &) = delete;

    bool isListening() const { return m_port > 0; }
    bool isEncrypted() const { return m_tls != nullptr; }
    quint16 port() const { return m_port; }       // the one that is in use
    QString error() const { return m_error; }     // why it does not listen
    QString warning() const { return m_warning; } // why it is not encrypted though it should be
    int connectionCount() const { return m_pool.size(); }

private:
    void startTls(int threads);
    void listen(int threads);
    void serve(HttpConnectionHandlerPool::Newcomer newcomer); // any thread
    void turnAway(Descriptor socket);                         // on the thread that accepts
    class Waiting;

    const HttpSettings m_settings;
    HttpRequestHandler &m_handler;
    HttpConnectionHandlerPool m_pool;
    std::atomic<int> m_turnedAway{ 0 };
    quint16 m_port = 0;
    QString m_error;
    QString m_warning;
    std::unique_ptr<HttpTlsThreads> m_tls; // null: connections are plain
    std::vector<std::unique_ptr<IoThread>> m_threads;
    std::atomic<size_t> m_nextThread{ 0 };
};
