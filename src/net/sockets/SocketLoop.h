#pragma once
#include "io/IoLoop.h"

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

/// The program's sockets on the main thread: one epoll set, which the thread's event loop sees as one descriptor. After
/// a few handlers, or a short while, the event loop gets its turn, so that what panels do comes in between; what has
/// not been read stays in the kernel, which slows the peer down.
/// Owns: the loop and the notifier. Thread: the main thread. A handler may let events in (a question to a panel does);
///       sockets are then served within it, up to a few levels deep.
/// Ends: with its last holder, also from within a handler; stop() removes all handlers before.
class SocketLoop : public QObject, public std::enable_shared_from_this<SocketLoop>
{
    Q_OBJECT
public:
    static std::shared_ptr<SocketLoop> make();
    ~SocketLoop() override;

    void stop();

    /// What waits for slow peers of all the program's TCP connections. When it would become more, a connection that
    /// has more than its share is refused new data.
    static constexpr qint64 kMostWaitingTogether = 64LL * 1024 * 1024;
    static constexpr int kShare = 1024 * 1024;
    qint64 &waitingBytes() { return m_waitingBytes; }

    IoLoop &io() { return m_io; }
    bool add(std::shared_ptr<IoHandler> handler, quint32 epollEvents);
    void later(std::function<void()> job); // from the event loop; not if this has ended before

private:
    SocketLoop();
    template <class Work>
    void enter(Work work);
    void leave();
    void serve();
    void tick();

    IoLoop m_io;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::vector<std::function<void()>> m_heldJobs;
    int m_depth = 0;       // of work within work
    bool m_isHeld = false; // the notifier is off because work is nested too deep
    bool m_isStopped = false;
    int m_tickTicket = 0;
    qint64 m_waitingBytes = 0;
};
