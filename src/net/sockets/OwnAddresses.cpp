#include "net/sockets/OwnAddresses.h"
#include "base/Descriptor.h"

#include "io/SocketAddress.h"

#include <QNetworkInterface>

#include <algorithm>

namespace {
bool isUp(const QNetworkInterface &interface)
{
    return interface.flags().testFlag(QNetworkInterface::IsUp) &&
           !interface.flags().testFlag(QNetworkInterface::IsLoopBack);
}

void sendDatagram(const QHostAddress &address, quint16 port, const QByteArray &datagram)
{
    const SocketAddress where(address, port);
    const Descriptor socket(::socket(where.family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    ::sendto(socket.get(), datagram.constData(), static_cast<size_t>(datagram.size()), MSG_NOSIGNAL, where.get(),
             where.size);
}

std::vector<QHostAddress> broadcastAddresses()
{
    std::vector<QHostAddress> addresses;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            const bool isWanted = entry.ip().protocol() == QAbstractSocket::IPv4Protocol && !entry.ip().isNull() &&
                                  !entry.ip().isLoopback() && !entry.broadcast().isNull();
            if (isWanted) {
                addresses.push_back(entry.broadcast());
            }
        }
    }
    return addresses;
}
} // namespace

std::vector<quint32> ownIpAddresses()
{
    std::vector<quint32> addresses;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        if (!isUp(interface) || !interface.flags().testFlag(QNetworkInterface::IsRunning)) {
            continue;
        }
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol) {
                addresses.push_back(entry.ip().toIPv4Address());
            }
        }
    }
    std::sort(addresses.begin(), addresses.end());
    addresses.erase(std::unique(addresses.begin(), addresses.end()), addresses.end());
    return addresses;
}

QStringList ownHardwareAddresses()
{
    constexpr int kMacLength = 17; // other interfaces have longer ones, or none
    QStringList addresses;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        if (isUp(interface) && interface.hardwareAddress().size() == kMacLength) {
            addresses << interface.hardwareAddress();
        }
    }
    addresses.sort();
    return addresses;
}

void broadcastDatagram(const QString &address, quint16 port, const QByteArray &datagram)
{
    if (const QHostAddress single(address); !single.isNull()) {
        sendDatagram(single, port, datagram);
        return;
    }
    for (const QHostAddress &each : broadcastAddresses()) {
        sendDatagram(each, port, datagram);
    }
}
