#pragma once
#include "devices/Delays.h"
#include "devices/HeldOutputs.h"
#include "devices/PortHardware.h"
#include "program/DeviceActions.h"

#include <QObject>

#include <functional>
#include <memory>

/// The controller's own ports: serial lines, relays, IR emitters and digital IO.
/// Owns: the hardware behind them. Thread: the main thread. Ends: with the device manager; pulses that run then do
/// not end, the hardware's closing frame takes care of them.
class PortManager : public QObject
{
    Q_OBJECT
public:
    using IrFilePath = std::function<QString(int port)>; // empty: the port has no code file
    using PulseTime = std::function<int()>;              // milliseconds

    static constexpr int kDefaultPulseMs = 500; // while no program says otherwise
    static constexpr int kMostReceived = 4096;  // bytes in one event

    explicit PortManager(std::unique_ptr<PortHardware> hardware, QObject *parent = nullptr);
    ~PortManager() override;

    bool isRelayOn(int relay) const { return m_relays.isOn(relay); }

    void setIrFilePath(IrFilePath lookup) { m_irFilePath = std::move(lookup); }
    void setPulseTime(PulseTime pulseTime) { m_pulseTime = std::move(pulseTime); }

    void switchPort(int port, PortAction action, int channel);
    void setUpSerial(int port, const QByteArray &command);
    void sendSerial(int port, const QByteArray &data);
    void queryStatus(int port, int channel); // answered by gotPortStatus at once, or not at all
    void queryIRCode(int number);            // answered by gotIRCode, where there is hardware
    void releaseHeldOutputs();
    void writeClosingFrame(); // and wait until it is out, at most a second

public Q_SLOTS:
    void open();

Q_SIGNALS:
    void received(int port, const QByteArray &data); // on a serial port, at most kMostReceived bytes
    void contactChanged(int number, bool isOn);
    void portOnline(int port, bool isOnline);
    void gotPortStatus(int port, int channel, int status);
    void gotIRCode(int number, const QByteArray &data);
    void sendLedInfo(int led, bool on);

private:
    void takeReceived(int port, const QByteArray &data);
    void takeContact(int number, bool isOn);
    void switchRelay(PortAction action, int relay);
    void switchIo(PortAction action, int number);
    void driveIo(int number, bool isOn);
    void switchIr(int port, PortAction action, int channel);
    void playIr(int port, PortAction action, const QByteArray &code);
    int pulseMs() const;

    std::unique_ptr<PortHardware> m_hardware;
    IrFilePath m_irFilePath;
    PulseTime m_pulseTime;
    OutputStates m_relays;
    OutputStates m_ios;
    HeldOutputList m_heldEmitters;
    HeldOutputList m_heldIos;
    int m_litTransmissions = 0; // serial transmissions whose LED is still on
    Delays m_delays;
};
