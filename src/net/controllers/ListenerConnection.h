#pragma once
#include "io/Backlog.h"
#include "net/controllers/ListenerSession.h"
#include "net/link/LinkSocket.h"
#include <QHostAddress>

#include <functional>
#include <memory>
#include <mutex>

/// How a listener reaches its target and introduces itself.
struct ListenerOptions
{
    QHostAddress bindAddress = QHostAddress(QHostAddress::Any); // an IPv4 one: connections come from it
    quint16 port = 6139;                                        // of the targets
    QByteArray handshake;                                       // the body of code 1F
};

/// One connection to a target, from the first attempt to its end; the next one is another object.
/// Owns: the socket and the session. Thread: one I/O thread for life; send(), close() and the questions: any.
/// Ends: with its last holder, after the I/O thread has removed it.
class ListenerConnection final : public IoHandler,
                                 public PausableReader,
                                 public std::enable_shared_from_this<ListenerConnection>
{
public:
    enum class State { Connecting, Connected, Closed };
    using Told = std::function<void(ListenerConnection &connection, TargetMessage &message)>; // no lock is held

    /// Begins to connect, without waiting. Null when the system refuses at once.
    static std::shared_ptr<ListenerConnection> open(const QHostAddress &target, const ListenerOptions &options,
                                                    IoThread &thread, Told told);

    State state() const;
    int systemNumber() const; // of the target; -1 while it is not known

    void send(const QByteArray &body); // not connected: nothing
    void close();
    void setReading(bool isReading) override;

    int descriptor() const override { return m_socket.descriptor(); }
    quint32 firstEvents() const override;
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;
    void removed() override;

private:
    ListenerConnection(Descriptor socket, const QHostAddress &target, const QByteArray &handshake, IoThread &thread,
                       Told told);
    bool finishConnecting(quint32 epollEvents, qint64 nowMs);
    bool readAvailable(qint64 nowMs);

    const QHostAddress m_target;
    const QByteArray m_handshake;
    const Told m_told;
    std::vector<TargetMessage> m_messages; // of one read; kept for its capacity
    mutable std::mutex m_mutex;            // guards what follows
    State m_state = State::Connecting;
    LinkSocket m_socket;
    ListenerSession m_session;
};
