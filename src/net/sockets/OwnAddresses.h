#pragma once
#include <QByteArray>
#include <QStringList>

#include <vector>

// This controller's own addresses, and datagrams to all of its networks. Thread: any; every call asks the system again.

/// IPv4 of the interfaces that are up and running and no loopback; sorted, none twice.
std::vector<quint32> ownIpAddresses();

/// Six pairs of hexadecimal digits each, of the interfaces that are up and no loopback; sorted.
QStringList ownHardwareAddresses();

/// Sends to an address; with an empty one to the broadcast address of every network. Nothing is reported.
void broadcastDatagram(const QString &address, quint16 port, const QByteArray &datagram);
