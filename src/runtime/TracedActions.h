#pragma once
#include "program/DeviceActions.h"
#include "program/SocketActions.h"

class Trace;

/// Writes into the trace what the program does to devices, on its way to who does it.
/// Owns: nothing. Thread: the main thread. Ends: with the program.
class TracedDevices : public DeviceActions
{
public:
    TracedDevices(Trace &trace, DeviceActions &devices)
        : m_trace(trace)
        , m_devices(devices)
    {}

    void switchChannel(const DeviceAddress &device, PortAction action, int channel) override;
    void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log logLocal) override;
    void sendPortString(const DeviceAddress &device, const QByteArray &data) override;
    void setLevel(const DeviceAddress &device, int levelCode, int value) override;
    void setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values) override;
    void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) override;
    void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) override;
    void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels, const QVector<qint64> &statuses) override;
    int relayState(const DeviceAddress &device, int channel) const override;
    bool askPortChannel(const DeviceAddress &device, int channel) override;
    QVariant askPanel(int deviceNumber, const PanelQuestion &question) override;
    void setOnPanel(int deviceNumber, const PanelSetting &setting) override;
    void rebootController() override;
    void releaseHeldOutputs() override;
    void cancelRemoteToItems() override;

private:
    int presence(int deviceNumber) const; // kIsAbsent of a panel that is not connected

    Trace &m_trace;
    DeviceActions &m_devices;
};

/// The same of its sockets.
class TracedSockets : public SocketActions
{
public:
    TracedSockets(Trace &trace, SocketActions &sockets)
        : m_trace(trace)
        , m_sockets(sockets)
    {}

    int openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort) override;
    void closeClient(int localPort) override;
    void refuseAddress(int localPort) override;
    int openServer(int localPort, quint16 port, Protocol protocol) override;
    void closeServer(int localPort) override;
    int openWebSocketServer(int localPort, quint16 port, const QString &name) override;
    void closeWebSocketServer(int localPort) override;
    int openWebSocketClient(int localPort, const QString &url) override;
    void closeWebSocketClient(int localPort) override;
    bool sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data) override;
    void broadcast(const QString &address, quint16 port, const QByteArray &datagram) override;
    std::vector<quint32> ipAddresses() const override { return m_sockets.ipAddresses(); }
    QStringList hardwareAddresses() const override { return m_sockets.hardwareAddresses(); }

private:
    int noteOpened(int localPort, const QString &where, int result);
    void noteClosed(int localPort);

    Trace &m_trace;
    SocketActions &m_sockets;
};
