#pragma once
#include "base/Descriptor.h"
#include "devices/IrCode.h"

#include <QObject>
#include <QString>

#include <optional>

class QSocketNotifier;
class QTimer;

/// Learns the codes of remote controls from one of the kernel's infrared devices. When the device goes away, it is
/// opened again as soon as it is back.
/// Owns: the descriptor, notifier and timer (Qt children). Thread: that of the object it is a child of.
/// Ends: with its parent.
class InfraredReceiver : public QObject
{
    Q_OBJECT
public:
    static constexpr int kLookMs = 1000;

    explicit InfraredReceiver(QString device, QObject *parent = nullptr);

    bool isOpen() const { return m_descriptor.isOpen(); }
    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();

Q_SIGNALS:
    void learned(const IrCode &code); // a button was let go, or held for long
    void opened();                    // again, after lost()
    void lost(const QString &reason);

private:
    std::optional<QString> tryToOpen();
    void readAvailable();
    void take(quint32 sample);
    void finish();
    void lose(int reason);

    const QString m_device;
    Descriptor m_descriptor;
    QSocketNotifier *m_notifier = nullptr; // Qt child; while open
    QTimer *m_look = nullptr;              // Qt child
    quint32 m_carrierHz = 0;               // measured; 0: not
    IrCode::Durations m_durations;
    bool m_isOver = false; // the button is held for longer than what is looked at
};
