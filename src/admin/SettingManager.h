#pragma once
#include "admin/ConfigManager.h"
#include "admin/SystemNetwork.h"
#include "base/KeptFile.h"
#include "io/HostNetwork.h"
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

/// The device settings: network, MAC address, system number, language, listen list; and the flags that say how the
/// process ends. Every change is saved at once, with the old or the new file whole at any moment. What cannot be saved
/// is in force all the same, but for a network, and is tried again until it is on the disk.
/// Owns: its copy of the settings. Thread: made and destroyed on the main thread; every call on any thread takes the
///       lock, none waits for the network. Ends: with its owner.
class SettingManager
{
public:
    struct Location
    {
        QString dataDirectory; // holds the file "mac"; made when a MAC is saved and it is missing
        QString settingsFile;  // INI
    };

    /// DIR/settings.ini and DIR/mac; an empty DIR: the application's own data directory and settings.
    static Location locationIn(const QString &directory);

    /// Reads the settings; what is missing or unreadable gets its default. Sets the process's system number.
    explicit SettingManager(const Location &location, std::unique_ptr<SystemNetwork> network = nullptr);
    ~SettingManager();
    SettingManager(const SettingManager &) = delete;
    SettingManager &operator=(const SettingManager &) = delete;

    bool isDhcp() const;
    QString netmask() const;
    int systemNumber() const;
    QString language() const;            // "zh_CN", "en", …; empty: the environment's
    QStringList listenAddresses() const; // of the controllers whose ports we listen to

    /// What the system's network is to be; nothing while no tool has set it: then the system's own configuration stays.
    std::optional<HostNetwork> networkToApply() const;

    /// The interface that the network is about. It is remembered, because the route that tells it is made of these
    /// settings: after a start of the machine there is none yet.
    QString mainInterface() const { return m_network->mainInterface(values().interfaceName); }
    QString ownAddress() const { return m_network->firstIpv4Address(mainInterface()); } // empty when there is none
    void rememberInterface(const QString &name);

    /// \name What is in force now: with DHCP what the system says, where it says nothing the stored value.
    QString currentIp() const;
    QString currentGateway() const;
    QString currentNameServer() const;
    QString currentMac() const; // the stored one when it is valid and not all zeros, else that of the interface

    /// What tools and discovery show: mode and addresses in the first line, then version, model and MAC; UTF-8.
    QByteArray informationString() const;

    /// \name Changes. Why they are not on the disk, if they are not.
    using Problem = std::optional<QString>;
    Problem setStaticIp(const QString &ip, const QString &netmask, const QString &gateway, const QString &dns,
                        const QString &mac); // an ip that is none: nothing changes
    Problem setDhcp(const QString &mac);     // an empty mac, here and above, leaves the old one
    Problem setMac(const QString &mac);      // an invalid one: nothing changes
    Problem setSystemNumber(int number);     // below 1: 1
    Problem setListenAddresses(const QStringList &addresses);

    /// \name Why the process ends. Set once, from any thread, never cleared.
    bool isRebootRequested() const { return m_rebootRequested; }
    bool isRestartRequested() const { return m_restartRequested; }
    void requestReboot() { m_rebootRequested = true; }
    void requestRestart() { m_restartRequested = true; }

private:
    struct Values
    {
        HostNetwork network;
        bool isNetworkSet = false;
        QString interfaceName; // that it was about last; empty: not known
        int systemNumber = 1;
        QString language;
        QStringList listenAddresses;
        QString mac;
    };
    void load();
    std::optional<QVariantMap> stored(); // in the file; nothing, and told, when it cannot be read now
    Problem saveNetwork(const HostNetwork &network, const QString &interfaceName, const QString &mac);
    Problem save(const QString &mac = QString());
    Problem write();       // what is not on the disk yet
    Values values() const; // a copy, taken under the lock

    const Location m_location;
    const std::unique_ptr<SystemNetwork> m_network;
    const ConfigManager m_identity;
    mutable std::mutex m_mutex; // guards m_values and the files
    Values m_values;
    KeptFile m_settingsFile;
    KeptFile m_macFile;
    bool m_areSettingsSaved = true;
    bool m_isMacSaved = true;
    const int m_retryTicket;
    std::atomic<bool> m_rebootRequested{ false };
    std::atomic<bool> m_restartRequested{ false };
};

/// The MAC address of a controller that was never given one, from the milliseconds since midnight at its first start.
QString macFromTimeOfDay(int msSinceMidnight);
