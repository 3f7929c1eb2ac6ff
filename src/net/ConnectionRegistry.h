#pragma once
#include "net/LinkCodes.h"
#include "net/SocketClient.h"

#include <algorithm>
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

    void add(SocketClient &client);
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
    };
    using Index = std::unordered_map<int, std::vector<SocketClient *>>;
    void unindex(SocketClient &client, const Peer &peer);

    mutable std::mutex m_mutex;
    std::unordered_map<SocketClient *, Peer> m_all;
    Index m_byNumber;
    Index m_byType; // tools and controllers; panels are found by number only
};
