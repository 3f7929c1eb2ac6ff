#pragma once
#include <QtGlobal>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

/// Milliseconds on the monotonic clock that the link's times are measured with. Any thread.
qint64 linkClockMs();

/// How many threads can run at the same time, at least one.
int usableCores();

/// Something with a file descriptor that an I/O thread serves. Every function but descriptor() is called on that
/// thread.
class IoHandler
{
public:
    virtual ~IoHandler() = default;
    virtual int descriptor() const = 0;  // stays the same and open until removed(); -1: only the ticks are wanted
    virtual quint32 firstEvents() const; // epoll events to wait for when it is added; incoming data

    /// Data has come, or there is room to write, as the epoll events say. False: done with, remove me.
    virtual bool ready(quint32 epollEvents, qint64 nowMs) = 0;
    virtual bool tick(qint64 nowMs) = 0; // every 200 ms; false: remove me
    virtual void removed() {}            // no more calls will come; the place to close the descriptor
};

/// One thread that serves many descriptors: an epoll loop with one tick for all of them.
/// Owns: the thread, the epoll descriptor, and its handlers together with whoever else holds them.
/// Thread: add() and watch() on any thread; start() and stop() by the owner.
/// Ends: stop() removes every handler and joins the thread.
class IoThread
{
public:
    static constexpr qint64 kTickMs = 200;

    IoThread();
    ~IoThread();
    IoThread(const IoThread &) = delete;
    IoThread &operator=(const IoThread &) = delete;

    bool start(); // false when the system has no descriptors left
    void stop();

    void add(std::shared_ptr<IoHandler> handler);
    void watch(IoHandler &handler, quint32 epollEvents); // from now on wait for these; the handler has been added

private:
    void run();
    void takeAdded();
    void serve(int count, const struct epoll_event *events);
    void tickAll();
    void remove(IoHandler *handler);
    void wake();

    std::thread m_thread;
    std::atomic<bool> m_isStopping{ false };
    int m_epoll = -1;
    int m_wake = -1; // an eventfd
    std::mutex m_addedMutex;
    std::vector<std::shared_ptr<IoHandler>> m_added; // guarded by m_addedMutex
    std::unordered_map<IoHandler *, std::shared_ptr<IoHandler>> m_handlers;
    std::vector<std::shared_ptr<IoHandler>> m_leaving; // removed in this round; later events of it may name them
};
