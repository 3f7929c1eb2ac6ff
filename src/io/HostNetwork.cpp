#include "io/HostNetwork.h"
#include "base/Messages.h"
#include <QHostAddress>
#include <QStringList>

namespace {
constexpr quint32 kLoopback = 127;
constexpr quint32 kFirstMulticast = 224; // what lies above is reserved
constexpr int kWidestPrefix = 8;
constexpr int kNarrowestPrefix = 30; // two hosts

quint32 maskOf(int prefix)
{
    return ~quint32(0) << (32 - prefix);
}

bool isForOneHost(quint32 address)
{
    const quint32 first = address >> 24;
    return first != 0 && first != kLoopback && first < kFirstMulticast;
}

/// Neither the network itself nor all of its hosts.
bool isHostIn(quint32 address, quint32 mask)
{
    return (address & ~mask) != 0 && (address & ~mask) != ~mask;
}

bool isNone(const QString &address)
{
    return address.isEmpty() || address == QLatin1String("0.0.0.0");
}
} // namespace

bool HostNetwork::hasGateway() const
{
    return !isNone(gateway);
}

bool operator==(const HostNetwork &one, const HostNetwork &other)
{
    return one.isDhcp == other.isDhcp &&
           (one.isDhcp || (one.ip == other.ip && one.netmask == other.netmask && one.gateway == other.gateway &&
                           one.nameServer == other.nameServer));
}

std::optional<quint32> dottedAddress(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    quint32 address = 0;
    for (const QString &part : parts) {
        const uint number = part.toUInt();
        if (number > 0xFF || QString::number(number) != part) {
            return std::nullopt;
        }
        address = address << 8 | number;
    }
    return parts.size() == 4 ? std::optional(address) : std::nullopt;
}

int prefixLength(const QString &netmask)
{
    const quint32 mask = dottedAddress(netmask).value_or(0);
    for (int prefix = 1; prefix <= 32; ++prefix) {
        if (mask == maskOf(prefix)) {
            return prefix;
        }
    }
    return 0;
}

std::optional<QString> problemOf(const HostNetwork &network)
{
    if (network.isDhcp) {
        return std::nullopt;
    }
    const int prefix = prefixLength(network.netmask);
    if (prefix < kWidestPrefix || prefix > kNarrowestPrefix) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is no netmask of a network")).arg(network.netmask);
    }
    const quint32 mask = maskOf(prefix);
    const std::optional<quint32> ip = dottedAddress(network.ip);
    if (!ip || !isForOneHost(*ip) || !isHostIn(*ip, mask)) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is no address that a controller can have")).arg(network.ip);
    }
    if (network.hasGateway()) {
        const std::optional<quint32> gateway = dottedAddress(network.gateway);
        const bool isNeighbour = gateway && (*gateway & mask) == (*ip & mask) && isHostIn(*gateway, mask);
        if (!isNeighbour || *gateway == *ip) {
            return translated(QT_TRANSLATE_NOOP("messages", "The gateway %1 is no neighbour of %2 with netmask %3"))
                .arg(network.gateway, network.ip, network.netmask);
        }
    }
    const std::optional<quint32> server = dottedAddress(network.nameServer);
    const bool isIpv6 = QHostAddress(network.nameServer).protocol() == QAbstractSocket::IPv6Protocol;
    if (!isNone(network.nameServer) && !isIpv6 && !(server && (isForOneHost(*server) || *server >> 24 == kLoopback))) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is no address of a name server")).arg(network.nameServer);
    }
    return std::nullopt;
}
