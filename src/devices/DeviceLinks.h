#pragma once
#include "base/PanelProperties.h"
#include "model/StructType.h"

#include <QByteArray>
#include <QVector>

/// How the device manager reaches panels. Addressed by device number; nobody there: nothing happens.
class PanelLink
{
public:
    virtual ~PanelLink() = default;

    virtual void askPanel(int deviceNumber, const PanelQuestion &question) = 0; // see DeviceManager::panelAnswered
    virtual void setOnPanel(int deviceNumber, const PanelSetting &setting) = 0;

    // As in DeviceActions.
    virtual void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) = 0;
    virtual void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) = 0;
    virtual void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels,
                                   const QVector<qint64> &statuses) = 0;

    virtual void sendLevel(int deviceNumber, int levelCode, int value) = 0;
    virtual void sendLevels(int deviceNumber, const QVector<qint64> &codes, const QVector<qint64> &values) = 0;
    virtual void sendCommand(int deviceNumber, const QByteArray &data) = 0;
};

/// How it reaches the ports of other controllers.
class ControllerLink
{
public:
    virtual ~ControllerLink() = default;
    virtual void setupPort(const DeviceAddress &device, int channel, int action) = 0;
    virtual void sendListenString(const DeviceAddress &device, const QByteArray &data) = 0;
    virtual void sendListenCommand(const DeviceAddress &device, const QByteArray &data) = 0;
    virtual void queryDeviceState(const DeviceAddress &device, int channel) = 0; // answered by gotPortStatus
    virtual void cancelToItem() = 0;
};

/// The sockets that the program has opened, device 0.
class SocketOutputs
{
public:
    virtual ~SocketOutputs() = default;
    virtual bool write(int port, const QByteArray &data) = 0; // false: no socket is registered under that port
};
