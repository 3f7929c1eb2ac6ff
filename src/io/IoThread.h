#pragma once
#include "io/IoLoop.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>

/// How many threads can run at the same time, at least one.
int usableCores();

/// One thread that serves many descriptors: a loop with one tick for all of them.
/// Owns: the thread and the loop. Thread: add() and watch() on any thread; start() and stop() by the owner.
/// Ends: stop() removes every handler and joins the thread.
class IoThread
{
public:
    IoThread();
    ~IoThread();
    IoThread(const IoThread &) = delete;
    IoThread &operator=(const IoThread &) = delete;

    bool start(); // false when the system has no descriptors left
    void stop();

    void add(std::shared_ptr<IoHandler> handler);
    void watch(IoHandler &handler, quint32 epollEvents) { m_loop.watch(handler, epollEvents); }
    IoLoop &loop() { return m_loop; } // for what runs on this thread

    /// Calls the handler's due() once, after kLaterMs, unless it has been removed by then. On this thread only.
    void callLater(std::shared_ptr<IoHandler> handler);
    static constexpr qint64 kLaterMs = 20;

private:
    class Wake;
    struct Later
    {
        qint64 atMs = 0;
        std::shared_ptr<IoHandler> handler;
    };
    void run();
    void callDue(qint64 nowMs);
    void takeAdded();

    std::thread m_thread;
    std::atomic<bool> m_isStopping{ false };
    IoLoop m_loop;
    std::shared_ptr<Wake> m_wake;
    std::deque<Later> m_later; // oldest first; on this thread only
    std::mutex m_addedMutex;
    std::vector<std::shared_ptr<IoHandler>> m_added; // guarded by m_addedMutex
};
