#pragma once
#include "io/Bell.h"
#include "net/link/LinkHooks.h"

#include <deque>
#include <memory>
#include <mutex>

class ControlProgram;
class DeviceManager;
class Dispatcher;
class PanelEvent;

/// Ties panels to the program: what they report becomes events, what they answer reaches the device manager.
/// Owns: nothing. Thread: PanelEvents on the link's I/O threads, everything else on the main thread.
/// Ends: after the network manager has stopped.
class PanelBridge : public PanelEvents, public PanelReplies, public PanelPresence
{
public:
    explicit PanelBridge(DeviceManager &devices);
    ~PanelBridge();

    void setProgram(ControlProgram *program); // nullptr before the program goes away

    // I/O threads
    void buttonPressed(quint16 device, int channel, UntilHandled untilHandled) override;
    void buttonReleased(quint16 device, int channel, UntilHandled untilHandled) override;
    void levelChanged(quint16 device, int level, int value, UntilHandled untilHandled) override;
    bool isFull() const override;

    void panelAnswered(int deviceId, const PanelQuestion &question, const QVariant &value) override;
    void queryIRCode(int number) override;

    QByteArray buttonStatusSnapshot(int deviceId) override;
    void peerOnline(int deviceId) override;
    void peerOffline(int deviceId) override;

private:
    void post(int kind, quint16 device, int code, int value, UntilHandled untilHandled); // a PanelEvent of that kind
    enum class Turn { Millisecond, AllThatCame };
    void deliver(Turn turn);
    std::unique_ptr<PanelEvent> takeNext();

    DeviceManager &m_devices;
    ControlProgram *m_program = nullptr;
    std::deque<std::unique_ptr<PanelEvent>> m_next; // taken out of m_waiting, to be handled before what is in it

    std::mutex m_waitingMutex; // guards what follows
    std::deque<std::unique_ptr<PanelEvent>> m_waiting;
    bool m_isTaken = false; // there is a program
    bool m_isRinging = false;
    Bell m_bell; // events posted to Qt's queue instead would keep ticks and sockets out for as long as more come
};
