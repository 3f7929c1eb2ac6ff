#pragma once
#include "devices/PortHealth.h"
#include "devices/frames/PortFrames.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

class Backlog;
class PortLineWorker;
class PortsThread;

/// A serial line behind the ports, as the main thread uses it. The line itself is on the ports thread, so that a
/// program that is busy neither keeps what it has sent nor loses what the kernel would drop. What comes in goes through
/// the backlog to the main thread; both directions are bounded.
/// Says in monitor lines what becomes of the line. Owns: the worker. Thread: the main thread, the signals too.
/// Ends: with its parent; the line is then closed.
class PortLine : public QObject
{
    Q_OBJECT
public:
    enum class Input {
        WhileFollowed, // while the program is behind, the line is not read and holds up its sender, where it can
        Always,        // what does not fit is lost
    };
    static constexpr qint64 kMostWaiting = 256 * 1024; // bytes sent and not written

    /// \param name  for the monitor lines, as "serial1"; the thread runs and the backlog stays until this has gone
    PortLine(const QString &name, const QString &deviceFile, Input input, PortsThread &thread, Backlog &backlog,
             QObject *parent = nullptr);
    ~PortLine() override;

    const PortHealth &health() const { return m_health; }
    const SerialSetup &setup() const { return m_setup; }

    qint64 written() const; // bytes that the driver has taken

    void open();
    void setUp(const SerialSetup &setup);
    void write(const QByteArray &data);
    void finishWriting(int timeoutMs); // waits

Q_SIGNALS:
    void received(const QByteArray &data); // what arrived together
    void openChanged(bool isOpen);         // at first and later, also to the same

private:
    friend class PortLineWorker;
    void takeOpen();
    void takeFailure(const QString &reason);
    void takeLoss();
    void takeUnsent();

    PortHealth m_health;
    SerialSetup m_setup{ SerialSetup::Protocol::Rs232, 115200, SerialSetup::Parity::None, 1 };
    std::shared_ptr<PortLineWorker> m_worker;
};
