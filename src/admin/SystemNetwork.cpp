#include "admin/SystemNetwork.h"
#include <QFile>
#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>

#include <algorithm>

namespace {
QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The gateway of a route table line: hexadecimal, lowest byte first. Empty for none.
QString gatewayOf(const QByteArray &hexadecimal)
{
    bool converts = false;
    const quint32 gateway = hexadecimal.toUInt(&converts, 16);
    if (!converts || gateway == 0) {
        return QString();
    }
    return QStringLiteral("%1.%2.%3.%4")
        .arg(gateway & 0xFF)
        .arg(gateway >> 8 & 0xFF)
        .arg(gateway >> 16 & 0xFF)
        .arg(gateway >> 24);
}
} // namespace

std::optional<DefaultRoute> defaultRoute(const QByteArray &routeTable, const QString &interfaceName)
{
    const QList<QByteArray> lines = routeTable.split('\n').mid(1); // the first is a heading
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 3 || !fields.at(0).contains(interfaceName.toUtf8())) {
            continue;
        }
        bool converts = false;
        const bool isDefault = fields.at(1).toUInt(&converts, 16) == 0 && converts;
        if (const QString gateway = gatewayOf(fields.at(2)); isDefault && !gateway.isEmpty()) {
            return DefaultRoute{ QString::fromUtf8(fields.at(0)), gateway };
        }
    }
    return std::nullopt;
}

QString firstNameServer(const QByteArray &resolverConfiguration)
{
    const QList<QByteArray> lines = resolverConfiguration.split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() >= 2 && words.first() == "nameserver") {
            return QString::fromUtf8(words.at(1));
        }
    }
    return QString();
}

bool SystemNetwork::hasInterface(const QString &interfaceName) const
{
    return QNetworkInterface::interfaceIndexFromName(interfaceName) != 0;
}

QString SystemNetwork::firstIpv4Address(const QString &interfaceName) const
{
    const QList<QNetworkAddressEntry> entries = QNetworkInterface::interfaceFromName(interfaceName).addressEntries();
    const auto first = std::find_if(entries.begin(), entries.end(), [](const QNetworkAddressEntry &entry) {
        return entry.ip().protocol() == QAbstractSocket::IPv4Protocol;
    });
    return first == entries.end() ? QString() : first->ip().toString();
}

QString SystemNetwork::hardwareAddress(const QString &interfaceName) const
{
    return QString::fromLatin1(contentOf(QStringLiteral("/sys/class/net/%1/address").arg(interfaceName))).trimmed();
}

QByteArray SystemNetwork::routeTable() const
{
    return contentOf(QStringLiteral("/proc/net/route"));
}

QByteArray SystemNetwork::resolverConfiguration() const
{
    return contentOf(QStringLiteral("/etc/resolv.conf"));
}

QString SystemNetwork::mainInterface(const QString &former) const
{
    QString usual = QStringLiteral("eth0");
    if (hasInterface(usual)) {
        return usual;
    }
    if (!former.isEmpty() && hasInterface(former)) {
        return former;
    }
    const std::optional<DefaultRoute> route = defaultRoute(routeTable(), QString());
    return route ? route->interfaceName : former.isEmpty() ? usual : former;
}
