#include "admin/SettingManager.h"
#include "base/MacAddress.h"
#include "base/SystemNumber.h"
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTime>

#include <algorithm>

namespace {
const QString &noMac()
{
    static const QString mac = QStringLiteral("00:00:00:00:00:00");
    return mac;
}

/// A settings object for one access: it belongs to the calling thread and writes when it goes.
std::unique_ptr<QSettings> openSettings(const QString &file)
{
    return file.isEmpty() ? std::make_unique<QSettings>() : std::make_unique<QSettings>(file, QSettings::IniFormat);
}

QString macPath(const QString &directory)
{
    return directory + QStringLiteral("/mac");
}

QString storedMac(const QString &directory)
{
    QFile file(macPath(directory));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}
} // namespace

SettingManager::Location SettingManager::locationIn(const QString &directory)
{
    if (directory.isEmpty()) {
        return { QStandardPaths::writableLocation(QStandardPaths::AppDataLocation), QString() };
    }
    return { directory, directory + QStringLiteral("/settings.ini") };
}

SettingManager::SettingManager(const Location &location, std::unique_ptr<SystemNetwork> network)
    : m_location(location)
    , m_network(network ? std::move(network) : std::make_unique<SystemNetwork>())
{
    load();
    setLocalSystemNumber(m_values.systemNumber);
}

bool SettingManager::isDhcp() const
{
    return values().isDhcp;
}

QString SettingManager::netmask() const
{
    return values().netmask;
}

int SettingManager::systemNumber() const
{
    return values().systemNumber;
}

QString SettingManager::language() const
{
    return values().language;
}

QStringList SettingManager::listenAddresses() const
{
    return values().listenAddresses;
}

QString SettingManager::currentIp() const
{
    const Values now = values();
    const QString address = now.isDhcp ? m_network->firstIpv4Address(m_network->mainInterface()) : QString();
    return address.isEmpty() ? now.ip : address;
}

QString SettingManager::currentGateway() const
{
    const Values now = values();
    const std::optional<DefaultRoute> route =
        now.isDhcp ? defaultRoute(m_network->routeTable(), m_network->mainInterface()) : std::nullopt;
    return route ? route->gateway : now.gateway;
}

QString SettingManager::currentNameServer() const
{
    const Values now = values();
    const QString server = now.isDhcp ? firstNameServer(m_network->resolverConfiguration()) : QString();
    return server.isEmpty() ? now.nameServer : server;
}

QString SettingManager::currentMac() const
{
    const QString stored = values().mac;
    if (isMacAddress(stored) && stored != noMac()) {
        return stored;
    }
    const QString hardware = m_network->hardwareAddress(m_network->mainInterface());
    return hardware.isEmpty() ? noMac() : hardware;
}

QByteArray SettingManager::informationString() const
{
    const QStringList addresses{ isDhcp() ? QStringLiteral("dhcp") : QStringLiteral("staticip"),
                                 currentIp(),
                                 netmask(),
                                 currentGateway(),
                                 currentNameServer(),
                                 QString::number(systemNumber()) };
    const QStringList lines{ addresses.join(QLatin1Char('_')), m_identity.version(), m_identity.modelName(),
                             currentMac() };
    return lines.join(QLatin1Char('\n')).toUtf8();
}

void SettingManager::setStaticIp(const QString &ip, const QString &netmask, const QString &gateway, const QString &dns,
                                 const QString &mac)
{
    if (QHostAddress(ip).isNull()) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    m_values.isDhcp = false;
    m_values.ip = ip;
    m_values.netmask = netmask;
    m_values.gateway = gateway;
    m_values.nameServer = dns;
    saveMac(mac);
    save();
}

void SettingManager::setDhcp(const QString &mac)
{
    const std::lock_guard lock(m_mutex);
    m_values.isDhcp = true;
    saveMac(mac);
    save();
}

void SettingManager::setMac(const QString &mac)
{
    if (!isMacAddress(mac)) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    saveMac(mac);
    save();
}

void SettingManager::setSystemNumber(int number)
{
    const std::lock_guard lock(m_mutex);
    m_values.systemNumber = std::max(number, 1);
    setLocalSystemNumber(m_values.systemNumber);
    save();
}

void SettingManager::setListenAddresses(const QStringList &addresses)
{
    const std::lock_guard lock(m_mutex);
    m_values.listenAddresses = addresses;
    openSettings(m_location.settingsFile)->setValue(QStringLiteral("listen"), addresses);
}

void SettingManager::load()
{
    const std::unique_ptr<QSettings> settings = openSettings(m_location.settingsFile);
    const auto text = [&](const char *key, const char *otherwise) {
        return settings->value(QLatin1String(key), QLatin1String(otherwise)).toString();
    };
    m_values.isDhcp = settings->value(QStringLiteral("dhcp"), true).toBool();
    m_values.ip = text("ip", "192.168.1.2");
    m_values.netmask = text("mask", "255.255.255.0");
    m_values.gateway = text("gateway", "192.168.1.1");
    m_values.nameServer = text("dns", "192.168.1.1");
    m_values.systemNumber = std::max(settings->value(QStringLiteral("systemNum"), 1).toInt(), 1);
    m_values.language = text("language", "");
    m_values.listenAddresses = settings->value(QStringLiteral("listen")).toStringList();
    m_values.mac = storedMac(m_location.dataDirectory);
    if (m_values.mac.isEmpty()) {
        m_values.mac = macFromTimeOfDay(QTime::currentTime().msecsSinceStartOfDay());
    }
}

void SettingManager::save() const
{
    const std::unique_ptr<QSettings> settings = openSettings(m_location.settingsFile);
    settings->setValue(QStringLiteral("dhcp"), m_values.isDhcp);
    settings->setValue(QStringLiteral("ip"), m_values.ip);
    settings->setValue(QStringLiteral("mask"), m_values.netmask);
    settings->setValue(QStringLiteral("gateway"), m_values.gateway);
    settings->setValue(QStringLiteral("dns"), m_values.nameServer);
    settings->setValue(QStringLiteral("systemNum"), m_values.systemNumber);
}

void SettingManager::saveMac(const QString &mac)
{
    if (mac.isEmpty()) {
        return;
    }
    m_values.mac = mac;
    QDir().mkpath(m_location.dataDirectory);
    QSaveFile file(macPath(m_location.dataDirectory));
    if (!file.open(QIODevice::WriteOnly) || file.write(mac.toUtf8()) < 0 || !file.commit()) {
        qWarning("Cannot save the MAC address in %s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
}

SettingManager::Values SettingManager::values() const
{
    const std::lock_guard lock(m_mutex);
    return m_values;
}

QString macFromTimeOfDay(int msSinceMidnight)
{
    const auto byte = [msSinceMidnight](int shift) {
        return QStringLiteral("%1").arg(msSinceMidnight >> shift & 0xFF, 2, 16, QLatin1Char('0'));
    };
    return QStringLiteral("08:90:00:%1:%2:%3").arg(byte(16), byte(8), byte(0));
}
