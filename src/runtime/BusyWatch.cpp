#include "runtime/BusyWatch.h"

#include "base/Messages.h"

#include <QCoreApplication>

BusyWatch::BusyWatch(const Run &run, const Places &places, Output output, std::chrono::milliseconds period)
    : m_run(run)
    , m_places(places)
    , m_output(std::move(output))
    , m_period(period)
    , m_thread([this] { watch(); })
{}

BusyWatch::~BusyWatch()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_ending.notify_one();
    m_thread.join();
}

void BusyWatch::watch()
{
    std::unique_lock lock(m_mutex);
    while (!m_ending.wait_for(lock, m_period, [this] { return m_isEnding; })) {
        lock.unlock();
        look();
        lock.lock();
    }
}

void BusyWatch::look()
{
    const quint32 turn = m_run.turn.load(std::memory_order_relaxed);
    const int statement = m_run.place.load(std::memory_order_relaxed);
    if (statement == 0 || turn != m_turn) {
        m_turn = turn;
        m_periods = 0;
        return;
    }
    ++m_periods;
    if (m_periods < kFirst || (m_periods - kFirst) % kAgain != 0) {
        return;
    }
    const QString seconds = QString::number((m_period * m_periods).count() / 1000);
    const QString text = translated(QT_TRANSLATE_NOOP("messages", "The program has been busy for %1 s")).arg(seconds);
    const QString line = m_places.lineOf(statement);
    m_output(line.isEmpty() ? text : QStringLiteral("%1 (%2, %3)").arg(text, line, m_places.bodyOf(statement)));
}
