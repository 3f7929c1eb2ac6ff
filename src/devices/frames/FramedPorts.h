#pragma once
#include "devices/PortHardware.h"

#include <deque>

/// Port hardware that takes frames; docs/formats/port-frames.md.
class FramedPorts : public PortHardware
{
public:
    void setUpSerial(int port, const SerialSetup &setup) override;
    void sendSerial(int port, const QByteArray &data) override;
    void switchRelay(int relay, bool isOn) override;
    void switchIo(int number, bool isOn) override;
    void playIr(int emitter, const QByteArray &code, Play play) override;
    void endIr(int emitter) override;
    void queryIr(int number) override;
    void close(int timeoutMs) override;

private:
    virtual void write(const QByteArray &frame) = 0;
    virtual void finishWriting(int timeoutMs) = 0;
};

/// The desktop's hardware: there is none; the frames can be watched.
/// Owns: the latest frames. Thread, Ends: as PortHardware.
class SimulatedPorts : public FramedPorts
{
    Q_OBJECT
public:
    static constexpr size_t kKeptFrames = 1000;

    void open() override {}
    const std::deque<QByteArray> &frames() const { return m_frames; } // the latest, oldest first
    void clearFrames() { m_frames.clear(); }

Q_SIGNALS:
    void frameWritten(const QByteArray &frame);

private:
    void write(const QByteArray &frame) override;
    void finishWriting(int) override {}

    std::deque<QByteArray> m_frames;
};
