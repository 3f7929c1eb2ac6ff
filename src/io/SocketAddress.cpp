#include "io/SocketAddress.h"

#include <algorithm>

#include <net/if.h>
#include <netinet/in.h>

SocketAddress::SocketAddress(const QHostAddress &address, quint16 port)
{
    if (address.protocol() == QAbstractSocket::IPv4Protocol) {
        auto *const ipv4 = reinterpret_cast<sockaddr_in *>(&storage);
        ipv4->sin_family = AF_INET;
        ipv4->sin_port = htons(port);
        ipv4->sin_addr.s_addr = htonl(address.toIPv4Address());
        size = sizeof *ipv4;
        return;
    }
    auto *const ipv6 = reinterpret_cast<sockaddr_in6 *>(&storage);
    ipv6->sin6_family = AF_INET6; // QHostAddress::Any: all zeros, both protocols
    ipv6->sin6_port = htons(port);
    const Q_IPV6ADDR bytes = address.toIPv6Address();
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        std::copy(std::begin(bytes.c), std::end(bytes.c), ipv6->sin6_addr.s6_addr);
        bool isNumber = false;
        const uint scope = address.scopeId().toUInt(&isNumber);
        ipv6->sin6_scope_id = isNumber ? scope : ::if_nametoindex(address.scopeId().toLocal8Bit().constData());
    }
    size = sizeof *ipv6;
}

QHostAddress SocketAddress::host() const
{
    const QHostAddress address(get());
    bool isIpv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIpv4);
    return isIpv4 ? QHostAddress(ipv4) : address;
}

void SocketAddress::allowToCome(int socket) const
{
    const int on = 1;
    if (family() == AF_INET) {
        ::setsockopt(socket, IPPROTO_IP, IP_FREEBIND, &on, sizeof on);
    } else {
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_FREEBIND, &on, sizeof on);
    }
}

quint16 SocketAddress::port() const
{
    if (family() == AF_INET) {
        return ntohs(reinterpret_cast<const sockaddr_in *>(&storage)->sin_port);
    }
    return ntohs(reinterpret_cast<const sockaddr_in6 *>(&storage)->sin6_port);
}

QString SocketAddress::text() const
{
    const QString address = host().toString();
    const char *const form = address.contains(QLatin1Char(':')) ? "[%1]:%2" : "%1:%2";
    return QString::fromLatin1(form).arg(address).arg(port());
}
