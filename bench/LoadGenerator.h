#pragma once
#include "Conversation.h"

#include <netinet/in.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// Many clients of one server, driven by one thread over epoll. Each has at most one request on its way.
/// Owns: the sockets and conversations. Ends: closes all connections.
class LoadGenerator
{
public:
    struct Exchange
    {
        std::vector<std::int64_t> latenciesNs; // in the order of the answers
        double seconds = 0;
        int lost = 0;  // requests without an answer
        int extra = 0; // answers that nobody waited for
    };
    struct Burst
    {
        std::vector<std::int64_t> untilAllServedNs; // one a round
        int lost = 0;
        int extra = 0;
    };
    using MakeConversation = std::function<std::unique_ptr<Conversation>(int client)>; // clients count from 0

    /// \param ports  of the server, from its port on; clients take them in turns
    explicit LoadGenerator(const sockaddr_in &server, int ports = 1);
    ~LoadGenerator();
    LoadGenerator(const LoadGenerator &) = delete;
    LoadGenerator &operator=(const LoadGenerator &) = delete;

    std::int64_t answers() const { return m_answers; } // all of them, also those that no figure counts

    /// Connects and greets the clients, a few at a time. False: not all were ready after 20 s.
    bool connectAll(int count, const MakeConversation &make);

    /// Every client asks again as soon as it has its answer. The first warmMs are not counted.
    Exchange exchange(int warmMs, int runMs);

    /// All clients ask at once, rounds times; the next round begins when all are served or after 5 s.
    Burst burst(int rounds);

private:
    struct Client
    {
        int socket = -1;
        std::unique_ptr<Conversation> conversation;
        std::string in;
        std::string out;            // what the socket has not taken yet
        std::int64_t askedAtNs = 0; // 0: nothing is on its way
        bool isConnected = false;
        bool watchesOutput = false;
    };

    void open(int number, const MakeConversation &make);
    void close(Client &client);
    void watch(Client &client, bool output);
    void pump(std::int64_t untilNs, const std::function<bool()> &isDone);
    void serve(Client &client, std::uint32_t events);
    void receive(Client &client);
    void answered(Client &client, std::int64_t nowNs);
    void ask(Client &client, std::int64_t nowNs);
    void flush(Client &client);
    void keepAlive(std::int64_t nowNs);
    int readyCount() const;

    sockaddr_in m_server;
    int m_ports;
    int m_epoll;
    std::vector<std::unique_ptr<Client>> m_clients;
    std::vector<std::int64_t> m_latenciesNs;
    bool m_asksAgain = false;
    int m_waiting = 0;
    int m_extra = 0;
    std::int64_t m_answers = 0;
    std::int64_t m_keptAliveAtNs = 0;
};
