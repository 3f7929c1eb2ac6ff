#pragma once
#include <QByteArray>
#include <QObject>

#include <optional>

struct SerialSetup;

/// What stands behind the ports of device 5001: a door in both directions. Numbers count from 1: serial ports, relays
/// and emitters to 8, IO to 8. What has no number there is not asked for.
/// Thread: the main thread, the signals too; a kind that reads on another thread hands over what came in a little at a
/// time, and reads no more while the program is behind. Ends: with its port manager.
class PortHardware : public QObject
{
    Q_OBJECT
public:
    enum class Play { Once, UntilEnded }; // an infrared code

    PortHardware();
    ~PortHardware() override;

    virtual void open() = 0; // and it says itself what goes wrong, then and later

    virtual void setUpSerial(int port, const SerialSetup &setup) = 0;
    virtual void sendSerial(int port, const QByteArray &data) = 0;
    virtual void switchRelay(int relay, bool isOn) = 0;
    virtual void switchIo(int number, bool isOn) = 0;             // makes it an output; on: low
    virtual std::optional<bool> ioState(int) const { return {}; } // now, where it need not wait for ioChanged
    virtual void playIr(int emitter, const QByteArray &code, Play play) = 0;
    virtual void endIr(int emitter) = 0;
    virtual void queryIr(int number) = 0; // answered by irLearned

    virtual void close(int timeoutMs) = 0; // the program ends; returns when all is out, or after that time

Q_SIGNALS:
    void serialReceived(int port, const QByteArray &data); // what arrived together
    void ioChanged(int number, bool isOn);                 // a contact; also what it is at first, and again
    void irLearned(int number, const QByteArray &code);
    void portOnline(int port, bool isOnline); // of device 5001, when its hardware goes or is back
};
