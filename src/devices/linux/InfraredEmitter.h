#pragma once
#include "base/Descriptor.h"
#include "devices/IrCode.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

/// Sends codes on one of the kernel's infrared devices, one after the other. A write lasts as long as the signal: it
/// happens on a thread of its own, and nobody waits for it. When the device goes away, it is opened again as soon as it
/// is back; what was not sent by then is forgotten.
///
/// Owns: the thread, which owns the descriptor once it runs. Thread: that of whoever made it; signals come from the
/// emitter's own one. Ends: with its parent, behind the burst that is being sent, which lasts half a second at most.
class InfraredEmitter : public QObject
{
    Q_OBJECT
public:
    enum class Press { Short, Held };
    static constexpr size_t kMostWaiting = 16;

    explicit InfraredEmitter(QString device, QObject *parent = nullptr);
    ~InfraredEmitter() override;

    QString device() const { return m_device; }
    bool isOpen() const { return m_isOpen; }

    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();
    /// Sends the code once, or goes on with what it repeats until release(). False: the device is away, or too many
    /// codes wait. A code that comes while another is held ends that one. One with a toggle bit has it changed at each
    /// press of that code, since receivers take the same bit for the same press.
    bool play(const IrCode &code, Press press);
    void release(); // the held button; its code is sent once in any case

Q_SIGNALS:
    void opened(); // again, after lost() or failed()
    void lost(const QString &reason);
    void failed(const QString &reason);  // an attempt to open it again; once until the reason is another
    void refused(const QString &reason); // a code that the device does not take

private:
    struct Button
    {
        IrCode code;
        bool isHeld = false;
    };
    void run();
    void look();
    bool send(quint32 carrierHz, const IrCode::Durations &durations);
    int write(quint32 carrierHz, const IrCode::Durations &pulses); // 0, or what went wrong
    void lose(const QString &reason);
    bool waitUs(quint32 microseconds); // false: it ends
    bool isHeld();

    const QString m_device;
    Descriptor m_descriptor; // of the thread, once it runs
    QString m_failure;       // of the thread
    std::atomic<bool> m_isOpen{ false };
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Button> m_buttons;          // guarded; the first is being sent
    bool m_isEnding = false;               // guarded
    std::set<IrCode::Durations> m_toggled; // guarded; what the codes send whose next press is the toggled one
    std::thread m_thread;
};
