#pragma once
#include "devices/DeviceLinks.h"
#include "io/Bell.h"
#include "net/link/LinkHooks.h"

#include <deque>
#include <memory>
#include <mutex>

class ControlProgram;
class DeviceManager;
class Dispatcher;
class NetworkManager;
class PanelEvent;

/// Ties panels to the program: what they report becomes events, what they answer reaches the device manager, and what
/// the device manager says reaches them.
/// Owns: nothing. Thread: PanelEvents on the link's I/O threads, everything else on the main thread.
/// Ends: after the network manager has stopped.
class PanelBridge : public PanelEvents, public PanelReplies, public PanelPresence, public PanelLink
{
public:
    explicit PanelBridge(DeviceManager &devices);
    ~PanelBridge();

    void setNetwork(NetworkManager *network) { m_network = network; }
    void setProgram(ControlProgram *program); // nullptr before the program goes away

    // I/O threads
    void buttonPressed(quint16 device, int channel, UntilHandled untilHandled) override;
    void buttonReleased(quint16 device, int channel, UntilHandled untilHandled) override;
    void levelChanged(quint16 device, int level, int value, UntilHandled untilHandled) override;
    bool isFull() const override;

    void gotButtonStatus(int deviceId, int channelCode, int status) override;
    void gotButtonText(int deviceId, int channelCode, int stateIndex, const QByteArray &text) override;
    void gotButtonProperty(int deviceId, int channelCode, const QByteArray &name, const QVariant &value) override;
    void gotPageProperty(int deviceId, const QByteArray &page, const QByteArray &name, const QVariant &value) override;
    void gotButtonStateProperty(int deviceId, int channelCode, int stateIndex, const QByteArray &name,
                                const QVariant &value) override;
    void queryIRCode(int number) override;

    QByteArray buttonStatusSnapshot(int deviceId) override;
    void peerOnline(int deviceId) override;
    void peerOffline(int deviceId) override;

    void queryButtonStatus(int deviceNumber, int channel) override;
    void queryButtonText(int deviceNumber, int channel, int state) override;
    void queryButtonProperty(int deviceNumber, int channel, const QByteArray &name) override;
    void queryButtonStateProperty(int deviceNumber, int channel, int state, const QByteArray &name) override;
    void queryPageProperty(int deviceNumber, const QByteArray &page, const QByteArray &name) override;
    void setRangeButtonStatus(int deviceNumber, int channel, int status, int first, int last) override;
    void setRangeButtonStatusVals(int deviceNumber, const QVector<qint64> &channels,
                                  const QVector<qint64> &statuses) override;
    void setListButtonStatus(int deviceNumber, int channel, int status, const QVector<int> &channels) override;
    void sendLevel(int deviceNumber, int levelCode, int value) override;
    void sendLevels(int deviceNumber, const QVector<qint64> &codes, const QVector<qint64> &values) override;
    void sendCommand(int deviceNumber, const QByteArray &data) override;
    void setButtonProperty(int deviceNumber, const Channels &channels, const QByteArray &name,
                           const QVariant &value) override;
    void setButtonStateProperty(int deviceNumber, const Channels &channels, int state, const QByteArray &name,
                                const QVariant &value) override;
    void setPageProperty(int deviceNumber, const QByteArray &page, const QByteArray &name,
                         const QVariant &value) override;
    void setContainerProperty(int deviceNumber, const Channels &channels, const QByteArray &name,
                              const QByteArray &data) override;
    void containerCall(int deviceNumber, const Channels &channels, const QByteArray &method,
                       const QByteArray &data) override;

private:
    void post(int kind, quint16 device, int code, int value, UntilHandled untilHandled); // a PanelEvent of that kind
    enum class Turn { Millisecond, AllThatCame };
    void deliver(Turn turn);
    std::unique_ptr<PanelEvent> takeNext();
    template <class Send>
    void toNetwork(Send send);

    DeviceManager &m_devices;
    NetworkManager *m_network = nullptr;
    ControlProgram *m_program = nullptr;
    std::deque<std::unique_ptr<PanelEvent>> m_next; // taken out of m_waiting, to be handled before what is in it

    std::mutex m_waitingMutex; // guards what follows
    std::deque<std::unique_ptr<PanelEvent>> m_waiting;
    bool m_isTaken = false; // there is a program
    bool m_isRinging = false;
    Bell m_bell; // events posted to Qt's queue instead would keep ticks and sockets out for as long as more come
};
