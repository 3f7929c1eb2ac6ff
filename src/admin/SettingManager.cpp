#include "admin/SettingManager.h"
#include "base/Clock.h"
#include "base/IniText.h"
#include "base/MacAddress.h"
#include "base/Messages.h"
#include "base/SystemNumber.h"
#include <QHostAddress>
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

QString macPath(const QString &directory)
{
    return directory + QStringLiteral("/mac");
}
} // namespace

SettingManager::Location SettingManager::locationIn(const QString &directory)
{
    if (directory.isEmpty()) {
        return { QStandardPaths::writableLocation(QStandardPaths::AppDataLocation), QSettings().fileName() };
    }
    return { directory, directory + QStringLiteral("/settings.ini") };
}

SettingManager::SettingManager(const Location &location, std::unique_ptr<SystemNetwork> network)
    : m_location(location)
    , m_network(network ? std::move(network) : std::make_unique<SystemNetwork>())
    , m_settingsFile(location.settingsFile)
    , m_macFile(macPath(location.dataDirectory))
    , m_retryTicket(Clock::instance().every(KeptFile::kRetryMs, [this] {
        const std::lock_guard lock(m_mutex);
        write();
    }))
{
    load();
    setLocalSystemNumber(m_values.systemNumber);
}

SettingManager::~SettingManager()
{
    Clock::instance().cancel(m_retryTicket);
    write(); // what could not be written before
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

SettingManager::Problem SettingManager::setStaticIp(const QString &ip, const QString &netmask, const QString &gateway,
                                                    const QString &dns, const QString &mac)
{
    if (QHostAddress(ip).isNull()) {
        return std::nullopt;
    }
    const QString interfaceName = mainInterface();
    const std::lock_guard lock(m_mutex);
    return saveNetwork({ false, ip, netmask, gateway, dns }, interfaceName, mac);
}

SettingManager::Problem SettingManager::setDhcp(const QString &mac)
{
    const QString interfaceName = mainInterface();
    const std::lock_guard lock(m_mutex);
    HostNetwork network = m_values.network;
    network.isDhcp = true;
    return saveNetwork(network, interfaceName, mac);
}

void SettingManager::rememberInterface(const QString &name)
{
    const std::lock_guard lock(m_mutex);
    if (m_values.interfaceName != name) {
        m_values.interfaceName = name;
        save();
    }
}

SettingManager::Problem SettingManager::setMac(const QString &mac)
{
    if (!isMacAddress(mac)) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_mutex);
    return save(mac);
}

SettingManager::Problem SettingManager::setSystemNumber(int number)
{
    const std::lock_guard lock(m_mutex);
    m_values.systemNumber = std::clamp(number, 1, kLastSystemNumber);
    setLocalSystemNumber(m_values.systemNumber);
    return save();
}

SettingManager::Problem SettingManager::setListenAddresses(const QStringList &addresses)
{
    const std::lock_guard lock(m_mutex);
    m_values.listenAddresses = addresses;
    return save();
}

void SettingManager::load()
{
    const QVariantMap settings = stored().value_or(QVariantMap());
    m_values.network.isDhcp = settings.value(QStringLiteral("dhcp"), true).toBool();
    m_values.network.ip = settings.value(QStringLiteral("ip"), QStringLiteral("192.168.1.2")).toString();
    m_values.network.netmask = settings.value(QStringLiteral("mask"), QStringLiteral("255.255.255.0")).toString();
    m_values.network.gateway = settings.value(QStringLiteral("gateway"), QStringLiteral("192.168.1.1")).toString();
    m_values.network.nameServer = settings.value(QStringLiteral("dns"), QStringLiteral("192.168.1.1")).toString();
    m_values.isNetworkSet = settings.value(QStringLiteral("networkSet"), !m_values.network.isDhcp).toBool();
    m_values.interfaceName = settings.value(QStringLiteral("interface")).toString();
    m_values.systemNumber = std::clamp(settings.value(QStringLiteral("systemNum"), 1).toInt(), 1, kLastSystemNumber);
    m_values.language = settings.value(QStringLiteral("language")).toString();
    m_values.listenAddresses = settings.value(QStringLiteral("listen")).toStringList();
    m_values.mac = QString::fromUtf8(m_macFile.read().bytes).trimmed();
    if (m_values.mac.isEmpty()) {
        m_values.mac = macFromTimeOfDay(QTime::currentTime().msecsSinceStartOfDay());
    }
}

std::optional<QVariantMap> SettingManager::stored()
{
    const KeptFile::Content file = m_settingsFile.load();
    if (file.problem) {
        m_settingsFile.settle(file.problem);
        return std::nullopt;
    }
    const IniText::Content content = IniText::parse(file.bytes);
    if (!content.isWhole) {
        m_settingsFile.setAside(translated(QT_TRANSLATE_NOOP("messages", "some lines make no sense")));
        m_settingsFile.save(IniText::write(content.values));
    }
    return content.values;
}

SettingManager::Problem SettingManager::saveNetwork(const HostNetwork &network, const QString &interfaceName,
                                                    const QString &mac)
{
    const Values former = m_values;
    m_values.interfaceName = interfaceName;
    m_values.network = network;
    m_values.isNetworkSet = true;
    const Problem problem = save(mac);
    if (problem) { // the former one stays: nobody wants another network at some later start
        m_values.interfaceName = former.interfaceName;
        m_values.network = former.network;
        m_values.isNetworkSet = former.isNetworkSet;
    }
    return problem;
}

SettingManager::Problem SettingManager::save(const QString &mac)
{
    m_areSettingsSaved = false;
    if (!mac.isEmpty()) {
        m_values.mac = mac;
        m_isMacSaved = false;
    }
    return write();
}

SettingManager::Problem SettingManager::write()
{
    m_isMacSaved = m_isMacSaved || m_macFile.save(m_values.mac.toUtf8());
    if (!m_areSettingsSaved) {
        std::optional<QVariantMap> settings = stored(); // with what people have written into it meanwhile
        if (settings) {
            settings->insert(QStringLiteral("dhcp"), m_values.network.isDhcp);
            settings->insert(QStringLiteral("ip"), m_values.network.ip);
            settings->insert(QStringLiteral("mask"), m_values.network.netmask);
            settings->insert(QStringLiteral("gateway"), m_values.network.gateway);
            settings->insert(QStringLiteral("dns"), m_values.network.nameServer);
            settings->insert(QStringLiteral("networkSet"), m_values.isNetworkSet);
            settings->insert(QStringLiteral("interface"), m_values.interfaceName);
            settings->insert(QStringLiteral("systemNum"), m_values.systemNumber);
            settings->insert(QStringLiteral("listen"), m_values.listenAddresses);
            m_areSettingsSaved = m_settingsFile.save(IniText::write(*settings));
        }
    }
    for (const auto &[isSaved, file] :
         { std::pair(m_isMacSaved, &m_macFile), std::pair(m_areSettingsSaved, &m_settingsFile) }) {
        if (!isSaved && file->problem()) {
            return file->complaint();
        }
    }
    return std::nullopt;
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
