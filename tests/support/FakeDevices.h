#pragma once
#include "program/DeviceActions.h"

#include <QStringList>

/// Writes down what a program switches and sends, one line each.
class FakeDevices : public DeviceActions
{
public:
    QStringList lines;
    int channelState = 0; // the answer to every question

    void switchChannel(const DeviceAddress &device, PortAction action, int channel) override
    {
        static const char *const names[] = { "off", "on", "pulse", "to" };
        const int code = static_cast<int>(action);
        const QString name = code >= 0 && code < 4 ? QString::fromLatin1(names[code]) : QString::number(code);
        add(QStringLiteral("%1 %2 %3").arg(name, device.text()).arg(channel));
    }
    void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log) override
    {
        add(QStringLiteral("command %1 %2").arg(device.text(), QString::fromLatin1(data)));
    }
    void sendPortString(const DeviceAddress &device, const QByteArray &data) override
    {
        // Device 1 is the tests' console: its lines stand alone.
        add(device.number == 1 ? QString::fromLatin1(data)
                               : QStringLiteral("string %1 %2").arg(device.text(), QString::fromLatin1(data)));
    }
    void setLevel(const DeviceAddress &device, int levelCode, int value) override
    {
        add(QStringLiteral("level %1 %2 %3").arg(device.text()).arg(levelCode).arg(value));
    }
    void setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values) override
    {
        add(QStringLiteral("levels %1 %2 = %3").arg(device.text(), joined(codes), joined(values)));
    }
    void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) override
    {
        add(QStringLiteral("feedback %1 %2 %3 in %4..%5")
                .arg(deviceNumber)
                .arg(channel)
                .arg(status)
                .arg(first)
                .arg(last));
    }
    void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) override
    {
        QVector<qint64> codes;
        for (const int code : channels) {
            codes.append(code);
        }
        add(QStringLiteral("feedback %1 %2 %3 of %4").arg(deviceNumber).arg(channel).arg(status).arg(joined(codes)));
    }
    void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels, const QVector<qint64> &statuses) override
    {
        add(QStringLiteral("feedbacks %1 %2 = %3").arg(deviceNumber).arg(joined(channels), joined(statuses)));
    }
    int relayState(const DeviceAddress &, int) const override { return channelState; }
    bool askPanelChannel(int, int) override { return channelState != 0; }
    bool askPortChannel(const DeviceAddress &, int) override { return channelState != 0; }
    void releaseHeldOutputs() override {}
    void cancelRemoteToItems() override {}

private:
    void add(const QString &line) { lines << line; }
    static QString joined(const QVector<qint64> &numbers)
    {
        QStringList texts;
        for (const qint64 number : numbers) {
            texts << QString::number(number);
        }
        return texts.join(QLatin1Char(','));
    }
};
