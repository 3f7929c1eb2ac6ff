#include "web/HttpConnectionHandlerPool.h"

HttpConnectionHandlerPool::HttpConnectionHandlerPool(int maxHandlers)
    : m_maxHandlers(static_cast<size_t>(maxHandlers))
{}

int HttpConnectionHandlerPool::size() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_places.size());
}

bool HttpConnectionHandlerPool::makeRoom()
{
    std::shared_ptr<HttpPlace> loser;
    {
        const std::lock_guard lock(m_mutex);
        if (m_places.size() < m_maxHandlers) {
            return true;
        }
        loser = takeStalling();
    }
    if (loser) {
        loser->giveUp();
    }
    return loser != nullptr;
}

void HttpConnectionHandlerPool::add(const std::shared_ptr<HttpPlace> &place)
{
    const std::lock_guard lock(m_mutex);
    m_places.emplace(place.get(), place);
}

void HttpConnectionHandlerPool::remove(const HttpPlace &place)
{
    const std::lock_guard lock(m_mutex);
    m_places.erase(&place);
}

std::shared_ptr<HttpPlace> HttpConnectionHandlerPool::takeStalling()
{
    for (auto at = m_places.begin(); at != m_places.end(); ++at) {
        if (auto place = at->second.lock(); place && place->isStalling()) {
            m_places.erase(at);
            return place;
        }
    }
    return nullptr;
}
