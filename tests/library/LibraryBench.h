#pragma once
#include "interp/Interpreter.h"
#include "library/Library.h"
#include "model/Values.h"
#include "program/AST.h"
#include "program/SocketActions.h"
#include "support/FakeDevices.h"

#include <QTemporaryDir>
#include <QVariant>

#include <functional>
#include <limits>

Q_DECLARE_METATYPE(ValueRef)

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The program's calls to the outside, as lines; questions answer with what the test set.
class RecordingDevices : public FakeDevices
{
public:
    QStringList calls;
    QVariant answer;

    void sendDeviceCommand(const DeviceAddress &device, const QByteArray &data, Log log) override
    {
        calls << spoken(log == Log::Yes ? "command, logged" : "command", device, data);
    }
    QVariant askPanel(int device, const PanelQuestion &question) override
    {
        calls << spoken(device, question);
        return answer;
    }
    void setOnPanel(int device, const PanelSetting &setting) override
    {
        const QVariant &value = setting.value;
        const QByteArray &name = setting.name;
        switch (setting.kind) {
        case PanelSetting::Kind::ButtonProperty:
            calls << spoken("button", device, setting.channels, name, value.typeName(), value);
            break;
        case PanelSetting::Kind::StateProperty:
            calls << spoken("state", device, setting.channels, setting.state, name, value.typeName(), value);
            break;
        case PanelSetting::Kind::PageProperty:
            calls << spoken("page", device, setting.page, name, value.typeName(), value);
            break;
        case PanelSetting::Kind::ContainerProperty:
            calls << spoken("container", device, setting.channels, name, value.toByteArray());
            break;
        case PanelSetting::Kind::ContainerCall:
            calls << spoken("call", device, setting.channels, name, value.toByteArray());
            break;
        }
    }
    void rebootController() override { calls << QStringLiteral("reboot"); }
};

/// Stands where the dispatcher stands.
class RecordingEvents : public EventRaiser
{
public:
    QStringList calls;
    std::vector<TimelineFigures> timelines;
    std::optional<ChannelAddress> input;

    void simulatePush(int deviceNumber, int port, int channel) override
    {
        calls << QStringLiteral("%1:%2 %3").arg(deviceNumber).arg(port).arg(channel);
    }
    void raiseCommand(const DeviceAddress &, const QByteArray &) override {}
    void raiseTimeline(const TimelineFigures &figures) override { timelines.push_back(figures); }
    std::optional<ChannelAddress> handledInput() const override { return input; }
};

/// Writes down what the program asks of its sockets; answers with what the test set.
class RecordingSockets : public SocketActions
{
public:
    QStringList calls;
    int status = 0;
    bool isFull = false;
    std::vector<quint32> ips;
    QStringList macs;
    QByteArray datagram; // of the last broadcast

    int openClient(int localPort, const QString &address, quint16 port, Protocol protocol, int boundPort) override
    {
        return note("client", localPort, address, port, protocol, boundPort);
    }
    void closeClient(int localPort) override { note("close client", localPort); }
    void refuseAddress(int localPort) override { note("refuse", localPort); }
    int openServer(int localPort, quint16 port, Protocol protocol) override
    {
        return note("server", localPort, port, protocol);
    }
    void closeServer(int localPort) override { note("close server", localPort); }
    int openWebSocketServer(int localPort, quint16 port, const QString &name) override
    {
        return note("websocket server", localPort, port, name);
    }
    void closeWebSocketServer(int localPort) override { note("close websocket server", localPort); }
    int openWebSocketClient(int localPort, const QString &url) override
    {
        return note("websocket client", localPort, url);
    }
    void closeWebSocketClient(int localPort) override { note("close websocket client", localPort); }
    bool sendOnce(Protocol protocol, const QString &host, int port, const QByteArray &data) override
    {
        note("send", protocol, host, port, data);
        return !isFull;
    }
    void broadcast(const QString &address, quint16 port, const QByteArray &bytes) override
    {
        note("broadcast", address, port);
        datagram = bytes;
    }
    std::vector<quint32> ipAddresses() const override { return ips; }
    QStringList hardwareAddresses() const override { return macs; }

private:
    template <class... Parts>
    int note(const Parts &...parts)
    {
        calls << spoken(parts...);
        return status;
    }
};

/// A program object with the library, and built-ins called by name without a program around them.
class LibraryBench
{
public:
    LibraryBench();

    /// A call. An argument is a QByteArray (a string literal), a number (DOUBLE), a ValueRef (a variable), or an
    /// invalid QVariant for one that is left empty. What the calling expression would see: a QByteArray of an array, a
    /// double, or an invalid QVariant.
    QVariant call(const char *name, const QVariantList &arguments);
    QVariant callWithoutList(const char *name);

    QTemporaryDir directory;
    AST program;
    ProgramState state;
    Library library;
    Interpreter interpreter;
    RecordingDevices devices;
    RecordingEvents events;
    RecordingSockets sockets;
    QStringList messages;
    std::function<void()> beforeEveryEvaluation; // so that arguments can change each other's variables

private:
    QVariant run(const char *name, const QVariantList &arguments, bool isPresent);
};

// Values for arguments.
QVariant variable(const ValueRef &value);
QVariant number(int typeCode, double value);                         // a number of that type
ValueRef text(const QByteArray &bytes, int maxLength = 0);           // a CHAR array variable; 0: not bounded
ValueRef numbers(int typeCode, const std::vector<double> &elements); // an array variable
ValueRef device(int deviceNumber, int port = 1, int system = 0);
ValueRef devChan(int deviceNumber, int channel);
ValueRef devLev(int deviceNumber, int level);
ValueRef listOf(int typeCode, const std::vector<ValueRef> &elements); // an array of clones
QByteArray bytesOf(const ValueRef &value);
