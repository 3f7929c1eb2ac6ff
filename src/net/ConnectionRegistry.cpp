#include "net/ConnectionRegistry.h"
#include "base/Monitor.h"

namespace {
void takeOut(std::unordered_map<int, std::vector<SocketClient *>> &index, int key, SocketClient &client)
{
    const auto found = index.find(key);
    if (found == index.end()) {
        return;
    }
    std::vector<SocketClient *> &clients = found->second;
    clients.erase(std::remove(clients.begin(), clients.end(), &client), clients.end());
    if (clients.empty()) {
        index.erase(found);
    }
}
} // namespace

void ConnectionRegistry::add(SocketClient &client)
{
    const std::lock_guard lock(m_mutex);
    m_all.emplace(&client, Peer());
}

void ConnectionRegistry::introduce(SocketClient &client, int type, int deviceNumber)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_all.find(&client);
    if (found == m_all.end()) {
        return;
    }
    unindex(client, found->second);
    found->second = { type, deviceNumber };
    m_byNumber[deviceNumber].push_back(&client);
    if (type == PeerType::kManagementTool || type == PeerType::kController) {
        m_byType[type].push_back(&client);
    }
    if (type == PeerType::kManagementTool) {
        NotificationCenter::instance().addListener();
    }
}

void ConnectionRegistry::remove(SocketClient &client)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_all.find(&client);
    if (found != m_all.end()) {
        unindex(client, found->second);
        m_all.erase(found);
    }
}

void ConnectionRegistry::unindex(SocketClient &client, const Peer &peer)
{
    takeOut(m_byNumber, peer.deviceNumber, client);
    takeOut(m_byType, peer.type, client);
    if (peer.type == PeerType::kManagementTool) {
        NotificationCenter::instance().removeListener();
    }
}
