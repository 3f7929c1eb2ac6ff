#pragma once
#include "devices/DeviceLinks.h"
#include "net/controllers/ControllerText.h"

#include <QObject>

#include <functional>

class ControlProgram;
class ControllerLinks;
class DeviceManager;
class NetworkManager;
class SocketClient;
struct CustomEvent;

/// Ties other controllers to the program and the ports. As listener: what targets tell becomes events, and what the
/// device manager says to ports of other systems goes to the targets. As target: what listeners ask is done on the own
/// ports, and what happens there is told to them.
/// Owns: nothing. Thread: takeRequest() on the link's I/O threads, everything else on the main thread.
/// Ends: after the network manager has stopped.
class ControllerBridge : public QObject, public ControllerLink
{
    Q_OBJECT
public:
    explicit ControllerBridge(DeviceManager &devices);

    // Both come after this and go before it.
    void setNetwork(NetworkManager *network) { m_network = network; }
    void setLinks(ControllerLinks *links);    // and listens to it
    void setProgram(ControlProgram *program); // nullptr before the program goes away

    /// A listener's request, on its I/O thread. What is to be done on the main thread; empty: nothing.
    std::function<void()> takeRequest(SocketClient &peer, const QByteArray &body);
    void take(const TargetMessage &message);

    void setupPort(const DeviceAddress &device, int channel, int action) override;
    void sendListenString(const DeviceAddress &device, const QByteArray &data) override;
    void sendListenCommand(const DeviceAddress &device, const QByteArray &data) override;
    void queryDeviceState(const DeviceAddress &device, int channel) override;
    void cancelToItem() override;

private:
    void perform(const ControllerText::Request &request);
    void releaseForListener();
    void forward(const CustomEvent &event);
    void raise(const TargetNumber &number);
    void raise(const TargetPortData &data);
    void raise(const TargetInput &input);
    void raise(const TargetPortStatus &status);
    void send(const QByteArray &body);

    DeviceManager &m_devices;
    NetworkManager *m_network = nullptr;
    ControllerLinks *m_links = nullptr;
    ControlProgram *m_program = nullptr;
    bool m_holdsElsewhere = false; // this program has held an output of another controller since the last cancel
    bool m_isListenersWish = false;
};
