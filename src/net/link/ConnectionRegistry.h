#pragma once
#include "net/link/LinkCodes.h"
#include "net/link/SocketClient.h"

#include <QHash>

#include <algorithm>
#include <map>
#include <mutex>
#include <unordered_map>
#include <vector>

/// The live connections, found by the number or the kind of their peer without asking every one.
/// Owns: nothing; a connection is removed before it is destroyed.
/// Thread: any. The functions that visit hold the lock meanwhile: a visitor sends, and does not call back in here.
class ConnectionRegistry
{
public:
    bool hasPeer(int deviceNumber) const
    {
        const std::lock_guard lock(m_mutex);
        return m_byNumber.count(deviceNumber) != 0;
    }

    size_t size() const
    {
        const std::lock_guard lock(m_mutex);
        return m_all.size();
    }

    /// \param most          connections at once; 0: any number
    /// \param mostOfOne     of one address
    void setLimits(int most, int mostOfOne);

    /// Adds a connection. When all places are taken, the address that holds the most of them gives one up: of those
    /// that have not introduced themselves the oldest, else the oldest of all. False: that is the newcomer's address.
    bool add(SocketClient &client);
    void introduce(SocketClient &client, int type, int deviceNumber); // again, when it calls itself something else
    void remove(SocketClient &client);                                // one that was never added: nothing

    template <class Visitor>
    void visitNumber(int deviceNumber, Visitor visit) const
    {
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_byNumber.find(deviceNumber); found != m_byNumber.end()) {
            std::for_each(found->second.begin(), found->second.end(), [&](SocketClient *client) { visit(*client); });
        }
    }

    template <class Visitor>
    void visitType(int type, Visitor visit) const // PeerType::kManagementTool or kController
    {
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_byType.find(type); found != m_byType.end()) {
            std::for_each(found->second.begin(), found->second.end(), [&](SocketClient *client) { visit(*client); });
        }
    }

    template <class Visitor>
    void visitAll(Visitor visit) const
    {
        const std::lock_guard lock(m_mutex);
        for (const auto &[client, peer] : m_all) {
            visit(*client);
        }
    }

private:
    struct Peer
    {
        int type = PeerType::kUnknown;
        int deviceNumber = -1;
        quint64 place = 0; // 0: it has none, or no longer
    };
    using Places = std::map<quint64, SocketClient *>; // oldest first
    using Index = std::unordered_map<int, std::vector<SocketClient *>>;
    void unindex(SocketClient &client, const Peer &peer);
    void takePlace(SocketClient &client, Peer &peer);
    void leavePlace(SocketClient &client, Peer &peer);
    bool makeRoom(size_t ofNewcomer);

    mutable std::mutex m_mutex;
    std::unordered_map<SocketClient *, Peer> m_all;
    Index m_byNumber;
    Index m_byType;                  // tools and controllers; panels are found by number only
    QHash<QString, Places> m_places; // by address
    quint64 m_lastPlace = 0;
    size_t m_taken = 0; // of the places
    size_t m_most = 0;
    size_t m_mostOfOne = 0;
};
