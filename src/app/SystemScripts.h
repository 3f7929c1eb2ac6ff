#pragma once
#include <QObject>
#include <QString>
#include <QStringList>

/// Shell scripts of the resources that change the operating system. They run only on a controller: as root, and where
/// it was not forbidden. A refusal and a failure are monitor lines; a failed script leaves what was there.
/// Owns: the running scripts (Qt children). Thread: the main thread; nothing waits for a script.
/// Ends: with the application; a script that still runs is killed.
class SystemScripts : public QObject
{
    Q_OBJECT
public:
    enum class Permission { AsRoot, Never };

    explicit SystemScripts(Permission permission, QObject *parent = nullptr);

    bool isAllowed() const;

    void setDateTime(const QString &text); // "yyyy-MM-dd HH:mm:ss", or whatever the system's date takes

    /// \name The network of one interface.
    void useDhcp(const QString &interfaceName);
    void useStaticAddress(const QString &interfaceName, const QString &address, const QString &netmask,
                          const QString &gateway, const QString &nameServer);

private:
    /// \param names  run one behind the other as one script
    void run(const QStringList &names, const QStringList &arguments, const QString &interfaceName = QString());

    const Permission m_permission;
};
