#pragma once
#include "net/IoThread.h"
#include <QHostAddress>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// The socket on which connections are accepted.
/// Owns: its descriptor. Thread: made anywhere, then served by the I/O thread it is added to.
/// Ends: with its last holder.
class ListenSocket final : public IoHandler
{
public:
    /// Called on the I/O thread with a connected non-blocking socket, which it takes over.
    using Accepted = std::function<void(int socket, const QString &peerAddress)>;

    struct Result
    {
        std::unique_ptr<ListenSocket> socket; // null: see error
        QString error;                        // with address, port and reason
    };

    /// \param port  0 for any free one
    static Result open(const QHostAddress &address, quint16 port, IoThread &thread, Accepted accepted);
    ~ListenSocket() override;

    quint16 port() const;
    int descriptor() const override { return m_socket; }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;

private:
    ListenSocket(int socket, IoThread &thread, Accepted accepted);

    const int m_socket;
    IoThread &m_thread;
    Accepted m_accepted;
    bool m_isResting = false; // the process has no descriptor left: the next try is at the next tick
};
