#include "io/IoLoop.h"

#include <algorithm>
#include <chrono>

#include <sys/epoll.h>

qint64 linkClockMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

quint32 IoHandler::firstEvents() const
{
    return EPOLLIN;
}

/// Lets go of the handlers that have left, when the outermost round ends.
class IoLoop::Round
{
public:
    explicit Round(IoLoop &loop)
        : m_loop(loop)
    {
        ++m_loop.m_rounds;
    }
    ~Round()
    {
        if (--m_loop.m_rounds == 0) {
            m_loop.m_leaving.clear();
        }
    }
    Round(const Round &) = delete;
    Round &operator=(const Round &) = delete;

private:
    IoLoop &m_loop;
};

bool IoLoop::open()
{
    m_epoll = Descriptor(::epoll_create1(EPOLL_CLOEXEC));
    return m_epoll.isOpen();
}

void IoLoop::removeAll()
{
    const Round round(*this);
    while (!m_handlers.empty()) {
        remove(*m_handlers.begin()->first);
    }
}

void IoLoop::close()
{
    removeAll();
    m_epoll.close();
}

bool IoLoop::add(std::shared_ptr<IoHandler> handler, quint32 epollEvents)
{
    IoHandler *const key = handler.get();
    m_handlers.emplace(key, std::move(handler));
    key->m_isServed = true;
    epoll_event event{};
    event.events = epollEvents;
    event.data.ptr = key;
    const int descriptor = key->descriptor();
    if (descriptor < 0 || ::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, descriptor, &event) == 0) {
        return true;
    }
    const Round round(*this);
    remove(*key);
    return false;
}

void IoLoop::watch(IoHandler &handler, quint32 epollEvents)
{
    epoll_event event{};
    event.events = epollEvents;
    event.data.ptr = &handler;
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, handler.descriptor(), &event);
}

void IoLoop::remove(IoHandler &handler)
{
    const auto found = m_handlers.find(&handler);
    if (found == m_handlers.end()) {
        return;
    }
    const Round round(*this);
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, handler.descriptor(), nullptr); // without a descriptor it fails, harmless
    handler.m_isServed = false;
    m_leaving.push_back(std::move(found->second));
    m_handlers.erase(found);
    handler.removed();
}

int IoLoop::serve(int waitMs, int mostHandlers)
{
    epoll_event events[kMostPerRound];
    const int count = ::epoll_wait(m_epoll.get(), events, std::min(mostHandlers, kMostPerRound), waitMs);
    const Round round(*this);
    const qint64 nowMs = linkClockMs();
    for (int index = 0; index < count; ++index) { // a count of -1 is an interrupted wait
        auto *const handler = static_cast<IoHandler *>(events[index].data.ptr);
        if (handler->m_isServed && !handler->ready(events[index].events, nowMs)) {
            remove(*handler);
        }
    }
    return std::max(count, 0);
}

void IoLoop::tickAll(qint64 nowMs)
{
    const Round round(*this);
    std::vector<IoHandler *> handlers; // those that leave meanwhile live on until the round is over
    handlers.reserve(m_handlers.size());
    for (const auto &[handler, owner] : m_handlers) {
        handlers.push_back(handler);
    }
    for (IoHandler *handler : handlers) {
        if (handler->m_isServed && !handler->tick(nowMs)) {
            remove(*handler);
        }
    }
}
