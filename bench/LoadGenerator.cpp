#include "LoadGenerator.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <netinet/tcp.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

namespace {
constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr int kMostGreetingAtOnce = 32;
constexpr int kGreetingMs = 20'000;
constexpr int kLastAnswersMs = 5'000; // how long an answer is waited for before it counts as lost
constexpr int kKeepAliveMs = 2'000;

std::int64_t nowNs()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}
} // namespace

LoadGenerator::LoadGenerator(const sockaddr_in &server, int ports)
    : m_server(server)
    , m_ports(ports)
    , m_epoll(::epoll_create1(EPOLL_CLOEXEC))
{}

LoadGenerator::~LoadGenerator()
{
    for (const auto &client : m_clients) {
        close(*client);
    }
    ::close(m_epoll);
}

bool LoadGenerator::connectAll(int count, const MakeConversation &make)
{
    const std::int64_t until = nowNs() + kGreetingMs * kNsPerMs;
    int ready = 0;
    while (ready < count && nowNs() < until) {
        while (static_cast<int>(m_clients.size()) < std::min(count, ready + kMostGreetingAtOnce)) {
            open(static_cast<int>(m_clients.size()), make);
        }
        pump(until, [&] { return readyCount() > ready; });
        ready = readyCount();
    }
    return ready == count;
}

LoadGenerator::Exchange LoadGenerator::exchange(int warmMs, int runMs)
{
    m_asksAgain = true;
    m_extra = 0;
    for (const auto &client : m_clients) {
        ask(*client, nowNs());
        flush(*client);
    }
    pump(nowNs() + warmMs * kNsPerMs, [] { return false; });
    m_latenciesNs.clear();
    const std::int64_t begun = nowNs();
    pump(begun + runMs * kNsPerMs, [] { return false; });
    const double seconds = static_cast<double>(nowNs() - begun) * 1e-9;

    Exchange result;
    result.latenciesNs = m_latenciesNs;
    result.seconds = seconds;
    m_asksAgain = false;
    pump(nowNs() + kLastAnswersMs * kNsPerMs, [this] { return m_waiting == 0; });
    result.lost = m_waiting;
    result.extra = m_extra;
    return result;
}

LoadGenerator::Burst LoadGenerator::burst(int rounds)
{
    Burst result;
    m_asksAgain = false;
    m_extra = 0;
    for (int round = 0; round < rounds && result.lost == 0; ++round) {
        const std::int64_t begun = nowNs();
        for (const auto &client : m_clients) {
            ask(*client, begun);
            flush(*client);
        }
        pump(begun + kLastAnswersMs * kNsPerMs, [this] { return m_waiting == 0; });
        result.untilAllServedNs.push_back(nowNs() - begun);
        result.lost += m_waiting;
    }
    result.extra = m_extra;
    return result;
}

void LoadGenerator::open(int number, const MakeConversation &make)
{
    auto client = std::make_unique<Client>();
    client->conversation = make(number);
    client->socket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(client->socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in server = m_server;
    server.sin_port = htons(static_cast<std::uint16_t>(ntohs(m_server.sin_port) + number % m_ports));
    ::connect(client->socket, reinterpret_cast<const sockaddr *>(&server), sizeof server);
    epoll_event wanted{};
    wanted.events = EPOLLIN | EPOLLOUT; // writable: connected
    wanted.data.ptr = client.get();
    client->watchesOutput = true;
    ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, client->socket, &wanted);
    m_clients.push_back(std::move(client));
}

void LoadGenerator::close(Client &client)
{
    if (client.socket >= 0) {
        ::close(client.socket);
    }
    client.socket = -1; // a request on its way stays unanswered and counts as lost
    client.isConnected = false;
}

void LoadGenerator::watch(Client &client, bool output)
{
    if (client.watchesOutput == output) {
        return;
    }
    client.watchesOutput = output;
    epoll_event wanted{};
    wanted.events = output ? EPOLLIN | EPOLLOUT : EPOLLIN;
    wanted.data.ptr = &client;
    ::epoll_ctl(m_epoll, EPOLL_CTL_MOD, client.socket, &wanted);
}

void LoadGenerator::pump(std::int64_t untilNs, const std::function<bool()> &isDone)
{
    std::array<epoll_event, 256> events;
    for (std::int64_t now = nowNs(); now < untilNs && !isDone(); now = nowNs()) {
        const auto waitMs = static_cast<int>(std::min<std::int64_t>((untilNs - now) / kNsPerMs + 1, 100));
        const int count = ::epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), waitMs);
        for (int index = 0; index < count; ++index) {
            const epoll_event &event = events[static_cast<size_t>(index)];
            serve(*static_cast<Client *>(event.data.ptr), event.events);
        }
        keepAlive(now);
    }
}

void LoadGenerator::serve(Client &client, std::uint32_t events)
{
    if (events & EPOLLERR) {
        close(client);
        return;
    }
    if (!client.isConnected && (events & EPOLLOUT)) {
        client.isConnected = true;
        client.conversation->greet(client.out);
    }
    if (events & (EPOLLIN | EPOLLHUP)) {
        receive(client);
    }
    flush(client);
}

void LoadGenerator::receive(Client &client)
{
    std::array<char, 4096> buffer;
    const ssize_t size = ::recv(client.socket, buffer.data(), buffer.size(), 0);
    if (size < 0 && errno == EAGAIN) {
        return;
    }
    if (size <= 0) {
        close(client);
        return;
    }
    client.in.append(buffer.data(), static_cast<size_t>(size));
    const Conversation::Taken taken = client.conversation->take(client.in, client.out);
    client.in.erase(0, taken.bytes);
    const std::int64_t now = nowNs();
    for (int answer = 0; answer < taken.answers; ++answer) {
        answered(client, now);
    }
}

void LoadGenerator::answered(Client &client, std::int64_t now)
{
    ++m_answers;
    if (client.askedAtNs == 0) {
        ++m_extra;
        return;
    }
    m_latenciesNs.push_back(now - client.askedAtNs);
    client.askedAtNs = 0;
    --m_waiting;
    if (m_asksAgain) {
        ask(client, now);
    }
}

/// The request leaves together with the acknowledgement that waits in front of it.
void LoadGenerator::ask(Client &client, std::int64_t now)
{
    client.conversation->ask(client.out);
    client.askedAtNs = now;
    ++m_waiting;
}

void LoadGenerator::flush(Client &client)
{
    if (client.socket < 0 || !client.isConnected) {
        return;
    }
    if (!client.out.empty()) {
        const ssize_t size = ::send(client.socket, client.out.data(), client.out.size(), MSG_NOSIGNAL);
        if (size < 0 && errno != EAGAIN) {
            close(client);
            return;
        }
        client.out.erase(0, static_cast<size_t>(std::max<ssize_t>(size, 0)));
    }
    watch(client, !client.out.empty());
}

void LoadGenerator::keepAlive(std::int64_t now)
{
    if (now - m_keptAliveAtNs < kKeepAliveMs * kNsPerMs) {
        return;
    }
    m_keptAliveAtNs = now;
    for (const auto &client : m_clients) {
        if (client->isConnected && client->conversation->isReady()) {
            client->conversation->keepAlive(client->out);
            flush(*client);
        }
    }
}

int LoadGenerator::readyCount() const
{
    return static_cast<int>(std::count_if(m_clients.begin(), m_clients.end(), [](const auto &client) {
        return client->isConnected && client->conversation->isReady();
    }));
}
