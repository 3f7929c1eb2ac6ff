#include "app/ServiceBridge.h"

#include "admin/SettingManager.h"
#include "app/NetworkSetup.h"
#include "app/ProgramStop.h"
#include "app/SystemScripts.h"
#include "net/controllers/ControllerLinks.h"

ServiceBridge::ServiceBridge(SettingManager &settings, SystemScripts &scripts, NetworkSetup &network,
                             std::function<void()> quit)
    : m_settings(settings)
    , m_scripts(scripts)
    , m_network(network)
    , m_quit(std::move(quit))
{}

void ServiceBridge::setLinks(ControllerLinks *links)
{
    m_links = links;
    if (links) {
        listenTo(m_settings.listenAddresses());
    }
}

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

void ServiceBridge::setNetwork(const HostNetwork &network, const QString &mac, Trial trial, const NetworkDone &done)
{
    m_network.change(network, mac, trial, done);
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
    if (!m_links) {
        return {};
    }
    if (!text.trimmed().isEmpty()) {
        listenTo(text.split(QLatin1Char('\n')));
    }
    return m_links->statusStream();
}

void ServiceBridge::listenTo(const QStringList &addresses)
{
    const QStringList taken = m_links->setAddresses(addresses);
    if (taken != m_settings.listenAddresses()) {
        m_settings.setListenAddresses(taken);
    }
}
