#include "net/link/ConnectionRegistry.h"
#include "base/Monitor.h"

#include <utility>

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

void ConnectionRegistry::setLimits(int most, int mostOfOne)
{
    const std::lock_guard lock(m_mutex);
    m_most = static_cast<size_t>(most);
    m_mostOfOne = static_cast<size_t>(mostOfOne);
}

bool ConnectionRegistry::add(SocketClient &client)
{
    const std::lock_guard lock(m_mutex);
    const size_t ofOne = m_places.value(client.peerAddress()).size();
    const bool isTooMuch = ofOne >= m_mostOfOne && m_mostOfOne > 0;
    if (isTooMuch || (m_taken >= m_most && m_most > 0 && !makeRoom(ofOne))) {
        return false;
    }
    takePlace(client, m_all[&client]);
    return true;
}

void ConnectionRegistry::introduce(SocketClient &client, int type, int deviceNumber)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_all.find(&client);
    if (found == m_all.end()) {
        return;
    }
    unindex(client, found->second);
    found->second.type = type;
    found->second.deviceNumber = deviceNumber;
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
        leavePlace(client, found->second);
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

void ConnectionRegistry::takePlace(SocketClient &client, Peer &peer)
{
    peer.place = ++m_lastPlace;
    m_places[client.peerAddress()].emplace(peer.place, &client);
    ++m_taken;
}

void ConnectionRegistry::leavePlace(SocketClient &client, Peer &peer)
{
    const auto found = m_places.find(client.peerAddress());
    if (found != m_places.end() && found->erase(std::exchange(peer.place, 0)) > 0) {
        --m_taken;
        if (found->empty()) {
            m_places.erase(found);
        }
    }
}

bool ConnectionRegistry::makeRoom(size_t ofNewcomer)
{
    const auto holdsFewer = [](const Places &left, const Places &right) { return left.size() < right.size(); };
    const auto largest = std::max_element(m_places.begin(), m_places.end(), holdsFewer);
    if (largest == m_places.end() || largest->size() <= ofNewcomer + 1) {
        return false;
    }
    auto loser = std::find_if(largest->begin(), largest->end(),
                              [this](const auto &each) { return m_all.at(each.second).type == PeerType::kUnknown; });
    loser = loser != largest->end() ? loser : largest->begin();
    SocketClient &client = *loser->second;
    leavePlace(client, m_all.at(&client));
    client.close();
    return true;
}
