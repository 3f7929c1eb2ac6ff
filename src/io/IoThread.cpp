#include "io/IoThread.h"
#include "base/Descriptor.h"

#include <algorithm>

#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

/// Gets the thread out of its wait.
class IoThread::Wake final : public IoHandler
{
public:
    explicit Wake(IoThread &thread)
        : m_thread(thread)
        , m_event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    {}

    void call() const // any thread
    {
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one); // full means awake already
    }

    int descriptor() const override { return m_event.get(); }
    bool ready(quint32, qint64) override
    {
        quint64 calls = 0;
        if (::read(m_event.get(), &calls, sizeof calls) > 0) {
            m_thread.takeAdded();
        }
        return true;
    }
    bool tick(qint64) override { return true; }

private:
    IoThread &m_thread;
    const Descriptor m_event;
};

int usableCores()
{
    cpu_set_t cores;
    const bool isKnown = ::sched_getaffinity(0, sizeof cores, &cores) == 0;
    return isKnown ? std::max(CPU_COUNT(&cores), 1) : 1;
}

IoThread::IoThread() = default;

IoThread::~IoThread()
{
    stop();
}

bool IoThread::start()
{
    m_wake = std::make_shared<Wake>(*this);
    if (m_wake->descriptor() < 0 || !m_loop.open() || !m_loop.add(m_wake, EPOLLIN)) {
        stop();
        return false;
    }
    m_isStopping = false;
    m_thread = std::thread([this] { run(); });
    return true;
}

void IoThread::stop()
{
    m_isStopping = true;
    if (m_thread.joinable()) {
        m_wake->call();
        m_thread.join();
    }
    m_loop.close(); // the wake-up call stays: others may still add, in vain
}

void IoThread::add(std::shared_ptr<IoHandler> handler)
{
    {
        const std::lock_guard lock(m_addedMutex);
        m_added.push_back(std::move(handler));
    }
    m_wake->call();
}

void IoThread::callLater(std::shared_ptr<IoHandler> handler)
{
    m_later.push_back({ linkClockMs() + kLaterMs, std::move(handler) });
}

void IoThread::run()
{
    qint64 tickAtMs = linkClockMs() + IoLoop::kTickMs;
    while (!m_isStopping) {
        const qint64 wakeAtMs = m_later.empty() ? tickAtMs : std::min(tickAtMs, m_later.front().atMs);
        const qint64 waitMs = std::clamp<qint64>(wakeAtMs - linkClockMs(), 0, IoLoop::kTickMs);
        m_loop.serve(static_cast<int>(waitMs));
        const qint64 nowMs = linkClockMs();
        callDue(nowMs);
        if (nowMs >= tickAtMs) {
            tickAtMs = nowMs + IoLoop::kTickMs;
            m_loop.tickAll(nowMs);
        }
    }
    takeAdded(); // they too are removed on this thread
    m_later.clear();
    m_loop.removeAll();
}

void IoThread::callDue(qint64 nowMs)
{
    while (!m_later.empty() && m_later.front().atMs <= nowMs) {
        const std::shared_ptr<IoHandler> handler = std::move(m_later.front().handler);
        m_later.pop_front();
        if (IoLoop::isServed(*handler)) {
            handler->due();
        }
    }
}

void IoThread::takeAdded()
{
    std::vector<std::shared_ptr<IoHandler>> added;
    {
        const std::lock_guard lock(m_addedMutex);
        added.swap(m_added);
    }
    for (std::shared_ptr<IoHandler> &handler : added) {
        const quint32 firstEvents = handler->firstEvents();
        m_loop.add(std::move(handler), firstEvents);
    }
}
