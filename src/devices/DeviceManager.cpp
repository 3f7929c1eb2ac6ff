#include "devices/DeviceManager.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/SystemNumber.h"
#include "devices/AnswerLoop.h"
#include "devices/RemoteText.h"
#include "devices/SwitchNotice.h"
#include "events/Dispatcher.h"
#include "interp/ProgramState.h"

namespace {
constexpr int kPanelTicks = 6; // of 100 ms
constexpr int kPortTicks = 4;

bool isLocal(const DeviceAddress &device)
{
    return isLocalSystem(device.system);
}

/// A message that another controller addresses to this one, with the number that it must carry.
bool isForUs(const DeviceAddress &device)
{
    return device.system == localSystemNumber();
}

/// Monitor lines about data that goes to a device of another controller, or to a port or socket of this one.
void logRemoteData(MonitorMessageType type, const char *source, const DeviceAddress &device, const QByteArray &data)
{
    if (isMonitored()) {
        monitorLog(type,
                   translated(source).arg(device.number).arg(device.port).arg(device.system).arg(printableOrHex(data)));
    }
}

void logPortData(const char *source, int port, const QByteArray &data)
{
    if (isMonitored()) {
        monitorLog(MonitorMessageType::PortTraffic, translated(source).arg(port).arg(printableOrHex(data)));
    }
}

void logSwitch(const DeviceAddress &device, PortAction action, int channel, SwitchNotice::Place place)
{
    if (device.number != kControllerDevice || !isMonitored()) {
        return;
    }
    if (const auto notice = SwitchNotice::of(device, action, channel, place)) {
        monitorLog(notice->type, notice->text);
    }
}

CustomEvent portEvent(EventType type, int port, int system)
{
    CustomEvent event;
    event.type = type;
    event.device = { kControllerDevice, port, system };
    return event;
}

void logLevel(int deviceNumber, qint64 levelCode, qint64 value)
{
    if (isMonitored()) {
        const QString text = translated(
            QT_TRANSLATE_NOOP("messages", "set level value: device ID is %1, level code is %2 and level value is %3"));
        monitorLog(MonitorMessageType::Level, text.arg(deviceNumber).arg(levelCode).arg(value));
    }
}
} // namespace

DeviceManager::DeviceManager(std::unique_ptr<PortHardware> hardware, QObject *parent)
    : QObject(parent)
    , m_ports(std::move(hardware))
{
    m_ports.setPulseTime([this] { return m_program ? m_program->pulseTimeMs() : PortManager::kDefaultPulseMs; });
    connect(&m_ports, &PortManager::gotIRCode, this, &DeviceManager::gotIRCode);
    connect(&m_ports, &PortManager::received, this,
            [this](int port, const QByteArray &data) { raiseReceived(port, 0, data); });
    connect(&m_ports, &PortManager::contactChanged, this,
            [this](int number, bool isOn) { raiseContact(number, 0, isOn); });
    connect(&m_ports, &PortManager::portOnline, this,
            [this](int port, bool isOnline) { raiseOnline(port, 0, isOnline); });
    connect(&m_ports, &PortManager::gotPortStatus, this,
            [this](int port, int channel, int status) { Q_EMIT gotPortStatus(0, port, channel, status); });
}

void DeviceManager::setProgram(ProgramState *program, Dispatcher *dispatcher)
{
    m_program = program;
    m_dispatcher = dispatcher;
}

void DeviceManager::switchChannel(const DeviceAddress &device, PortAction action, int channel)
{
    if (isLocal(device)) {
        m_ports.switchPort(device.port, action, channel);
        logSwitch(device, action, channel, SwitchNotice::Place::Here);
        return;
    }
    if (m_controllers) {
        m_controllers->setupPort(device, channel, static_cast<int>(action));
    }
    logSwitch(device, action, channel, SwitchNotice::Place::Elsewhere);
}

void DeviceManager::sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log logLocal)
{
    if (data.isEmpty()) {
        return;
    }
    if (!isLocal(device)) {
        logRemoteData(MonitorMessageType::PortTraffic,
                      QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]send device command: %4"), device, data);
        if (m_controllers) {
            m_controllers->sendListenCommand(device, data);
        }
        return;
    }
    if (logLocal == Log::Yes && isMonitored()) {
        const QString text = translated(QT_TRANSLATE_NOOP(
            "messages", "send device command: device id is %1, port number is %2 and sended data is %3"));
        monitorLog(MonitorMessageType::LocalCommand,
                   text.arg(device.number).arg(device.port).arg(printableOrHex(data)));
    }
    if (device.number == kControllerDevice) {
        m_ports.setUpSerial(device.port, data);
    } else if (m_panels) {
        m_panels->sendCommand(device.number, data);
    }
}

void DeviceManager::sendPortString(const DeviceAddress &device, const QByteArray &data)
{
    if (device.number == 0) {
        if (isLocal(device)) {
            writeSocket(device.port, data);
        }
        return;
    }
    if (!isLocal(device)) {
        logRemoteData(MonitorMessageType::PortTraffic, QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]send port command: %4"),
                      device, data);
        if (m_controllers) {
            m_controllers->sendListenString(device, data);
        }
        return;
    }
    logPortData(QT_TRANSLATE_NOOP("messages", "send port command: port number is %1 and sended data is %2"),
                device.port, data);
    if (device.number == kControllerDevice) {
        m_ports.sendSerial(device.port, data);
    }
}

void DeviceManager::setLevel(const DeviceAddress &device, int levelCode, int value)
{
    if (!isLocal(device)) {
        return;
    }
    logLevel(device.number, levelCode, value);
    if (m_panels) {
        m_panels->sendLevel(device.number, levelCode, value);
    }
    noteLevel(device.number, levelCode, value, m_lastLevel);
}

void DeviceManager::setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values)
{
    if (codes.size() == 1 && values.size() == 1) {
        setLevel(device, static_cast<int>(codes.first()), static_cast<int>(values.first()));
        return;
    }
    if (!isLocal(device)) {
        return;
    }
    if (m_panels) {
        m_panels->sendLevels(device.number, codes, values);
    }
    for (int index = 0; index < codes.size(); ++index) {
        const qint64 code = codes.at(index);
        const qint64 value = values.value(index);
        logLevel(device.number, code, value);
        noteLevel(device.number, code, value, m_lastOfLevels);
    }
}

void DeviceManager::setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last)
{
    if (m_dispatcher) {
        m_dispatcher->buttonStatus(deviceNumber).recordRange(channel, status, first, last);
    }
    if (m_panels) {
        m_panels->setButtonStatusRange(deviceNumber, channel, status, first, last);
    }
}

void DeviceManager::setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels)
{
    if (m_dispatcher) {
        m_dispatcher->buttonStatus(deviceNumber)
            .recordList(channel, status, std::vector<int>(channels.begin(), channels.end()));
    }
    if (m_panels) {
        m_panels->setButtonStatusList(deviceNumber, channel, status, channels);
    }
}

void DeviceManager::setButtonStatuses(int deviceNumber, const QVector<qint64> &channels,
                                      const QVector<qint64> &statuses)
{
    if (m_dispatcher) {
        ButtonStatusSaver &saver = m_dispatcher->buttonStatus(deviceNumber);
        for (int index = 0; index < channels.size(); ++index) {
            saver.recordChannel(static_cast<int>(channels.at(index)), static_cast<int>(statuses.value(index)));
        }
    }
    if (m_panels) {
        m_panels->setButtonStatuses(deviceNumber, channels, statuses);
    }
}

int DeviceManager::relayState(const DeviceAddress &device, int channel) const
{
    return isLocal(device) && device.port == Port::kRelays && m_ports.isRelayOn(channel) ? 1 : 0;
}

QVariant DeviceManager::askPanel(int deviceNumber, const PanelQuestion &question)
{
    AnswerLoop loop(m_program, kPanelTicks);
    connect(this, &DeviceManager::panelAnswered, &loop,
            [&](int device, const PanelQuestion &answered, const QVariant &value) {
                if (device == deviceNumber && answered == question) {
                    loop.finish(value);
                }
            });
    return m_panels ? loop.run([&] { m_panels->askPanel(deviceNumber, question); }) : QVariant();
}

bool DeviceManager::askPortChannel(const DeviceAddress &device, int channel)
{
    if (isLocal(device) && device.port == Port::kRelays) {
        return relayState(device, channel) != 0;
    }
    AnswerLoop loop(m_program, kPortTicks);
    connect(this, &DeviceManager::gotPortStatus, &loop, [&](int system, int port, int answeredChannel, int status) {
        if (isSameSystem(system, device.system) && port == device.port && answeredChannel == channel) {
            loop.finish(status);
        }
    });
    return loop.run([&] { queryPortStatus(device, channel); }).toInt() != 0;
}

void DeviceManager::queryPortStatus(const DeviceAddress &device, int channel)
{
    if (isLocal(device)) {
        m_ports.queryStatus(device.port, channel);
    } else if (m_controllers) {
        m_controllers->queryDeviceState(device, channel);
    }
}

void DeviceManager::setOnPanel(int deviceNumber, const PanelSetting &setting)
{
    if (m_panels) {
        m_panels->setOnPanel(deviceNumber, setting);
    }
}

void DeviceManager::rebootController()
{
    if (m_reboot) {
        m_reboot();
    }
}

void DeviceManager::releaseHeldOutputs()
{
    m_ports.releaseHeldOutputs();
}

void DeviceManager::cancelRemoteToItems()
{
    if (m_controllers) {
        m_controllers->cancelToItem();
    }
}

void DeviceManager::raiseOnline(int port, int system, bool isOnline)
{
    if (!m_dispatcher) {
        return;
    }
    const char *const text = isOnline ? QT_TRANSLATE_NOOP("messages", "Online Event: 5001:%1:%2")
                                      : QT_TRANSLATE_NOOP("messages", "Offline Event: 5001:%1:%2");
    monitorLog(MonitorMessageType::Online, translated(text).arg(port).arg(system));
    m_dispatcher->raiseData(portEvent(isOnline ? EventType::Online : EventType::Offline, port, system), {});
}

void DeviceManager::raiseReceived(int port, int system, const QByteArray &data)
{
    if (!m_dispatcher) {
        return;
    }
    logRemoteData(MonitorMessageType::Received, QT_TRANSLATE_NOOP("messages", "[%1:%2:%3]got port data: %4"),
                  { kControllerDevice, port, system }, data);
    CustomEvent event = portEvent(EventType::String, port, system);
    event.data = data;
    DataFields fields;
    fields.text = data;
    m_dispatcher->raiseData(event, fields);
}

void DeviceManager::raiseContact(int number, int system, bool isPush)
{
    if (!m_dispatcher) {
        return;
    }
    if (isMonitored()) {
        const char *const text = isPush ? QT_TRANSLATE_NOOP("messages", "got push event: [5001:18:%1, %2]")
                                        : QT_TRANSLATE_NOOP("messages", "got release event: [5001:18:%1, %2]");
        monitorLog(MonitorMessageType::RemoteIo, translated(text).arg(system).arg(number));
    }
    CustomEvent event = portEvent(isPush ? EventType::Push : EventType::Release, Port::kIo, system);
    event.channel = number;
    m_dispatcher->raiseChannel(event);
}

void DeviceManager::performSetup(const QByteArray &text)
{
    const auto setup = RemoteText::parseSetup(text);
    if (setup && isForUs(setup->device)) {
        switchChannel(setup->device, setup->action, setup->channel);
    }
}

void DeviceManager::performQuery(const QByteArray &text)
{
    const auto query = RemoteText::parseAddressed(text);
    if (query && isForUs(query->device)) {
        queryPortStatus(query->device, query->rest.toInt());
    }
}

void DeviceManager::performCommand(const QByteArray &text)
{
    const auto command = RemoteText::parseAddressed(text);
    if (command && isForUs(command->device)) {
        sendDeviceCommand(command->device, command->rest, Log::Yes);
    }
}

void DeviceManager::performString(const QByteArray &text)
{
    const auto data = RemoteText::parseAddressed(text);
    if (data && isForUs(data->device)) {
        sendPortString(data->device, data->rest);
    }
}

void DeviceManager::queryIRCode(int number)
{
    m_ports.queryIRCode(number);
}

void DeviceManager::writeSocket(int port, const QByteArray &data)
{
    if (m_sockets && m_sockets->write(port, data)) {
        logPortData(QT_TRANSLATE_NOOP("messages", "send socket command: port number is %1 and sended data is %2"), port,
                    data);
    }
}

void DeviceManager::noteLevel(int deviceNumber, qint64 levelCode, qint64 value, LevelMemory &memory)
{
    // Both must differ: a second value of the same level moves no handler.
    if (levelCode == memory.code || value == memory.value) {
        return;
    }
    memory = { levelCode, value };
    if (m_dispatcher) {
        m_dispatcher->changeLevel(deviceNumber, static_cast<int>(levelCode), static_cast<int>(value));
    }
}
