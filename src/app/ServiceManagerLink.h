#pragma once
#include <QString>
#include <QTimer>

#include <functional>

/// Tells systemd how the process is: when it serves, a line for "systemctl status", signs of life, and that it ends.
/// Without systemd it does nothing.
/// Owns: a timer. Thread: the main thread, so that a sign of life says that this one is free. Ends: with its owner.
class ServiceManagerLink
{
public:
    /// \param status  one line; asked for again with every sign of life
    explicit ServiceManagerLink(std::function<QString()> status);

    void ready();                      // from now on signs of life, when systemd wants them
    void stopping(const QString &why); // one line

private:
    void showLife();

    const std::function<QString()> m_status;
    QTimer m_life;
};
