#pragma once
#include "net/controllers/ListenerConnection.h"

/// Keeps the connection to one other controller: as long as it is there, an address that does not answer is tried
/// again every 800 ms.
/// Owns: the connection of the moment. Thread: one I/O thread for life; send(), close() and status(): any.
/// Ends: with its last holder, after close().
class DeviceListener final : public IoHandler, public std::enable_shared_from_this<DeviceListener>
{
public:
    static constexpr qint64 kReconnectMs = 800;
    enum class Status : qint32 { Unconnected = 0, Connected = 1, NumberKnown = 2 };
    /// On the I/O thread; never after close().
    using Told = std::function<void(const std::shared_ptr<PausableReader> &from, TargetMessage &message)>;

    /// \param backlog  what the main thread has not handled yet; while it is full no new connection is made.
    ///                 Not used after close(). The thread outlives the listener.
    DeviceListener(const QHostAddress &target, const ListenerOptions &options, IoThread &thread, const Backlog &backlog,
                   Told told);

    QHostAddress target() const { return m_target; }
    Status status() const;

    void send(const QByteArray &body); // not connected: nothing
    void close();                      // for good

    int descriptor() const override { return -1; }
    bool ready(quint32, qint64) override { return true; }
    bool tick(qint64 nowMs) override;

private:
    void connectTarget(qint64 nowMs); // the mutex is held
    void take(ListenerConnection &connection, TargetMessage &message);
    std::shared_ptr<ListenerConnection> connection() const;

    const QHostAddress m_target;
    const ListenerOptions m_options;
    IoThread &m_thread;
    const Backlog &m_backlog;
    const Told m_told;
    qint64 m_connectAtMs = 0;    // I/O thread only, like the next
    bool m_wasConnected = false; // when it looked last
    mutable std::mutex m_mutex;  // guards what follows
    bool m_isClosed = false;
    std::shared_ptr<ListenerConnection> m_connection; // null: there is none
};
