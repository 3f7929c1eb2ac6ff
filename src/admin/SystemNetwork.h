#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

struct DefaultRoute
{
    QString interfaceName;
    QString gateway; // dotted
};

/// The first default route with a gateway in a route table as /proc/net/route has it; nothing when there is none.
/// \param interfaceName  only routes whose interface has this in its name; empty: any
std::optional<DefaultRoute> defaultRoute(const QByteArray &routeTable, const QString &interfaceName);

/// The address of the first "nameserver" line of a resolver configuration; empty when there is none.
QString firstNameServer(const QByteArray &resolverConfiguration);

/// What the operating system knows about the network. Tests give other answers.
/// Thread: any; every call asks the system again.
class SystemNetwork
{
public:
    virtual ~SystemNetwork() = default;
    virtual bool hasInterface(const QString &interfaceName) const;
    virtual QString firstIpv4Address(const QString &interfaceName) const; // empty when there is none
    virtual QString hardwareAddress(const QString &interfaceName) const;  // empty when it cannot be read
    virtual QByteArray routeTable() const;
    virtual QByteArray resolverConfiguration() const;

    /// "eth0"; without one, that which was the main one before; without that, the interface of the default route. When
    /// there is none of them, the former one is still to come, or "eth0".
    QString mainInterface(const QString &former = QString()) const;
};
