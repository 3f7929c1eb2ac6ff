#pragma once
#include "net/link/LinkHooks.h"

#include <QObject>

#include <atomic>
#include <mutex>
#include <thread>

class SettingManager;
class SystemScripts;

/// Gives the operating system the network of the settings, at the start and whenever its interface or the cable comes;
/// and tries a network that a tool wants before it is stored.
/// Owns: the thread of the trial. Thread: the main thread, where nothing else is said.
/// Ends: with its owner, after a trial that runs was cancelled.
class NetworkSetup : public QObject
{
    Q_OBJECT
public:
    NetworkSetup(SettingManager &settings, SystemScripts &scripts);
    ~NetworkSetup() override { endTrial(); }

    void start();         // when a tool has set a network, and this process may
    void waitUntilUsed(); // a fixed address is there, or has failed; for seconds at most

    void change(const HostNetwork &network, const QString &mac, LinkServices::Trial trial,
                const LinkServices::NetworkDone &done); // as LinkServices says; any thread
    void endTrial();                                    // done() is not called any more once this returns

public Q_SLOTS:
    void look(); // an interface or a cable may have come

private:
    /// What the interface is like.
    struct Link
    {
        QString name;
        int index = 0; // 0: it is not there
        bool isRunning = false;
    };
    Link link() const;
    void use();
    void used(bool isInUse);
    QString store(const HostNetwork &network, const QString &mac); // why it is not on the disk, if it is not

    SettingManager &m_settings;
    SystemScripts &m_scripts;
    bool m_isStarted = false;
    bool m_isBeingUsed = false; // a script runs
    Link m_seen;
    std::mutex m_trialMutex; // guards the thread
    std::thread m_trial;
    std::atomic<bool> m_isTrying{ false };
    std::atomic<bool> m_isCancelled{ false };
};
