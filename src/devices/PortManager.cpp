#include "devices/PortManager.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/IrFile.h"
#include "devices/SerialSetup.h"
#include "devices/SwitchNotice.h"

#include <QDebug>

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
{}

PortManager::~PortManager() = default;

void PortManager::switchPort(int port, PortAction action, int channel, int pulseMs)
{
    if (port == Port::kRelays) {
        switchRelay(action, channel);
    } else if (port == Port::kIo) {
        switchIo(action, channel, pulseMs);
    } else if (port >= Port::kFirstIr && port <= kLastPlayingIrPort) {
        switchIr(port, action, channel, pulseMs);
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
        write(PortFrames::serialSetup(port, *parsed.setup));
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
    int offset = 0;
    do {
        write(PortFrames::serialData(port, data.mid(offset, PortFrames::kMaxSerialData)));
        offset += PortFrames::kMaxSerialData;
    } while (offset < data.size());
}

void PortManager::perform(const RemotePortMessage &message)
{
    std::visit([this](const auto &request) { perform(request); }, message);
}

void PortManager::queryStatus(int port, int channel)
{
    if (port == Port::kIo) {
        Q_EMIT gotPortStatus(port, channel, 0);
    } else {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "Error: Wrong port status queried.")));
    }
}

void PortManager::queryIRCode(int number)
{
    write(PortFrames::irQuery(number));
}

void PortManager::releaseHeldOutputs()
{
    const std::vector<int> emitters = m_heldEmitters.takeAll();
    for (const int emitter : emitters) {
        write(PortFrames::irEnd(emitter));
    }
    if (!emitters.empty()) {
        for (int led = kFirstIrLed; led <= kLastIrLed; ++led) {
            m_delays.after(0, [this, led] { Q_EMIT sendLedInfo(led, false); });
        }
    }
    for (const int number : m_heldIos.takeAll()) {
        write(PortFrames::io(number, 0));
    }
}

void PortManager::writeClosingFrame()
{
    if (m_hardware->isOpen()) {
        write(PortFrames::closing());
        m_hardware->finishWriting(kClosingTimeoutMs);
    }
}

void PortManager::open()
{
    if (const std::optional<QString> problem = m_hardware->open()) {
        qWarning().noquote() << *problem;
    }
}

void PortManager::switchRelay(PortAction action, int relay)
{
    switch (action) {
    case PortAction::Off:
    case PortAction::On:
        m_relays.set(relay, action == PortAction::On);
        return;
    case PortAction::Pulse:
    case PortAction::To:
        warnOfWrongPort();
        return;
    }
}

void PortManager::switchIo(PortAction action, int number, int pulseMs)
{
    if (number < 1 || number > Port::kIos) {
        return;
    }
    switch (action) {
    case PortAction::Off:
        write(PortFrames::io(number, 0));
        return;
    case PortAction::On:
        write(PortFrames::io(number, 1));
        return;
    case PortAction::Pulse:
        write(PortFrames::io(number, 1));
        m_delays.after(pulseMsOr(pulseMs), [this, number] { write(PortFrames::io(number, 0)); });
        return;
    case PortAction::To:
        write(PortFrames::io(number, 1));
        m_heldIos.add(number);
        return;
    }
}

void PortManager::switchIr(int port, PortAction action, int channel, int pulseMs)
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
        playIr(port, action, lookup.code, pulseMs);
        return;
    }
}

void PortManager::playIr(int port, PortAction action, const QByteArray &code, int pulseMs)
{
    const int emitter = Port::emitterOf(port);
    const int led = irLed(port);
    switch (action) {
    case PortAction::Off:
    case PortAction::On:
        Q_EMIT sendLedInfo(led, true);
        write(PortFrames::irOnce(emitter, code));
        m_delays.after(kLedOffAfterMs, [this, led] { Q_EMIT sendLedInfo(led, false); });
        return;
    case PortAction::Pulse:
        Q_EMIT sendLedInfo(led, true);
        write(PortFrames::irRepeat(emitter, code));
        m_delays.after(pulseMsOr(pulseMs), [this, emitter, led] {
            write(PortFrames::irEnd(emitter));
            Q_EMIT sendLedInfo(led, false);
        });
        return;
    case PortAction::To:
        Q_EMIT sendLedInfo(led, true);
        write(PortFrames::irRepeat(emitter, code));
        m_heldEmitters.add(emitter);
        return;
    }
}

void PortManager::perform(const RemoteSerialSend &send)
{
    write(PortFrames::serialSetup(send.port, send.setup));
    if (isMonitored()) {
        const QString text =
            translated(QT_TRANSLATE_NOOP("messages", "send port command: port number is %1 and sended data is %2"));
        monitorLog(MonitorMessageType::PortTraffic, text.arg(send.port).arg(printableOrHex(send.data)));
    }
    sendSerial(send.port, send.data);
}

void PortManager::perform(const RemoteSwitch &change)
{
    if (change.isInRange) {
        switchPort(change.port, change.action, change.channel, change.pulseMs);
    }
    if (isMonitored()) {
        const DeviceAddress address{ kControllerDevice, change.port, 0 };
        if (const auto notice = SwitchNotice::of(address, change.action, change.channel, SwitchNotice::Place::Here)) {
            monitorLog(notice->type, notice->text);
        }
    }
}

void PortManager::perform(const RemoteHeldRelease &)
{
    releaseHeldOutputs();
}

int PortManager::pulseMsOr(int pulseMs) const
{
    if (pulseMs > 0) {
        return pulseMs;
    }
    return m_pulseTime ? m_pulseTime() : kDefaultPulseMs;
}

void PortManager::write(const QByteArray &frame)
{
    m_hardware->write(frame);
}
