#include "app/ControllerBridge.h"

#include "admin/ConfigManager.h"
#include "base/SystemNumber.h"
#include "devices/DeviceManager.h"
#include "devices/SwitchNotice.h"
#include "net/controllers/ControllerLinks.h"
#include "net/link/NetworkManager.h"
#include "runtime/ControlProgram.h"

ControllerBridge::ControllerBridge(DeviceManager &devices)
    : m_devices(devices)
{
    connect(&devices, &DeviceManager::gotPortStatus, this, [this](int system, int port, int channel, int status) {
        if (system == 0 && m_network) { // others have the answer of another controller, which tells it itself
            m_network->sendInternalMsg(ControllerText::portStatus({ localSystemNumber(), port, channel, status }));
        }
    });
}

void ControllerBridge::setLinks(ControllerLinks *links)
{
    m_links = links;
    if (links) {
        connect(links, &ControllerLinks::told, this, &ControllerBridge::take);
    }
}

void ControllerBridge::setProgram(ControlProgram *program)
{
    m_program = program;
    if (program) {
        program->dispatcher().observer = [this](const CustomEvent &event) { forward(event); };
    }
}

std::function<void()> ControllerBridge::takeRequest(SocketClient &peer, const QByteArray &body)
{
    std::optional<ControllerText::Request> request = ControllerText::parseFromListener(body);
    if (!request) {
        return nullptr;
    }
    if (request->kind == ListenerRequest::Number) { // also while the program keeps the main thread busy
        peer.sendMessage(LinkCode::kController, ControllerText::number(localSystemNumber()));
        return nullptr;
    }
    return [this, taken = std::move(*request)] { perform(taken); };
}

void ControllerBridge::take(const TargetMessage &message)
{
    std::visit([this](const auto &told) { raise(told); }, message);
}

void ControllerBridge::setupPort(const DeviceAddress &device, int channel, int action)
{
    m_holdsElsewhere = m_holdsElsewhere || action == static_cast<int>(PortAction::To);
    send(ControllerText::setup(device, channel, action));
}

void ControllerBridge::sendListenString(const DeviceAddress &device, const QByteArray &data)
{
    send(ControllerText::string(device, data));
}

void ControllerBridge::sendListenCommand(const DeviceAddress &device, const QByteArray &data)
{
    send(ControllerText::command(device, data));
}

void ControllerBridge::queryDeviceState(const DeviceAddress &device, int channel)
{
    send(ControllerText::query(device, channel));
}

void ControllerBridge::cancelToItem()
{
    // A listener's wish goes on only to controllers where this program holds something: those that listen to each
    // other in a circle would pass it on for ever.
    if (m_isListenersWish && !m_holdsElsewhere) {
        return;
    }
    m_holdsElsewhere = false;
    send(ControllerText::cancel());
}

void ControllerBridge::perform(const ControllerText::Request &request)
{
    switch (request.kind) {
    case ListenerRequest::Setup:
        m_devices.performSetup(request.rest);
        return;
    case ListenerRequest::Query:
        m_devices.performQuery(request.rest);
        return;
    case ListenerRequest::Command:
        m_devices.performCommand(request.rest);
        return;
    case ListenerRequest::String:
        m_devices.performString(request.rest);
        return;
    case ListenerRequest::Cancel:
        releaseForListener();
        return;
    case ListenerRequest::Number: // answered by takeRequest
        return;
    }
}

void ControllerBridge::releaseForListener()
{
    m_isListenersWish = true;
    if (m_program) {
        m_program->dispatcher().releaseToItems();
    } else {
        m_devices.releaseHeldOutputs();
    }
    m_isListenersWish = false;
}

/// Only what happens on the own ports, which have system number 0: what another controller has told is never passed on,
/// so nothing goes in circles, also when a controller listens to itself.
void ControllerBridge::forward(const CustomEvent &event)
{
    if (event.device.number != kControllerDevice || event.device.system != 0 || !m_network) {
        return;
    }
    const bool isPush = event.type == EventType::Push;
    if (event.type == EventType::String) {
        m_network->sendInternalMsg(ControllerText::portData(localSystemNumber(), event.device.port, event.data));
    } else if ((isPush || event.type == EventType::Release) && event.device.port == Port::kIo) {
        m_network->sendInternalMsg(ControllerText::input({ localSystemNumber(), isPush, event.channel }));
    }
}

void ControllerBridge::raise(const TargetNumber &number)
{
    if (number.system == localSystemNumber()) {
        return; // itself, or a twin by mistake
    }
    const int ports = ConfigManager().onlinePorts();
    for (int port = 1; port <= ports && m_program && !m_program->state().stopRequested(); ++port) {
        m_devices.raiseOnline(port, number.system);
    }
}

void ControllerBridge::raise(const TargetPortData &data)
{
    if (m_program) {
        m_devices.raiseReceived(data.port, data.system, data.data);
    }
}

void ControllerBridge::raise(const TargetInput &input)
{
    if (m_program) {
        m_devices.raiseContact(input.channel, input.system, input.isPush);
    }
}

void ControllerBridge::raise(const TargetPortStatus &status)
{
    Q_EMIT m_devices.gotPortStatus(status.system, status.port, status.channel, status.status);
}

void ControllerBridge::send(const QByteArray &body)
{
    if (m_links) {
        m_links->send(body);
    }
}
