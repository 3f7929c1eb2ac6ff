#pragma once
#include "io/HostNetwork.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>

class QProcess;

/// Shell scripts of the resources that change the operating system. They run only on a controller: as root, and where
/// it was not forbidden. A refusal and a failure are monitor lines; a failed script leaves what was there.
/// Owns: the running scripts (Qt children). Thread: the main thread, which waits for a script only where that is said.
/// Ends: with the application; a script that still runs is killed.
class SystemScripts : public QObject
{
    Q_OBJECT
public:
    enum class Permission { AsRoot, Never };

    explicit SystemScripts(Permission permission, QObject *parent = nullptr);

    bool isAllowed() const;

    void setDateTime(const QString &text); // "yyyy-MM-dd HH:mm:ss", or whatever the system's date takes

    /// Gives an interface its network; networkGiven() tells the end. One at a time.
    void useNetwork(const QString &interfaceName, const HostNetwork &network);
    void waitForNetwork(int ms); // so long at most; nothing when none runs

    /// Sees whether an interface could have this network, for up to ten seconds: why not, in the scripts' words; empty
    /// when it can. Leaves all as it is. Any thread.
    static QString tryNetwork(const QString &interfaceName, const HostNetwork &network,
                              const std::atomic<bool> &isCancelled);

Q_SIGNALS:
    void networkGiven(bool isInUse); // false: the former one stays

private:
    const Permission m_permission;
    QProcess *m_network = nullptr; // Qt child, while it runs
};
