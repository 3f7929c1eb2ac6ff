#include "net/sockets/SocketLoop.h"

#include "base/Clock.h"

#include <QSocketNotifier>

#include <chrono>

namespace {
constexpr int kHandlersAtOnce = 4;
constexpr int kMostNested = 8;
constexpr std::chrono::microseconds kTurn(50);
} // namespace

std::shared_ptr<SocketLoop> SocketLoop::make()
{
    return std::shared_ptr<SocketLoop>(new SocketLoop);
}

SocketLoop::SocketLoop()
{
    if (m_io.open()) { // else every add() fails, and the program hears of it
        m_notifier = std::make_unique<QSocketNotifier>(m_io.descriptor(), QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, &SocketLoop::serve);
    }
}

SocketLoop::~SocketLoop()
{
    stop();
}

void SocketLoop::stop()
{
    m_isStopped = true;
    Clock::instance().cancel(std::exchange(m_tickTicket, 0));
    if (m_notifier) {
        m_notifier->setEnabled(false);
    }
    m_io.removeAll();
}

bool SocketLoop::add(std::shared_ptr<IoHandler> handler, quint32 epollEvents)
{
    if (m_tickTicket == 0 && !m_isStopped) {
        m_tickTicket = Clock::instance().every(IoLoop::kTickMs, [this] { tick(); });
    }
    return m_io.add(std::move(handler), epollEvents) && !m_isStopped;
}

void SocketLoop::later(std::function<void()> job)
{
    QMetaObject::invokeMethod(
        this,
        [this, job = std::move(job)] {
            if (m_depth >= kMostNested) {
                m_heldJobs.push_back(job);
            } else {
                enter(job);
            }
        },
        Qt::QueuedConnection);
}

/// Does what may run the program's handlers, which may let go of everything here.
template <class Work>
void SocketLoop::enter(Work work)
{
    if (m_isStopped) {
        return;
    }
    const std::shared_ptr<SocketLoop> self = shared_from_this();
    ++m_depth;
    work();
    --m_depth;
    if (!m_isStopped) {
        leave();
    }
    if (self.use_count() == 1 && m_notifier) {
        m_notifier.release()->deleteLater(); // it may be the one that called us
    }
}

/// What was nested too deep gets its turn.
void SocketLoop::leave()
{
    if (std::exchange(m_isHeld, false)) {
        m_notifier->setEnabled(true);
    }
    for (std::function<void()> &job : std::exchange(m_heldJobs, {})) {
        later(std::move(job));
    }
}

void SocketLoop::serve()
{
    using std::chrono::steady_clock;
    if (m_depth >= kMostNested) {
        m_notifier->setEnabled(false);
        m_isHeld = true;
        return;
    }
    enter([this] {
        const steady_clock::time_point until = steady_clock::now() + kTurn;
        while (!m_isStopped && m_io.serve(0, kHandlersAtOnce) == kHandlersAtOnce && steady_clock::now() < until) {
        }
    });
}

void SocketLoop::tick()
{
    if (m_depth >= kMostNested) {
        return; // the next one will do
    }
    enter([this] { m_io.tickAll(Clock::instance().monotonicMs()); });
}
