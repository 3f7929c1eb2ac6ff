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
    QMetaObject::invokeMethod(this, std::move(job), Qt::QueuedConnection);
}

void SocketLoop::serve()
{
    using std::chrono::steady_clock;
    if (m_depth >= kMostNested) {
        m_notifier->setEnabled(false);
        m_isHeld = true;
        return;
    }
    const std::shared_ptr<SocketLoop> self = shared_from_this(); // a handler may let go of everything
    ++m_depth;
    const steady_clock::time_point until = steady_clock::now() + kTurn;
    while (!m_isStopped && m_io.serve(0, kHandlersAtOnce) == kHandlersAtOnce && steady_clock::now() < until) {
    }
    --m_depth;
    if (std::exchange(m_isHeld, false) && !m_isStopped) {
        m_notifier->setEnabled(true);
    }
    if (self.use_count() == 1) {
        m_notifier.release()->deleteLater(); // it is the one that called us
    }
}

void SocketLoop::tick()
{
    const std::shared_ptr<SocketLoop> self = shared_from_this();
    m_io.tickAll(Clock::instance().monotonicMs());
    if (m_io.isEmpty()) {
        Clock::instance().cancel(std::exchange(m_tickTicket, 0));
    }
}
