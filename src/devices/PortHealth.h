#pragma once
#include <QString>

#include <optional>

/// How one port is that has a device behind it, and the monitor lines that say so. Thread: the main thread.
class PortHealth
{
public:
    /// \param name  of the port, as "serial1"
    PortHealth(const QString &name, const QString &device)
        : m_name(name)
        , m_device(device)
    {}

    const QString &device() const { return m_device; }
    bool isOpen() const { return m_isOpen; }
    const QString &lastError() const { return m_lastError; } // empty: there was none

    void setOpen(); // says so when it was not before
    void setFailed(const QString &reason);
    void setLost(const QString &reason);
    void complain(const QString &text);
    /// Something was not sent, or could not be done. A program that tries again and again gives a line every 10 s.
    void refuse(const QString &reason, int times = 1);

private:
    QString withRefused(const QString &text); // how often since the last line

    QString m_name;
    QString m_device;
    QString m_lastError;
    bool m_isOpen = false;
    bool m_hasFailed = false;          // since it was open
    std::optional<qint64> m_refusedMs; // when that was said last
    int m_refusedSince = 0;            // times
};
