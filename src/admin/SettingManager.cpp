#include "admin/SettingManager.h"
#include "base/MacAddress.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/SystemNumber.h"
#include <QDebug>
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

void report(const QString &text)
{
    qWarning().noquote() << text;
    monitorLog(MonitorMessageType::Error, text);
}

void reportUnlessSaved(QSettings &settings)
{
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        report(translated(QT_TRANSLATE_NOOP("messages", "Cannot save the settings in %1")).arg(settings.fileName()));
    }
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
    return values().network.isDhcp;
}

QString SettingManager::netmask() const
{
    return values().network.netmask;
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

std::optional<HostNetwork> SettingManager::networkToApply() const
{
    const Values now = values();
    return now.isNetworkSet ? std::optional(now.network) : std::nullopt;
}

QString SettingManager::currentIp() const
{
    const Values now = values();
    const QString address = now.network.isDhcp ? ownAddress() : QString();
    return address.isEmpty() ? now.network.ip : address;
}

QString SettingManager::currentGateway() const
{
    const Values now = values();
    const std::optional<DefaultRoute> route =
        now.network.isDhcp ? defaultRoute(m_network->routeTable(), mainInterface()) : std::nullopt;
    return route ? route->gateway : now.network.gateway;
}

QString SettingManager::currentNameServer() const
{
    const Values now = values();
    const QString server = now.network.isDhcp ? firstNameServer(m_network->resolverConfiguration()) : QString();
    return server.isEmpty() ? now.network.nameServer : server;
}

QString SettingManager::currentMac() const
{
    QString stored = values().mac;
    if (isMacAddress(stored) && stored != noMac()) {
        return stored;
    }
    const QString hardware = m_network->hardwareAddress(mainInterface());
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
    const QString interfaceName = mainInterface();
    const std::lock_guard lock(m_mutex);
    m_values.interfaceName = interfaceName;
    m_values.network = { false, ip, netmask, gateway, dns };
    m_values.isNetworkSet = true;
    saveMac(mac);
    save();
}

void SettingManager::setDhcp(const QString &mac)
{
    const QString interfaceName = mainInterface();
    const std::lock_guard lock(m_mutex);
    m_values.interfaceName = interfaceName;
    m_values.network.isDhcp = true;
    m_values.isNetworkSet = true;
    saveMac(mac);
    save();
}

void SettingManager::rememberInterface(const QString &name)
{
    const std::lock_guard lock(m_mutex);
    if (m_values.interfaceName != name) {
        m_values.interfaceName = name;
        save();
    }
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
    const std::unique_ptr<QSettings> settings = openSettings(m_location.settingsFile);
    settings->setValue(QStringLiteral("listen"), addresses);
    reportUnlessSaved(*settings);
}

void SettingManager::load()
{
    const std::unique_ptr<QSettings> settings = openSettings(m_location.settingsFile);
    const auto text = [&](const char *key, const char *otherwise) {
        return settings->value(QLatin1String(key), QLatin1String(otherwise)).toString();
    };
    m_values.network.isDhcp = settings->value(QStringLiteral("dhcp"), true).toBool();
    m_values.network.ip = text("ip", "192.168.1.2");
    m_values.network.netmask = text("mask", "255.255.255.0");
    m_values.network.gateway = text("gateway", "192.168.1.1");
    m_values.network.nameServer = text("dns", "192.168.1.1");
    m_values.isNetworkSet = settings->value(QStringLiteral("networkSet"), !m_values.network.isDhcp).toBool();
    m_values.interfaceName = text("interface", "");
    m_values.systemNumber = std::max(settings->value(QStringLiteral("systemNum"), 1).toInt(), 1);
    m_values.language = text("language", "");
    m_values.listenAddresses = settings->value(QStringLiteral("listen")).toStringList();
    if (settings->status() != QSettings::NoError) {
        report(translated(QT_TRANSLATE_NOOP("messages", "The settings in %1 cannot be read; the defaults are used"))
                   .arg(settings->fileName()));
    }
    m_values.mac = storedMac(m_location.dataDirectory);
    if (m_values.mac.isEmpty()) {
        m_values.mac = macFromTimeOfDay(QTime::currentTime().msecsSinceStartOfDay());
    }
}

void SettingManager::save() const
{
    const std::unique_ptr<QSettings> settings = openSettings(m_location.settingsFile);
    settings->setValue(QStringLiteral("dhcp"), m_values.network.isDhcp);
    settings->setValue(QStringLiteral("ip"), m_values.network.ip);
    settings->setValue(QStringLiteral("mask"), m_values.network.netmask);
    settings->setValue(QStringLiteral("gateway"), m_values.network.gateway);
    settings->setValue(QStringLiteral("dns"), m_values.network.nameServer);
    settings->setValue(QStringLiteral("networkSet"), m_values.isNetworkSet);
    settings->setValue(QStringLiteral("interface"), m_values.interfaceName);
    settings->setValue(QStringLiteral("systemNum"), m_values.systemNumber);
    reportUnlessSaved(*settings);
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
        report(translated(QT_TRANSLATE_NOOP("messages", "Cannot save the MAC address in %1: %2"))
                   .arg(file.fileName(), file.errorString()));
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
