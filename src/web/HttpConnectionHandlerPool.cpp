#include "web/HttpConnectionHandlerPool.h"

#include <QHash>

#include <algorithm>
#include <utility>

HttpConnectionHandlerPool::HttpConnectionHandlerPool(int maxHandlers, Serve serve)
    : m_maxHandlers(static_cast<size_t>(maxHandlers))
    , m_serve(std::move(serve))
{}

HttpConnectionHandlerPool::~HttpConnectionHandlerPool()
{
    stop();
}

int HttpConnectionHandlerPool::size() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_places.size());
}

bool HttpConnectionHandlerPool::take(Newcomer &newcomer)
{
    std::shared_ptr<HttpPlace> loser;
    {
        const std::lock_guard lock(m_mutex);
        if (!makeRoom(newcomer.address, loser)) {
            const bool mayWait = m_waiting.size() < m_maxHandlers && !m_isStopped;
            if (mayWait) {
                m_waiting.push_back(std::move(newcomer));
            }
            return mayWait;
        }
        ++m_promised;
    }
    if (loser) {
        loser->giveUp();
    }
    m_serve(std::move(newcomer));
    return true;
}

void HttpConnectionHandlerPool::add(const std::shared_ptr<HttpPlace> &place)
{
    const std::lock_guard lock(m_mutex);
    m_places.emplace(place.get(), Taken{ ++m_lastTurn, place });
    --m_promised;
}

void HttpConnectionHandlerPool::remove(const HttpPlace &place)
{
    Newcomer next;
    {
        const std::lock_guard lock(m_mutex);
        if (m_places.erase(&place) == 0 || m_waiting.empty()) {
            return;
        }
        next = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++m_promised;
    }
    m_serve(std::move(next));
}

void HttpConnectionHandlerPool::stop()
{
    const std::lock_guard lock(m_mutex);
    m_isStopped = true;
    m_waiting.clear();
}

bool HttpConnectionHandlerPool::beginLingering()
{
    if (m_lingering++ < m_maxHandlers) {
        return true;
    }
    --m_lingering;
    return false;
}

std::vector<Descriptor> HttpConnectionHandlerPool::tick(qint64 nowMs)
{
    std::vector<Descriptor> sockets;
    std::unique_lock lock(m_mutex);
    for (std::shared_ptr<HttpPlace> loser; !m_waiting.empty() && makeRoom(m_waiting.front().address, loser);) {
        Newcomer next = std::move(m_waiting.front()); // somebody stalls by now
        m_waiting.pop_front();
        ++m_promised;
        lock.unlock();
        if (loser) {
            loser->giveUp();
            loser.reset();
        }
        m_serve(std::move(next));
        lock.lock();
    }
    while (!m_waiting.empty() && nowMs - m_waiting.front().sinceMs >= kWaitMs) {
        sockets.push_back(std::move(m_waiting.front().socket));
        m_waiting.pop_front();
    }
    return sockets;
}

bool HttpConnectionHandlerPool::makeRoom(const QString &address, std::shared_ptr<HttpPlace> &loser)
{
    if (m_places.size() + m_promised < m_maxHandlers) {
        return true;
    }
    QHash<QString, int> held;
    for (const auto &[key, each] : m_places) {
        const std::shared_ptr<HttpPlace> place = each.place.lock();
        if (!place) {
            continue;
        }
        ++held[place->address()];
        if (place->isStalling()) {
            loser = place;
        }
    }
    if (!loser) {
        const auto largest = std::max_element(held.begin(), held.end());
        loser = largest != held.end() && *largest > held.value(address) + 1 ? idlestOf(largest.key()) : nullptr;
    }
    if (loser) {
        m_places.erase(loser.get());
    }
    return loser != nullptr;
}

std::shared_ptr<HttpPlace> HttpConnectionHandlerPool::idlestOf(const QString &address)
{
    std::shared_ptr<HttpPlace> idlest;
    std::pair<qint64, quint64> since; // of those that fell idle in one millisecond, who came first
    for (const auto &[key, each] : m_places) {
        const std::shared_ptr<HttpPlace> place = each.place.lock();
        if (!place || place->address() != address) {
            continue;
        }
        const std::pair itsSince(place->activeMs(), each.turn);
        if (!idlest || itsSince < since) {
            idlest = place;
            since = itsSince;
        }
    }
    return idlest;
}
