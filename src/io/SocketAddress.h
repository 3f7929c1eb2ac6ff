#pragma once
#include <QHostAddress>

#include <sys/socket.h>

/// An address in the form that the system's socket calls take.
struct SocketAddress
{
    sockaddr_storage storage{};
    socklen_t size = sizeof(sockaddr_storage);

    SocketAddress() = default;
    SocketAddress(const QHostAddress &address, quint16 port); // the "any" address takes IPv4 peers too

    int family() const { return storage.ss_family; }
    sockaddr *get() { return reinterpret_cast<sockaddr *>(&storage); }
    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&storage); }
    QHostAddress host() const; // an IPv4 peer of an IPv6 socket shows its IPv4 address
    quint16 port() const;
    QString text() const; // "10.0.0.5:23", "[::1]:23"

    void allowToCome(int socket) const; // so that it can be bound to this address before the machine has it
};
