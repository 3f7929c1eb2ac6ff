#include "devices/PortManager.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/IrFile.h"
#include "devices/SerialSetup.h"
#include "devices/SwitchNotice.h"

namespace {
constexpr int kLedOffAfterMs = 40;
constexpr int kClosingTimeoutMs = 1000;

constexpr int kSerialActivityLed = 12;
constexpr int kFirstIrLed = 8;
constexpr int kLastIrLed = 11;
constexpr int kLastPlayingIrPort = 13; // emitters 5 to 8 have a code file and no output
constexpr int kLastSendingSerialPort = 4;
constexpr int kFirstIrChannel = 100; // of code number 0
constexpr int kLastIrChannel = 355;

int irLed(int port)
{
    return port - 2;
}
int transmitLed(int port)
{
    return (port - 1) * 2;
}

void warnOfWrongPort()
{
    monitorLog(MonitorMessageType::Warning,
               translated(QT_TRANSLATE_NOOP("messages", "Warning: Wrong port number was referred.")));
}
} // namespace

PortManager::PortManager(std::unique_ptr<PortHardware> hardware, QObject *parent)
    : QObject(parent)
    , m_hardware(std::move(hardware))
{
    connect(m_hardware.get(), &PortHardware::serialReceived, this, &PortManager::takeReceived);
    connect(m_hardware.get(), &PortHardware::ioChanged, this, &PortManager::takeContact);
    connect(m_hardware.get(), &PortHardware::irLearned, this, &PortManager::gotIRCode);
    connect(m_hardware.get(), &PortHardware::portOnline, this, &PortManager::portOnline);
}

PortManager::~PortManager() = default;

void PortManager::switchPort(int port, PortAction action, int channel)
{
    if (port == Port::kRelays) {
        switchRelay(action, channel);
    } else if (port == Port::kIo) {
        switchIo(action, channel);
    } else if (port >= Port::kFirstIr && port <= kLastPlayingIrPort) {
        switchIr(port, action, channel);
    } else {
        warnOfWrongPort();
    }
}

void PortManager::setUpSerial(int port, const QByteArray &command)
{
    const SerialSetupCommand parsed = SerialSetupCommand::parse(command);
    for (const SerialSetupCommand::Remark &remark : parsed.remarks) {
        monitorLog(remark.type, remark.text);
    }
    if (parsed.setup) {
        m_hardware->setUpSerial(port, *parsed.setup);
    }
}

void PortManager::sendSerial(int port, const QByteArray &data)
{
    if (port < 1 || port > kLastSendingSerialPort) {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages",
                                                "Error: Wrong serial port port number in send_string statement.")));
        return;
    }
    const int led = transmitLed(port);
    ++m_litTransmissions;
    Q_EMIT sendLedInfo(kSerialActivityLed, true);
    Q_EMIT sendLedInfo(led, true);
    m_delays.after(kLedOffAfterMs, [this, led] {
        Q_EMIT sendLedInfo(led, false);
        if (--m_litTransmissions == 0) {
            Q_EMIT sendLedInfo(kSerialActivityLed, false);
        }
    });
    m_hardware->sendSerial(port, data);
}

void PortManager::queryStatus(int port, int channel)
{
    if (port == Port::kIo) { // the event that tells what a contact is at first may come later
        const bool isOn = m_hardware->ioState(channel).value_or(m_ios.isOn(channel));
        Q_EMIT gotPortStatus(port, channel, isOn ? 1 : 0);
    } else {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "Error: Wrong port status queried.")));
    }
}

void PortManager::queryIRCode(int number)
{
    m_hardware->queryIr(number);
}

void PortManager::releaseHeldOutputs()
{
    const std::vector<int> emitters = m_heldEmitters.takeAll();
    for (const int emitter : emitters) {
        m_hardware->endIr(emitter);
    }
    if (!emitters.empty()) {
        for (int led = kFirstIrLed; led <= kLastIrLed; ++led) {
            m_delays.after(0, [this, led] { Q_EMIT sendLedInfo(led, false); });
        }
    }
    for (const int number : m_heldIos.takeAll()) {
        driveIo(number, false);
    }
}

void PortManager::writeClosingFrame()
{
    m_hardware->close(kClosingTimeoutMs);
}

void PortManager::open()
{
    m_hardware->open();
}

void PortManager::takeReceived(int port, const QByteArray &data)
{
    for (int offset = 0; offset < data.size(); offset += kMostReceived) {
        Q_EMIT received(port, data.mid(offset, kMostReceived));
    }
}

void PortManager::takeContact(int number, bool isOn)
{
    if (m_ios.isOn(number) != isOn) { // what tells a state again has raised its event
        m_ios.set(number, isOn);
        Q_EMIT contactChanged(number, isOn);
    }
}

void PortManager::switchRelay(PortAction action, int relay)
{
    switch (action) {
    case PortAction::Off:
    case PortAction::On:
        m_relays.set(relay, action == PortAction::On);
        if (relay >= 1 && relay <= Port::kRelayCount) {
            m_hardware->switchRelay(relay, action == PortAction::On);
        }
        return;
    case PortAction::Pulse:
    case PortAction::To:
        warnOfWrongPort();
        return;
    }
}

void PortManager::switchIo(PortAction action, int number)
{
    if (number < 1 || number > Port::kIos) {
        return;
    }
    switch (action) {
    case PortAction::Off:
        driveIo(number, false);
        return;
    case PortAction::On:
        driveIo(number, true);
        return;
    case PortAction::Pulse:
        driveIo(number, true);
        m_delays.after(pulseMs(), [this, number] { driveIo(number, false); });
        return;
    case PortAction::To:
        driveIo(number, true);
        m_heldIos.add(number);
        return;
    }
}

void PortManager::driveIo(int number, bool isOn)
{
    m_ios.set(number, isOn);
    m_hardware->switchIo(number, isOn);
}

void PortManager::switchIr(int port, PortAction action, int channel)
{
    if (channel < kFirstIrChannel) {
        return;
    }
    if (channel > kLastIrChannel) {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "Error: Too large IR number called.")));
        return;
    }
    const IrFile::Lookup lookup =
        IrFile::find(m_irFilePath ? m_irFilePath(port) : QString(), channel - kFirstIrChannel);
    switch (lookup.outcome) {
    case IrFile::Outcome::CannotOpen:
        monitorLog(
            MonitorMessageType::Warning,
            translated(QT_TRANSLATE_NOOP("messages", "Warning: Failed to open IR file corresponding with port %1."))
                .arg(port));
        return;
    case IrFile::Outcome::NotFound:
        return;
    case IrFile::Outcome::Found:
        playIr(port, action, lookup.code);
        return;
    }
}

void PortManager::playIr(int port, PortAction action, const QByteArray &code)
{
    const int emitter = Port::emitterOf(port);
    const int led = irLed(port);
    switch (action) {
    case PortAction::Off:
    case PortAction::On:
        Q_EMIT sendLedInfo(led, true);
        m_hardware->playIr(emitter, code, PortHardware::Play::Once);
        m_delays.after(kLedOffAfterMs, [this, led] { Q_EMIT sendLedInfo(led, false); });
        return;
    case PortAction::Pulse:
        Q_EMIT sendLedInfo(led, true);
        m_hardware->playIr(emitter, code, PortHardware::Play::UntilEnded);
        m_delays.after(pulseMs(), [this, emitter, led] {
            m_hardware->endIr(emitter);
            Q_EMIT sendLedInfo(led, false);
        });
        return;
    case PortAction::To:
        Q_EMIT sendLedInfo(led, true);
        m_hardware->playIr(emitter, code, PortHardware::Play::UntilEnded);
        m_heldEmitters.add(emitter);
        return;
    }
}

int PortManager::pulseMs() const
{
    return m_pulseTime ? m_pulseTime() : kDefaultPulseMs;
}
