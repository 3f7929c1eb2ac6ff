#pragma once
#include "base/Descriptor.h"
#include "io/IoThread.h"
#include "web/HttpConnectionHandlerPool.h"
#include "web/HttpConversation.h"

/// The system's end of one accepted connection without encryption.
/// Owns: the descriptor. Ends: the descriptor is closed with it.
class HttpSocket
{
public:
    static constexpr qint64 kLingerMs = 2000;

    explicit HttpSocket(Descriptor socket) // it does not block
        : m_socket(std::move(socket))
    {}
    int descriptor() const { return m_socket.get(); }

    enum class Progress { Some, Blocked, Broken };
    Progress send(HttpOutput &output); // a piece of it
    /// We have said all. What the client still says is thrown away until it closes: closing first could take our last
    /// words from it.
    void beginLingering(qint64 nowMs);
    bool isLingering() const { return m_lingersUntilMs > 0; }
    bool lingerOn(); // throws away what has come; false: the client has closed
    bool hasLingered(qint64 nowMs) const { return isLingering() && nowMs >= m_lingersUntilMs; }

private:
    Progress sendFile(HttpOutput &output);

    const Descriptor m_socket;
    qint64 m_lingersUntilMs = 0;
};

/// Serves one plain connection.
/// Owns: the socket and the conversation. Thread: one I/O thread for life. Ends: with its last holder.
class HttpConnectionHandler final : public IoHandler, public HttpPlace
{
public:
    /// The socket is connected and does not block. All the others outlive it.
    HttpConnectionHandler(HttpConnectionHandlerPool::Newcomer client, IoThread &thread, const HttpSettings &settings,
                          HttpRequestHandler &handler, HttpConnectionHandlerPool &pool);

    int descriptor() const override { return m_socket.descriptor(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;
    void removed() override;
    void giveUp() override;

private:
    bool read(qint64 nowMs);
    bool write(qint64 nowMs);
    void watch(bool isBlocked);

    HttpSocket m_socket;
    IoThread &m_thread;
    HttpConnectionHandlerPool &m_pool;
    HttpConversation m_conversation;
    quint32 m_watched;
    bool m_hasEnded = false; // the client's side of the stream
};

/// A connection that there is no place for: is told so, and closed.
/// Owns: the socket. Thread: one I/O thread for life. Ends: with its last holder.
class HttpTurnedAway final : public IoHandler
{
public:
    /// Takes the socket over and writes at once. The counter outlives it: of those that there are.
    HttpTurnedAway(Descriptor socket, qint64 nowMs, std::atomic<int> &count);
    ~HttpTurnedAway() override;

    int descriptor() const override { return m_socket.descriptor(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override { return !m_socket.hasLingered(nowMs); }

private:
    HttpSocket m_socket;
    std::atomic<int> &m_count;
};
