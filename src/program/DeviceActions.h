#pragma once
#include "base/PanelProperties.h"
#include "model/StructType.h"

#include <QByteArray>
#include <QVariant>
#include <QVector>

enum class PortAction : int { Off = 0, On = 1, Pulse = 2, To = 3 };

constexpr int kControllerDevice = 5001; // the controller's own ports

/// The outside world as a running program reaches it. The device manager implements it.
/// Thread: the main thread. Questions wait for their answer in a nested event loop of some 100 ms; while they wait,
/// other events of the program run.
class DeviceActions
{
public:
    virtual ~DeviceActions() = default;

    virtual void switchChannel(const DeviceAddress &device, PortAction action, int channel) = 0;
    enum class Log { Yes, No };
    virtual void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log logLocal) = 0;
    virtual void sendPortString(const DeviceAddress &device, const QByteArray &data) = 0;
    virtual void setLevel(const DeviceAddress &device, int levelCode, int value) = 0;
    virtual void setLevels(const DeviceAddress &device, const QVector<qint64> &codes,
                           const QVector<qint64> &values) = 0;

    /// Feedback of a panel's channels: in the range first..last (0..0: the channel alone), in a list, or plain.
    virtual void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) = 0;
    virtual void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) = 0;
    virtual void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels,
                                   const QVector<qint64> &statuses) = 0;

    virtual int relayState(const DeviceAddress &device, int channel) const = 0; // 1 on, 0 off
    virtual bool askPortChannel(const DeviceAddress &device, int channel) = 0;

    /// The status of a channel is an int; what a property holds stands above PanelSetting. Invalid when no answer
    /// comes.
    virtual QVariant askPanel(int /*deviceNumber*/, const PanelQuestion &) { return {}; }
    virtual void setOnPanel(int /*deviceNumber*/, const PanelSetting &) {}

    virtual void rebootController() {} // ends this process after the statement that runs

    virtual void releaseHeldOutputs() = 0;  // the port outputs that TO holds
    virtual void cancelRemoteToItems() = 0; // tell linked controllers the same
};
