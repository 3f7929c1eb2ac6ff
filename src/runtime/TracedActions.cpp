#include "runtime/TracedActions.h"

#include "interp/Trace.h"

#include <QUrl>

namespace {
using Kind = TraceRecord::Kind;

DeviceAddress panel(int number)
{
    return { number, 1, 0 };
}

DeviceAddress socket(int localPort)
{
    return { 0, localPort, 0 };
}

QByteArray listed(const QVector<int> &channels)
{
    QByteArray text;
    for (const int channel : channels) {
        text += (text.isEmpty() ? "" : ",") + QByteArray::number(channel);
    }
    return text;
}
} // namespace

void TracedDevices::switchChannel(const DeviceAddress &device, PortAction action, int channel)
{
    m_trace.add(TraceRecord::of(Kind::Switched, device, channel).with(static_cast<int>(action)));
    m_devices.switchChannel(device, action, channel);
}

void TracedDevices::sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log logLocal)
{
    m_trace.add(TraceRecord::of(Kind::CommandSent, device).with(presence(device.number)).with(data));
    m_devices.sendDeviceCommand(device, data, logLocal);
}

void TracedDevices::sendPortString(const DeviceAddress &device, const QByteArray &data)
{
    m_trace.add(TraceRecord::of(Kind::StringSent, device).with(data));
    m_trace.noteAsked(device);
    m_devices.sendPortString(device, data);
}

void TracedDevices::setLevel(const DeviceAddress &device, int levelCode, int value)
{
    m_trace.add(TraceRecord::of(Kind::LevelSent, device, levelCode, value).with(presence(device.number)));
    const qint64 before = m_trace.last();
    m_devices.setLevel(device, levelCode, value);
    if (m_trace.last() == before) {
        m_trace.markLast(TraceRecord::kIsQuiet);
    }
}

void TracedDevices::setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values)
{
    for (int index = 0; index < codes.size(); ++index) {
        m_trace.add(TraceRecord::of(Kind::LevelSent, device, static_cast<int>(codes.at(index)),
                                    static_cast<double>(values.value(index)))
                        .with(presence(device.number)));
    }
    m_devices.setLevels(device, codes, values);
}

void TracedDevices::setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last)
{
    const QByteArray group = last > 0 ? QByteArray::number(first) + '-' + QByteArray::number(last) : QByteArray();
    m_trace.add(
        TraceRecord::of(Kind::Feedback, panel(deviceNumber), channel, status).with(presence(deviceNumber)).with(group));
    m_devices.setButtonStatusRange(deviceNumber, channel, status, first, last);
}

void TracedDevices::setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels)
{
    m_trace.add(TraceRecord::of(Kind::Feedback, panel(deviceNumber), channel, status)
                    .with(presence(deviceNumber))
                    .with(listed(channels)));
    m_devices.setButtonStatusList(deviceNumber, channel, status, channels);
}

void TracedDevices::setButtonStatuses(int deviceNumber, const QVector<qint64> &channels,
                                      const QVector<qint64> &statuses)
{
    for (int index = 0; index < channels.size(); ++index) {
        m_trace.add(TraceRecord::of(Kind::Feedback, panel(deviceNumber), static_cast<int>(channels.at(index)),
                                    static_cast<double>(statuses.value(index)))
                        .with(presence(deviceNumber)));
    }
    m_devices.setButtonStatuses(deviceNumber, channels, statuses);
}

int TracedDevices::relayState(const DeviceAddress &device, int channel) const
{
    return m_devices.relayState(device, channel);
}

bool TracedDevices::askPortChannel(const DeviceAddress &device, int channel)
{
    return m_devices.askPortChannel(device, channel);
}

QVariant TracedDevices::askPanel(int deviceNumber, const PanelQuestion &question)
{
    const QVariant answer = m_devices.askPanel(deviceNumber, question);
    m_trace.add(TraceRecord::of(Kind::PanelAsked, panel(deviceNumber), question.channel, answer.isValid() ? 1 : 0)
                    .with(question.name));
    return answer;
}

void TracedDevices::setOnPanel(int deviceNumber, const PanelSetting &setting)
{
    const int channel = setting.channels.isEmpty() ? 0 : static_cast<int>(setting.channels.first());
    m_trace.add(TraceRecord::of(Kind::PanelSet, panel(deviceNumber), channel)
                    .with(presence(deviceNumber))
                    .with(setting.name + ' ' + setting.value.toByteArray()));
    m_devices.setOnPanel(deviceNumber, setting);
}

int TracedDevices::presence(int deviceNumber) const
{
    const bool isPanel = deviceNumber != 0 && deviceNumber != kControllerDevice;
    return isPanel && !m_trace.isPresent(deviceNumber) ? TraceRecord::kIsAbsent : 0;
}

void TracedDevices::rebootController()
{
    m_devices.rebootController();
}

void TracedDevices::releaseHeldOutputs()
{
    m_devices.releaseHeldOutputs();
}

void TracedDevices::cancelRemoteToItems()
{
    m_devices.cancelRemoteToItems();
}

int TracedSockets::openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort)
{
    m_trace.noteAsked(socket(localPort));
    return noteOpened(localPort, QStringLiteral("%1:%2").arg(address).arg(port),
                      m_sockets.openClient(localPort, address, port, protocol, boundPort));
}

void TracedSockets::closeClient(int localPort)
{
    noteClosed(localPort);
    m_sockets.closeClient(localPort);
}

void TracedSockets::refuseAddress(int localPort)
{
    m_trace.noteAsked(socket(localPort));
    m_sockets.refuseAddress(localPort);
}

int TracedSockets::openServer(int localPort, quint16 port, Protocol protocol)
{
    return noteOpened(localPort, QStringLiteral(":%1").arg(port), m_sockets.openServer(localPort, port, protocol));
}

void TracedSockets::closeServer(int localPort)
{
    noteClosed(localPort);
    m_sockets.closeServer(localPort);
}

int TracedSockets::openWebSocketServer(int localPort, quint16 port, const QString &name)
{
    return noteOpened(localPort, QStringLiteral("ws:%1").arg(port),
                      m_sockets.openWebSocketServer(localPort, port, name));
}

void TracedSockets::closeWebSocketServer(int localPort)
{
    noteClosed(localPort);
    m_sockets.closeWebSocketServer(localPort);
}

int TracedSockets::openWebSocketClient(int localPort, const QString &url)
{
    m_trace.noteAsked(socket(localPort));
    return noteOpened(localPort, QUrl(url).toString(QUrl::RemoveUserInfo),
                      m_sockets.openWebSocketClient(localPort, url));
}

void TracedSockets::closeWebSocketClient(int localPort)
{
    noteClosed(localPort);
    m_sockets.closeWebSocketClient(localPort);
}

bool TracedSockets::sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data)
{
    const bool isTaken = m_sockets.sendOnce(protocol, host, port, data);
    m_trace.add(TraceRecord::of(Kind::StringSent, socket(0), port, isTaken ? 0 : -1).with(data));
    return isTaken;
}

void TracedSockets::broadcast(const QString &address, quint16 port, const QByteArray &datagram)
{
    m_trace.add(TraceRecord::of(Kind::StringSent, socket(0), port).with(datagram));
    m_sockets.broadcast(address, port, datagram);
}

int TracedSockets::noteOpened(int localPort, const QString &where, int result)
{
    m_trace.add(TraceRecord::of(Kind::SocketOpened, socket(localPort), 0, result).with(where.toUtf8()));
    return result;
}

void TracedSockets::noteClosed(int localPort)
{
    m_trace.add(TraceRecord::of(Kind::SocketClosed, socket(localPort)));
}
