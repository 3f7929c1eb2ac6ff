#include "net/IoThread.h"

#include <algorithm>
#include <chrono>

#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

qint64 linkClockMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

int usableCores()
{
    cpu_set_t cores;
    const bool isKnown = ::sched_getaffinity(0, sizeof cores, &cores) == 0;
    return isKnown ? std::max(CPU_COUNT(&cores), 1) : 1;
}

quint32 IoHandler::firstEvents() const
{
    return EPOLLIN;
}

IoThread::IoThread() = default;

IoThread::~IoThread()
{
    stop();
}

bool IoThread::start()
{
    m_epoll = ::epoll_create1(EPOLL_CLOEXEC);
    m_wake = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLIN; // data.ptr stays null: no handler has that address
    if (m_epoll < 0 || m_wake < 0 || ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_wake, &event) != 0) {
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
        wake();
        m_thread.join();
    }
    for (int *descriptor : { &m_epoll, &m_wake }) {
        if (*descriptor >= 0) {
            ::close(*descriptor);
            *descriptor = -1;
        }
    }
}

void IoThread::add(std::shared_ptr<IoHandler> handler)
{
    {
        const std::lock_guard lock(m_addedMutex);
        m_added.push_back(std::move(handler));
    }
    wake();
}

void IoThread::watch(IoHandler &handler, quint32 epollEvents)
{
    epoll_event event{};
    event.events = epollEvents;
    event.data.ptr = &handler;
    ::epoll_ctl(m_epoll, EPOLL_CTL_MOD, handler.descriptor(), &event);
}

void IoThread::run()
{
    constexpr int kEventsPerRound = 256;
    epoll_event events[kEventsPerRound];
    qint64 tickAtMs = linkClockMs() + kTickMs;
    while (!m_isStopping) {
        const qint64 waitMs = std::clamp<qint64>(tickAtMs - linkClockMs(), 0, kTickMs);
        serve(::epoll_wait(m_epoll, events, kEventsPerRound, static_cast<int>(waitMs)), events);
        if (const qint64 nowMs = linkClockMs(); nowMs >= tickAtMs) {
            tickAtMs = nowMs + kTickMs;
            tickAll();
        }
        m_leaving.clear();
    }
    takeAdded();
    while (!m_handlers.empty()) {
        remove(m_handlers.begin()->first);
    }
    m_leaving.clear();
}

void IoThread::takeAdded()
{
    std::vector<std::shared_ptr<IoHandler>> added;
    {
        const std::lock_guard lock(m_addedMutex);
        added.swap(m_added);
    }
    for (std::shared_ptr<IoHandler> &handler : added) {
        IoHandler *const key = handler.get();
        m_handlers.emplace(key, std::move(handler));
        epoll_event event{};
        event.events = key->firstEvents();
        event.data.ptr = key;
        const int descriptor = key->descriptor();
        if (descriptor >= 0 && ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event) != 0) {
            remove(key);
        }
    }
}

void IoThread::serve(int count, const epoll_event *events)
{
    const qint64 nowMs = linkClockMs();
    bool hasAdded = false;
    for (int index = 0; index < count; ++index) { // a count of -1 is an interrupted wait
        auto *const handler = static_cast<IoHandler *>(events[index].data.ptr);
        if (!handler) {
            quint64 wakes = 0;
            hasAdded = ::read(m_wake, &wakes, sizeof wakes) > 0;
        } else if (!handler->ready(events[index].events, nowMs)) {
            remove(handler);
        }
    }
    if (hasAdded) {
        takeAdded();
    }
}

void IoThread::tickAll()
{
    const qint64 nowMs = linkClockMs();
    std::vector<IoHandler *> done;
    for (const auto &[handler, owner] : m_handlers) {
        if (!handler->tick(nowMs)) {
            done.push_back(handler);
        }
    }
    std::for_each(done.begin(), done.end(), [this](IoHandler *handler) { remove(handler); });
}

void IoThread::remove(IoHandler *handler)
{
    const auto found = m_handlers.find(handler);
    if (found == m_handlers.end()) {
        return;
    }
    ::epoll_ctl(m_epoll, EPOLL_CTL_DEL, handler->descriptor(), nullptr); // without a descriptor it fails, harmless
    m_leaving.push_back(std::move(found->second));
    m_handlers.erase(found);
    handler->removed();
}

void IoThread::wake()
{
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one); // full means awake already
}
