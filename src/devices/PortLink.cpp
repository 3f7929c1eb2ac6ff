#include "devices/PortLink.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/PortFrames.h"
#include "devices/SerialLine.h"

#include <QDebug>

PortLink::PortLink(const QString &deviceFile)
    : m_line(new SerialLine(deviceFile, this))
{
    connect(m_line, &SerialLine::readyRead, this, [this] { m_line->readAll(); }); // the board has nothing to tell
    connect(m_line, &SerialLine::failed, this, &PortLink::complain);
}

void PortLink::open()
{
    if (const std::optional<QString> reason = m_line->open()) {
        complain(*reason);
    }
}

void PortLink::close(int timeoutMs)
{
    if (m_line->isOpen()) {
        FramedPorts::close(timeoutMs);
    }
}

void PortLink::complain(const QString &reason) const
{
    const QString text =
        translated(QT_TRANSLATE_NOOP("messages", "Cannot open the port link %1: %2")).arg(m_line->deviceFile(), reason);
    qWarning().noquote() << text;
    monitorLog(MonitorMessageType::Error, text);
}

void PortLink::write(const QByteArray &frame)
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

void PortLink::finishWriting(int timeoutMs)
{
    const qint64 endMs = Clock::instance().monotonicMs() + timeoutMs;
    while (m_line->isOpen() && m_line->bytesToWrite() > 0) {
        const qint64 leftMs = endMs - Clock::instance().monotonicMs();
        if (leftMs <= 0 || !m_line->waitForBytesWritten(static_cast<int>(leftMs))) {
            return;
        }
    }
}
