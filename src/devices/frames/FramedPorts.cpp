#include "devices/frames/FramedPorts.h"

#include "devices/frames/PortFrames.h"

void FramedPorts::setUpSerial(int port, const SerialSetup &setup)
{
    write(PortFrames::serialSetup(port, setup));
}

void FramedPorts::sendSerial(int port, const QByteArray &data)
{
    int offset = 0;
    do {
        write(PortFrames::serialData(port, data.mid(offset, PortFrames::kMaxSerialData)));
        offset += PortFrames::kMaxSerialData;
    } while (offset < data.size());
}

void FramedPorts::switchRelay(int relay, bool isOn)
{
    write(PortFrames::relay(relay, isOn));
}

void FramedPorts::switchIo(int number, bool isOn)
{
    write(PortFrames::io(number, isOn ? 1 : 0));
}

void FramedPorts::playIr(int emitter, const QByteArray &code, Play play)
{
    write(play == Play::Once ? PortFrames::irOnce(emitter, code) : PortFrames::irRepeat(emitter, code));
}

void FramedPorts::endIr(int emitter)
{
    write(PortFrames::irEnd(emitter));
}

void FramedPorts::queryIr(int number)
{
    write(PortFrames::irQuery(number));
}

void FramedPorts::close(int timeoutMs)
{
    write(PortFrames::closing());
    finishWriting(timeoutMs);
}

void SimulatedPorts::write(const QByteArray &frame)
{
    m_frames.push_back(frame);
    if (m_frames.size() > kKeptFrames) {
        m_frames.pop_front();
    }
    Q_EMIT frameWritten(frame);
}
