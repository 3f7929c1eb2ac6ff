#pragma once
#include "base/Descriptor.h"
#include <QString>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

/// A connection as the pool sees it: one that is served takes a place.
class HttpPlace
{
public:
    HttpPlace(const QString &address, qint64 nowMs)
        : m_activeMs(nowMs)
        , m_address(address)
    {}
    virtual ~HttpPlace() = default;
    virtual void giveUp() = 0; // the place is another's now: end the connection. Any thread.

    const QString &address() const { return m_address; } // of the client
    bool isStalling() const { return m_isStalling; }     // any thread, like the next
    qint64 activeMs() const { return m_activeMs; }       // when a byte has gone one way or the other

protected:
    std::atomic<bool> m_isStalling{ false }; // kept up to date by the connection
    std::atomic<qint64> m_activeMs;

private:
    const QString m_address;
};

/// Counts the connections that are served at once. When all places are taken, a client that stalls in the middle of a
/// request loses its place to a new one. So does the one of the address with the most places that has idled longest,
/// when the new one's address has fewer. Else the new one waits for a place: whoever closes a connection and opens the
/// next one may be seen to open it first.
/// Owns: the sockets of those that wait. Thread: any. Ends: after the connections.
class HttpConnectionHandlerPool
{
public:
    static constexpr qint64 kWaitMs = 1000;

    struct Newcomer
    {
        Descriptor socket{};
        QString address{};
        qint64 sinceMs = 0;
    };
    using Serve = std::function<void(Newcomer newcomer)>; // is to add() a place for it

    HttpConnectionHandlerPool(int maxHandlers, Serve serve);
    ~HttpConnectionHandlerPool();

    int size() const;
    bool take(Newcomer &newcomer); // serves it now or later. False: too many wait, and it stays the caller's
    void add(const std::shared_ptr<HttpPlace> &place);
    void remove(const HttpPlace &place); // one that has none any more: nothing
    void stop();                         // nobody is served any more
    bool beginLingering();               // of a connection that gave up its place; false: too many do
    void endLingering() { --m_lingering; }
    std::vector<Descriptor> tick(qint64 nowMs); // serves who waits; sockets for which no place has become free

private:
    bool makeRoom(const QString &address, std::shared_ptr<HttpPlace> &loser); // the mutex is held, like in the next
    std::shared_ptr<HttpPlace> idlestOf(const QString &address);

    const size_t m_maxHandlers;
    const Serve m_serve;
    std::atomic<size_t> m_lingering{ 0 };
    mutable std::mutex m_mutex; // guards what follows
    struct Taken
    {
        quint64 turn = 0; // in which the places were taken
        std::weak_ptr<HttpPlace> place{};
    };
    std::unordered_map<const HttpPlace *, Taken> m_places;
    quint64 m_lastTurn = 0;
    size_t m_promised = 0; // places of those that are about to be added
    std::deque<Newcomer> m_waiting;
    bool m_isStopped = false;
};
