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
/// Owns: the descriptor, notifier and timers (Qt children). Thread: that of the object it is a child of.
/// Ends: with its parent.
class InfraredReceiver : public QObject
{
    Q_OBJECT
public:
    static constexpr quint32 kUsualCarrierHz = 38000;
    static constexpr int kLookMs = 1000;
    static constexpr int kSilenceMs = 150; // what a held button repeats comes sooner

    /// Most receivers cannot tell the carrier: it is given.
    explicit InfraredReceiver(QString device, quint32 carrierHz = kUsualCarrierHz, QObject *parent = nullptr);

    bool isOpen() const { return m_descriptor.isOpen(); }
    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();

Q_SIGNALS:
    void learned(const IrCode &code); // a button was let go
    void opened();                    // again, after lost()
    void lost(const QString &reason);

private:
    std::optional<QString> tryToOpen();
    void readAvailable();
    void take(quint32 sample);
    void finish();
    void lose(int reason);

    const QString m_device;
    const quint32 m_carrierHz;
    Descriptor m_descriptor;
    QSocketNotifier *m_notifier = nullptr; // Qt child; while open
    QTimer *m_look = nullptr;              // Qt child
    QTimer *m_silence = nullptr;           // Qt child; runs during a press
    IrCode::Durations m_durations;         // of this press; begins with a pulse
    quint32 m_silentUs = 0;                // told of already; the next space is the rest of it
};
