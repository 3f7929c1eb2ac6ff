#pragma once
#include "base/Clock.h"
#include "program/DeviceActions.h"
#include "support/Spoken.h"

/// Writes down what a program switches and sends, one line each.
class FakeDevices : public DeviceActions
{
public:
    QStringList lines;
    int channelState = 0; // the answer to every question about a channel
    int unansweredMs = 0; // how long a panel is waited for in vain; 0: it answers

    void switchChannel(const DeviceAddress &device, PortAction action, int channel) override
    {
        static const char *const names[] = { "off", "on", "pulse", "to" };
        const int code = static_cast<int>(action);
        add(code >= 0 && code < 4 ? QString::fromLatin1(names[code]) : QString::number(code), device, channel);
    }
    void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log) override
    {
        add("command", device, data);
    }
    void sendPortString(const DeviceAddress &device, const QByteArray &data) override
    {
        // Device 1 is the tests' console: its lines stand alone.
        lines << (device.number == 1 ? QString::fromLatin1(data.constData(), data.size())
                                     : spoken("string", device, data));
    }
    void setLevel(const DeviceAddress &device, int levelCode, int value) override
    {
        add("level", device, levelCode, value);
    }
    void setLevels(const DeviceAddress &device, const QVector<qint64> &codes, const QVector<qint64> &values) override
    {
        add("levels", device, codes, "=", values);
    }
    void setButtonStatusRange(int deviceNumber, int channel, int status, int first, int last) override
    {
        add("feedback", deviceNumber, channel, status, "in", QStringLiteral("%1..%2").arg(first).arg(last));
    }
    void setButtonStatusList(int deviceNumber, int channel, int status, const QVector<int> &channels) override
    {
        add("feedback", deviceNumber, channel, status, "of", channels);
    }
    void setButtonStatuses(int deviceNumber, const QVector<qint64> &channels, const QVector<qint64> &statuses) override
    {
        add("feedbacks", deviceNumber, channels, "=", statuses);
    }
    int relayState(const DeviceAddress &, int) const override { return channelState; }
    QVariant askPanel(int, const PanelQuestion &question) override
    {
        if (question.kind != PanelQuestion::Kind::Status) {
            return {};
        }
        if (unansweredMs > 0) { // the world goes on meanwhile
            Clock::instance().advance(unansweredMs);
            return {};
        }
        return channelState;
    }
    bool askPortChannel(const DeviceAddress &, int) override { return channelState != 0; }
    void releaseHeldOutputs() override {}
    void cancelRemoteToItems() override {}

private:
    template <class... Parts>
    void add(const Parts &...parts)
    {
        lines << spoken(parts...);
    }
};
