#include "app/ServiceBridge.h"

#include "admin/SettingManager.h"
#include "app/NetworkSetup.h"
#include "app/ProgramStop.h"
#include "app/SystemScripts.h"
#include "devices/ConfiguredPorts.h"
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
        const QStringList stored = m_settings.listenAddresses();
        const QStringList usable = links->setAddresses(stored);
        if (usable != stored) {
            m_settings.setListenAddresses(usable);
        }
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

LinkServices::Problem ServiceBridge::setSystemNumber(int number)
{
    return m_settings.setSystemNumber(number);
}

void ServiceBridge::setNetwork(const HostNetwork &network, const QString &mac, Trial trial, const NetworkDone &done)
{
    m_network.change(network, mac, trial, done);
}

LinkServices::Problem ServiceBridge::setMac(const QString &mac)
{
    return m_settings.setMac(mac);
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

QByteArray ServiceBridge::listenStatus()
{
    return m_links ? m_links->statusStream() : QByteArray();
}

LinkServices::Problem ServiceBridge::setListenAddresses(const QStringList &list)
{
    return m_links ? m_settings.setListenAddresses(m_links->setAddresses(list)) : std::nullopt;
}

QByteArray ServiceBridge::answerQuestion(const QByteArray &question)
{
    return m_answer ? m_answer(question) : LinkServices::answerQuestion(question);
}

QByteArray ServiceBridge::ports()
{
    return m_ports ? m_ports->described() : LinkServices::ports();
}

QByteArray ServiceBridge::detectedDevices()
{
    return m_ports ? m_ports->detected() : LinkServices::detectedDevices();
}

LinkServices::Problem ServiceBridge::setPort(const QString &port, const QStringList &lines)
{
    return m_ports ? m_ports->set(port, lines) : std::nullopt;
}

LinkServices::Problem ServiceBridge::putIntoPort(const QString &port, const QByteArray &data)
{
    return m_ports ? m_ports->simulate(port, data) : std::nullopt;
}
