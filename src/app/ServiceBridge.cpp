#include "app/ServiceBridge.h"

#include "admin/SettingManager.h"
#include "app/ProgramStop.h"
#include "app/SystemScripts.h"

#include <QDataStream>
#include <QHostAddress>

#include <algorithm>

ServiceBridge::ServiceBridge(SettingManager &settings, SystemScripts &scripts, std::function<void()> quit)
    : m_settings(settings)
    , m_scripts(scripts)
    , m_quit(std::move(quit))
{}

QByteArray ServiceBridge::informationString()
{
    return m_settings.informationString();
}

QStringList ServiceBridge::listenAddresses()
{
    return m_settings.listenAddresses();
}

void ServiceBridge::setSystemNumber(int number)
{
    m_settings.setSystemNumber(number);
}

void ServiceBridge::setStaticIp(const QString &ip, const QString &netmask, const QString &gateway, const QString &dns,
                                const QString &mac)
{
    m_settings.setStaticIp(ip, netmask, gateway, dns, mac);
}

void ServiceBridge::setDhcp(const QString &mac)
{
    m_settings.setDhcp(mac);
}

void ServiceBridge::setMac(const QString &mac)
{
    m_settings.setMac(mac);
}

void ServiceBridge::reboot()
{
    m_settings.requestReboot();
    ProgramStop::requestEnd();
    m_quit();
}

void ServiceBridge::setDateTime(const QString &text)
{
    m_scripts.setDateTime(text);
}

QByteArray ServiceBridge::listenStatus(const QString &text)
{
    if (!text.trimmed().isEmpty()) {
        QStringList addresses;
        for (const QString &entry : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            QHostAddress address;
            if (address.setAddress(entry.trimmed()) && address.protocol() == QAbstractSocket::IPv4Protocol) {
                addresses << address.toString();
            }
        }
        addresses.removeDuplicates();
        m_settings.setListenAddresses(addresses);
    }
    std::vector<quint32> numbers;
    for (const QString &address : m_settings.listenAddresses()) {
        numbers.push_back(QHostAddress(address).toIPv4Address());
    }
    std::sort(numbers.rbegin(), numbers.rend());
    QByteArray status;
    QDataStream stream(&status, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_4);
    stream << static_cast<qint32>(numbers.size());
    for (const quint32 number : numbers) {
        stream << QHostAddress(number).toString() << qint32(0); // unconnected: links to controllers are not served
    }
    return status;
}
