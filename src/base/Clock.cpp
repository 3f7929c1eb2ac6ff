#include "base/Clock.h"

#include <QTimer>

#include <algorithm>
#include <chrono>

namespace {
Clock *current = nullptr;

qint64 systemMicros()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}
} // namespace

Clock::Clock(Drive drive)
    : m_drive(drive)
    , m_previous(current)
    , m_byHandStart(QDate(2024, 1, 1), QTime(12, 0))
{
    current = this;
}

Clock::~Clock()
{
    current = m_previous;
}

Clock &Clock::instance()
{
    if (!current) {
        static Clock system;
        current = &system;
    }
    return *current;
}

qint64 Clock::monotonicMicros() const
{
    return m_drive == Drive::System ? systemMicros() : m_byHandMs * 1000;
}

QDateTime Clock::localDateTime() const
{
    return m_drive == Drive::System ? QDateTime::currentDateTime() : m_byHandStart.addMSecs(m_byHandMs);
}

qint64 Clock::nowMicros() const
{
    using namespace std::chrono;
    return m_drive == Drive::System ? duration_cast<microseconds>(system_clock::now().time_since_epoch()).count()
                                    : localDateTime().toMSecsSinceEpoch() * 1000;
}

int Clock::every(int periodMs, Job job)
{
    return add(std::max(periodMs, 1), periodMs, std::move(job));
}

int Clock::after(int delayMs, Job job)
{
    return add(0, delayMs, std::move(job));
}

void Clock::cancel(int ticket)
{
    m_entries.erase(ticket);
}

void Clock::advance(qint64 ms)
{
    Q_ASSERT(m_drive == Drive::ByHand);
    const qint64 end = m_byHandMs + ms;
    for (auto next = earliest(); next != m_entries.end() && next->second.dueMs <= end; next = earliest()) {
        m_byHandMs = std::max(m_byHandMs, next->second.dueMs);
        runDue(m_byHandMs);
    }
    m_byHandMs = std::max(m_byHandMs, end); // a job may have advanced further
}

void Clock::setLocalDateTime(const QDateTime &now)
{
    Q_ASSERT(m_drive == Drive::ByHand);
    m_byHandStart = now.addMSecs(-m_byHandMs);
}

int Clock::add(int periodMs, int delayMs, Job job)
{
    const int ticket = ++m_lastTicket;
    m_entries.emplace(ticket, Entry{ monotonicMs() + std::max(delayMs, 0), periodMs, std::move(job) });
    arm();
    return ticket;
}

void Clock::runDue(qint64 nowMs)
{
    // A job may add and cancel jobs, also itself, so the due tickets are noted first and looked up again.
    std::vector<std::pair<qint64, int>> due;
    for (const auto &[ticket, entry] : m_entries) {
        if (entry.dueMs <= nowMs) {
            due.emplace_back(entry.dueMs, ticket);
        }
    }
    std::sort(due.begin(), due.end());
    for (const auto &[dueMs, ticket] : due) {
        const auto found = m_entries.find(ticket);
        if (found == m_entries.end() || found->second.dueMs != dueMs) {
            continue; // cancelled, or run by a nested event loop meanwhile
        }
        const Job job = found->second.job;
        if (const int periodMs = found->second.periodMs; periodMs == 0) {
            m_entries.erase(found);
        } else {
            const qint64 missed = (nowMs - dueMs) / periodMs;
            found->second.dueMs += (missed + 1) * periodMs;
        }
        job();
    }
}

void Clock::arm()
{
    if (m_drive == Drive::ByHand) {
        return;
    }
    const auto next = earliest();
    if (next == m_entries.end()) {
        return;
    }
    if (!m_timer) {
        m_timer = std::make_unique<QTimer>();
        m_timer->setSingleShot(true);
        m_timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(m_timer.get(), &QTimer::timeout, m_timer.get(), [this] {
            // Armed again before the jobs run: one of them may wait in an event loop of its own.
            const qint64 nowMs = monotonicMs();
            arm();
            runDue(nowMs);
            arm();
        });
    }
    const qint64 waitMs = std::clamp<qint64>(next->second.dueMs - monotonicMs(), 0, 60000);
    m_timer->start(static_cast<int>(waitMs));
}

std::map<int, Clock::Entry>::iterator Clock::earliest()
{
    return std::min_element(m_entries.begin(), m_entries.end(),
                            [](const auto &a, const auto &b) { return a.second.dueMs < b.second.dueMs; });
}
