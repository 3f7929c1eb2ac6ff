#pragma once
#include <QString>

/// Shell scripts of the resources that change the operating system. They run only on a controller, that is as root.
/// Thread: the main thread; a script is started and not waited for. Ends: with the application.
class SystemScripts
{
public:
    enum class Permission { AsRoot, Never };

    explicit SystemScripts(Permission permission)
        : m_permission(permission)
    {}

    void setDateTime(const QString &text) const; // "yyyy-MM-dd HH:mm:ss", or whatever the system's date takes

private:
    void run(const QString &name, const QStringList &arguments) const;

    const Permission m_permission;
};
