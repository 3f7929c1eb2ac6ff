#include "devices/PortHardware.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/PortFrames.h"
#include "devices/SerialLine.h"

void SimulatedPortHardware::write(const QByteArray &frame)
{
    m_frames.push_back(frame);
    if (m_frames.size() > kKeptFrames) {
        m_frames.pop_front();
    }
    Q_EMIT frameWritten(frame);
}

SerialPortHardware::SerialPortHardware(const QString &deviceFile)
    : m_line(std::make_unique<SerialLine>(deviceFile))
{
    QObject::connect(m_line.get(), &SerialLine::readyRead, m_line.get(),
                     [line = m_line.get()] { line->readAll(); }); // the board has nothing to tell
}

SerialPortHardware::~SerialPortHardware() = default;

std::optional<QString> SerialPortHardware::open()
{
    const std::optional<QString> reason = m_line->open();
    return reason ? std::optional(translated(QT_TRANSLATE_NOOP("messages", "Cannot open the port link %1: %2"))
                                      .arg(m_line->deviceFile(), *reason))
                  : std::nullopt;
}

bool SerialPortHardware::isOpen() const
{
    return m_line->isOpen();
}

void SerialPortHardware::write(const QByteArray &frame)
{
    constexpr qint64 kMostWaiting = 64 * 1024; // five seconds of the line
    const bool hasRoom = m_line->bytesToWrite() <= kMostWaiting;
    if (hasRoom) {
        m_line->write(PortFrames::onPortLink(frame));
    } else if (!m_isStuck) {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "Error:The port link %1 takes nothing: frames are lost"))
                       .arg(m_line->deviceFile()));
    }
    m_isStuck = !hasRoom;
}

void SerialPortHardware::finishWriting(int timeoutMs)
{
    const qint64 endMs = Clock::instance().monotonicMs() + timeoutMs;
    while (m_line->isOpen() && m_line->bytesToWrite() > 0) {
        const qint64 leftMs = endMs - Clock::instance().monotonicMs();
        if (leftMs <= 0 || !m_line->waitForBytesWritten(static_cast<int>(leftMs))) {
            return;
        }
    }
}
