#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>

/// A connection as the pool sees it: one that is served takes a place.
class HttpPlace
{
public:
    virtual ~HttpPlace() = default;
    virtual void giveUp() = 0; // the place is another's now: end the connection. Any thread.

    bool isStalling() const { return m_isStalling; } // any thread

protected:
    std::atomic<bool> m_isStalling{ false }; // kept up to date by the connection
};

/// Counts the connections that are served at once. When all places are taken, a client that stalls in the middle of a
/// request loses its place to a new one; one that is merely silent keeps it.
/// Thread: any; makeRoom() and add() on the one that accepts. Ends: after the connections.
class HttpConnectionHandlerPool
{
public:
    explicit HttpConnectionHandlerPool(int maxHandlers);

    int size() const;
    bool makeRoom(); // false: there is no place
    void add(const std::shared_ptr<HttpPlace> &place);
    void remove(const HttpPlace &place);

private:
    std::shared_ptr<HttpPlace> takeStalling(); // the mutex is held

    const size_t m_maxHandlers;
    mutable std::mutex m_mutex; // guards m_places
    std::unordered_map<const HttpPlace *, std::weak_ptr<HttpPlace>> m_places;
};
