#pragma once
#include "base/Descriptor.h"
#include <QtGlobal>

#include <memory>
#include <unordered_map>
#include <vector>

struct epoll_event;

/// Milliseconds on the monotonic clock that the link's times are measured with. Any thread.
qint64 linkClockMs();

/// Something with a file descriptor that a loop serves. Every function but descriptor() is called on the loop's thread.
class IoHandler
{
public:
    virtual ~IoHandler() = default;
    virtual int descriptor() const = 0;  // stays the same and open until removed(); -1: only the ticks are wanted
    virtual quint32 firstEvents() const; // epoll events that an I/O thread waits for at first; incoming data

    /// Data has come, or there is room to write, as the epoll events say. False: done with, remove me.
    virtual bool ready(quint32 epollEvents, qint64 nowMs) = 0;
    virtual bool tick(qint64 nowMs) = 0; // every 200 ms; false: remove me
    virtual void due() {}                // what IoThread::callLater() was asked for
    virtual void removed() {}            // no more calls will come; the place to close the descriptor

private:
    friend class IoLoop;
    bool m_isServed = false; // a loop has it
};

/// Many descriptors in one epoll set. Who owns the loop drives it: a thread of its own, or the main thread's event
/// loop.
/// Owns: the epoll descriptor, and its handlers together with whoever else holds them.
/// Thread: one for everything but watch(), which any thread may call. A handler may add and remove handlers, itself
///       too, and may let serve() and tickAll() be entered again, which a nested event loop does: a removed handler
///       lives on until the outermost of them returns.
/// Ends: close(), which removes every handler that is left.
class IoLoop
{
public:
    static constexpr qint64 kTickMs = 200;

    IoLoop() = default;
    ~IoLoop() { close(); }
    IoLoop(const IoLoop &) = delete;
    IoLoop &operator=(const IoLoop &) = delete;

    bool open(); // false when the system has no descriptors left
    void removeAll();
    void close(); // after removeAll()

    int descriptor() const { return m_epoll.get(); } // readable when some handler has something to do
    bool isEmpty() const { return m_handlers.empty(); }

    bool add(std::shared_ptr<IoHandler> handler, quint32 epollEvents); // false: the system refuses, and it is removed()
    void watch(IoHandler &handler, quint32 epollEvents); // from now on wait for these; the handler has been added
    void remove(IoHandler &handler);                     // one that is not served: nothing

    /// Waits for events, serves the handlers that they belong to, each at most once, and returns their number.
    int serve(int waitMs, int mostHandlers = kMostPerRound);
    void tickAll(qint64 nowMs);
    static bool isServed(const IoHandler &handler) { return handler.m_isServed; }

private:
    static constexpr int kMostPerRound = 256;
    class Round; // within serve() or tickAll()

    Descriptor m_epoll;
    int m_rounds = 0; // nested in one another
    std::unordered_map<IoHandler *, std::shared_ptr<IoHandler>> m_handlers;
    std::vector<std::shared_ptr<IoHandler>> m_leaving; // removed within a round; later events of it may name them
};
