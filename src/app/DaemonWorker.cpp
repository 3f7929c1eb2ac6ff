#include "app/DaemonWorker.h"

#include <QLocalSocket>
#include <QTimer>

namespace {
constexpr int kRetryMs = 1000;
constexpr int kFinishMs = 200;
constexpr qint64 kReadBlock = 100; // bytes
} // namespace

DaemonWorker::DaemonWorker()
    : m_socket(new QLocalSocket(this))
    , m_timer(new QTimer(this))
{
    connect(m_socket, &QLocalSocket::readyRead, this, &DaemonWorker::readAvailable);
    connect(m_socket, &QLocalSocket::disconnected, this, &DaemonWorker::connectToSupervisor, Qt::QueuedConnection);
    connect(m_timer, &QTimer::timeout, this, &DaemonWorker::connectToSupervisor);
    connectToSupervisor();
    m_timer->start(kRetryMs);
}

void DaemonWorker::sendLed(int led, bool on)
{
    send(kLed, QByteArray(1, static_cast<char>(led)) + (on ? '\1' : '\0'));
}

void DaemonWorker::sendPortFrame(const QByteArray &frame)
{
    if (m_watchesPorts) {
        send(kPortFrame, frame);
    }
}

void DaemonWorker::finish()
{
    while (m_socket->bytesToWrite() > 0 && m_socket->waitForBytesWritten(kFinishMs)) {
    }
}

void DaemonWorker::connectToSupervisor()
{
    if (m_socket->state() != QLocalSocket::UnconnectedState) {
        return;
    }
    m_parser = FrameParser();
    m_watchesPorts = false;
    m_socket->connectToServer(QString::fromLatin1(kServerName), QIODevice::ReadWrite);
}

void DaemonWorker::readAvailable()
{
    while (m_socket->bytesAvailable() > 0) {
        for (const Frame &frame : m_parser.feed(m_socket->read(kReadBlock))) {
            if (frame.checksumOk && frame.code == kQuit) {
                Q_EMIT shouldQuit();
            } else if (frame.checksumOk && frame.code == kWatchPorts) {
                m_watchesPorts = true;
            }
        }
    }
}

void DaemonWorker::send(quint8 code, const QByteArray &body)
{
    if (m_socket->state() == QLocalSocket::ConnectedState) {
        m_socket->write(frameBytes(code, body));
    }
}
