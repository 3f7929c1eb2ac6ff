#pragma once
#include <QObject>
#include <QString>

#include <functional>

/// Watches this controller's own address. While there is none, the last one counts; the first one is no change.
/// Owns: its place in the clock. Thread: the main thread. Ends: with the program.
class IpMonitor : public QObject
{
    Q_OBJECT
public:
    static constexpr int kPeriodMs = 2000;

    /// \param address  asks the system; empty: there is none
    explicit IpMonitor(std::function<QString()> address, QObject *parent = nullptr);
    ~IpMonitor() override;

Q_SIGNALS:
    void changed();

private:
    void check();

    const std::function<QString()> m_address;
    QString m_last;
    int m_ticket;
};
