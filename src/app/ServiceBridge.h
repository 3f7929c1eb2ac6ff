#pragma once
#include "net/link/LinkHooks.h"

#include <functional>

class ConfiguredPorts;
class ControllerLinks;
class NetworkSetup;
class SettingManager;
class SystemScripts;

/// What the link asks of the settings and the machine.
/// Owns: nothing. Thread: any, as LinkServices says. Ends: after the network manager has stopped.
class ServiceBridge : public LinkServices
{
public:
    /// \param quit  ends the event loop; called on any thread
    ServiceBridge(SettingManager &settings, SystemScripts &scripts, NetworkSetup &network, std::function<void()> quit);

    void setPorts(ConfiguredPorts *ports) { m_ports = ports; } // before anybody asks
    void setQuestions(std::function<QByteArray(const QByteArray &)> answer) { m_answer = std::move(answer); }
    void setLinks(ControllerLinks *links); // gives it the list of the settings; nullptr before it goes away

    QByteArray informationString() override;
    QStringList listenAddresses() override;
    Problem setSystemNumber(int number) override;
    void setNetwork(const HostNetwork &network, const QString &mac, Trial trial, const NetworkDone &done) override;
    Problem setMac(const QString &mac) override;
    void reboot() override;
    void setDateTime(const QString &text) override;
    QByteArray listenStatus() override;
    Problem setListenAddresses(const QStringList &list) override;
    QByteArray answerQuestion(const QByteArray &question) override;
    QByteArray ports() override;
    QByteArray detectedDevices() override;
    Problem setPort(const QString &port, const QStringList &lines) override;
    Problem putIntoPort(const QString &port, const QByteArray &data) override;

private:
    SettingManager &m_settings;
    SystemScripts &m_scripts;
    NetworkSetup &m_network;
    const std::function<void()> m_quit;
    ControllerLinks *m_links = nullptr; // main thread only
    ConfiguredPorts *m_ports = nullptr;
    std::function<QByteArray(const QByteArray &)> m_answer;
};
