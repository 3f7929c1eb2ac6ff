#include "EchoConversation.h"
#include "LineConversation.h"
#include "LinkConversation.h"
#include "LoadGenerator.h"
#include "MqttConversation.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

// Loads a server with many clients and prints what they saw, one "name value" a line.

namespace {
constexpr int kUsageStatus = 2;
constexpr int kWarmMs = 300;
constexpr int kFirstPanel = 10001;

struct Request
{
    std::string protocol;
    sockaddr_in server{};
    int clients = 0;
    int runMs = 0;
    int burstRounds = 0;
    int ports = 1; // clients take them in turns
};

std::optional<Request> parseArguments(int count, char **arguments)
{
    if (count != 7 && count != 8) {
        return std::nullopt;
    }
    Request request;
    request.protocol = arguments[1];
    request.server.sin_family = AF_INET;
    request.server.sin_port = htons(static_cast<std::uint16_t>(std::atoi(arguments[3])));
    request.clients = std::atoi(arguments[4]);
    request.runMs = std::atoi(arguments[5]);
    request.burstRounds = std::atoi(arguments[6]);
    request.ports = count == 8 ? std::atoi(arguments[7]) : 1;
    const bool isAddress = ::inet_pton(AF_INET, arguments[2], &request.server.sin_addr) == 1;
    return isAddress && request.clients > 0 && request.ports > 0 ? std::optional(request) : std::nullopt;
}

LoadGenerator::MakeConversation makerFor(const std::string &protocol)
{
    if (protocol == "echo") {
        return [](int) { return std::make_unique<EchoConversation>(); };
    }
    if (protocol == "line") {
        return [](int client) { return std::make_unique<LineConversation>(client); };
    }
    if (protocol == "link") {
        return [](int client) { return std::make_unique<LinkConversation>(kFirstPanel + client); };
    }
    if (protocol == "mqtt") {
        return [](int client) { return std::make_unique<MqttConversation>(client); };
    }
    return nullptr;
}

/// \param sorted  at least one value
double quantileUs(const std::vector<std::int64_t> &sorted, double share)
{
    const auto last = static_cast<double>(sorted.size() - 1);
    return static_cast<double>(sorted[static_cast<size_t>(last * share)]) / 1000;
}

void print(LoadGenerator::Exchange exchange)
{
    std::sort(exchange.latenciesNs.begin(), exchange.latenciesNs.end());
    if (!exchange.latenciesNs.empty()) {
        std::printf("p50_us %.1f\n", quantileUs(exchange.latenciesNs, 0.50));
        std::printf("p99_us %.1f\n", quantileUs(exchange.latenciesNs, 0.99));
    }
    std::printf("per_second %.0f\n", static_cast<double>(exchange.latenciesNs.size()) / exchange.seconds);
    std::printf("lost %d\n", exchange.lost);
    std::printf("extra %d\n", exchange.extra);
}

void print(LoadGenerator::Burst burst)
{
    std::sort(burst.untilAllServedNs.begin(), burst.untilAllServedNs.end());
    std::printf("burst_p50_ms %.2f\n", quantileUs(burst.untilAllServedNs, 0.50) / 1000);
    std::printf("burst_worst_ms %.2f\n", quantileUs(burst.untilAllServedNs, 1) / 1000);
    std::printf("burst_lost %d\n", burst.lost);
    std::printf("burst_extra %d\n", burst.extra);
}
} // namespace

int main(int count, char **arguments)
{
    const std::optional<Request> request = parseArguments(count, arguments);
    const LoadGenerator::MakeConversation make = request ? makerFor(request->protocol) : nullptr;
    if (!make) {
        std::fprintf(stderr,
                     "Usage: panel_load link|echo|line|mqtt ADDRESS PORT CLIENTS RUN-MS BURST-ROUNDS [PORTS]\n");
        return kUsageStatus;
    }
    LoadGenerator generator(request->server, request->ports);
    if (!generator.connectAll(request->clients, make)) {
        std::fprintf(stderr, "Not all %d clients could be connected.\n", request->clients);
        return 1;
    }
    if (request->runMs > 0) {
        print(generator.exchange(kWarmMs, request->runMs));
    }
    if (request->burstRounds > 0) {
        print(generator.burst(request->burstRounds));
    }
    std::printf("answers %lld\n", static_cast<long long>(generator.answers()));
    return 0;
}
