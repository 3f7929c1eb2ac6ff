#pragma once
#include "model/StructType.h"

#include <QByteArray>
#include <QVariant>
#include <QVector>

/// How the device manager reaches panels. Addressed by device number; nobody there: nothing happens.
class PanelLink
{
public:
    virtual ~PanelLink() = default;

    // Questions, answered by the DeviceManager's signals gotButtonStatus, gotButtonText and so on.
    virtual void queryButtonStatus(int deviceNumber, int channel) = 0;
    virtual void queryButtonText(int deviceNumber, int channel, int state) = 0;
    virtual void queryButtonProperty(int deviceNumber, int channel, const QByteArray &name) = 0;
    virtual void queryButtonStateProperty(int deviceNumber, int channel, int state, const QByteArray &name) = 0;
    virtual void queryPageProperty(int deviceNumber, const QByteArray &page, const QByteArray &name) = 0;

    virtual void setRangeButtonStatus(int deviceNumber, int channel, int status, int first, int last) = 0;
    virtual void setRangeButtonStatusVals(int deviceNumber, const QVector<qint64> &channels,
                                          const QVector<qint64> &statuses) = 0;
    virtual void setListButtonStatus(int deviceNumber, int channel, int status, const QVector<int> &channels) = 0;
    virtual void sendLevel(int deviceNumber, int levelCode, int value) = 0;
    virtual void sendLevels(int deviceNumber, const QVector<qint64> &codes, const QVector<qint64> &values) = 0;
    virtual void sendCommand(int deviceNumber, const QByteArray &data) = 0;

    using Channels = QVector<qint64>;
    virtual void setButtonProperty(int deviceNumber, const Channels &channels, const QByteArray &name,
                                   const QVariant &value) = 0;
    virtual void setButtonStateProperty(int deviceNumber, const Channels &channels, int state, const QByteArray &name,
                                        const QVariant &value) = 0;
    virtual void setPageProperty(int deviceNumber, const QByteArray &page, const QByteArray &name,
                                 const QVariant &value) = 0;
    virtual void setContainerProperty(int deviceNumber, const Channels &channels, const QByteArray &name,
                                      const QByteArray &data) = 0;
    virtual void containerCall(int deviceNumber, const Channels &channels, const QByteArray &method,
                               const QByteArray &data) = 0;
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
