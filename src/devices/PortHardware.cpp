#include "devices/PortHardware.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "devices/PortFrames.h"

#include <QSerialPort>

void SimulatedPortHardware::write(const QByteArray &frame)
{
    m_frames.push_back(frame);
    if (m_frames.size() > kKeptFrames) {
        m_frames.pop_front();
    }
    Q_EMIT frameWritten(frame);
}

SerialPortHardware::SerialPortHardware(const QString &deviceFile)
    : m_port(std::make_unique<QSerialPort>(deviceFile))
{
    m_port->setBaudRate(QSerialPort::Baud115200);
}

SerialPortHardware::~SerialPortHardware() = default;

std::optional<QString> SerialPortHardware::open()
{
    if (m_port->open(QIODevice::ReadWrite)) {
        return std::nullopt;
    }
    return translated(QT_TRANSLATE_NOOP("messages", "Cannot open the port link %1: %2"))
        .arg(m_port->portName(), m_port->errorString());
}

bool SerialPortHardware::isOpen() const
{
    return m_port->isOpen();
}

void SerialPortHardware::write(const QByteArray &frame)
{
    if (m_port->isOpen()) {
        m_port->write(PortFrames::onPortLink(frame));
    }
}

void SerialPortHardware::finishWriting(int timeoutMs)
{
    const qint64 endMs = Clock::instance().monotonicMs() + timeoutMs;
    while (m_port->isOpen() && m_port->bytesToWrite() > 0) {
        const qint64 leftMs = endMs - Clock::instance().monotonicMs();
        if (leftMs <= 0 || !m_port->waitForBytesWritten(static_cast<int>(leftMs))) {
            return;
        }
    }
}
