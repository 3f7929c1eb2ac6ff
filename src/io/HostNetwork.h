#pragma once
#include <QString>

#include <optional>

/// The network of this machine as a tool wants it, or as the settings keep it.
struct HostNetwork
{
    bool isDhcp = true; // the rest is for a static address
    QString ip;
    QString netmask;
    QString gateway;    // empty or 0.0.0.0: none
    QString nameServer; // empty: stays as it is

    bool hasGateway() const;
};

bool operator==(const HostNetwork &one, const HostNetwork &other);

/// The number that a dotted address means: four decimal numbers and nothing else. What the system's own functions
/// take beside that ("10.77", "010.0.0.1") means something else to whoever wrote it.
std::optional<quint32> dottedAddress(const QString &text);

/// Whether this is a static address that can work: an address for a host, a netmask that leaves room for others, and a
/// gateway within reach. Nothing when it is, or when it is DHCP; else what is wrong.
std::optional<QString> problemOf(const HostNetwork &network);

int prefixLength(const QString &netmask); // 255.255.255.0 is 24; 0 for what is no netmask
