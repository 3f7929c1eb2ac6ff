#include "devices/SerialLine.h"

#include <QSerialPort>
#include <QTimer>

SerialLine::SerialLine(const QString &deviceFile, QObject *parent)
    : QObject(parent)
    , m_port(new QSerialPort(deviceFile, this))
    , m_again(new QTimer(this))
{
    m_port->setBaudRate(QSerialPort::Baud115200);
    m_port->setReadBufferSize(kReadBytes); // more waits in the system
    m_again->setInterval(kOpenAgainMs);
    connect(m_again, &QTimer::timeout, this, &SerialLine::openAgain);
    connect(m_port, &QSerialPort::readyRead, this, &SerialLine::readyRead);
    // A line that hangs up gives a read error again and again. It is closed later: the port is telling us just now.
    connect(
        m_port, &QSerialPort::errorOccurred, this,
        [this](QSerialPort::SerialPortError error) {
            if (error == QSerialPort::ResourceError || error == QSerialPort::ReadError) {
                lose();
            }
        },
        Qt::QueuedConnection);
}

QString SerialLine::deviceFile() const
{
    return m_port->portName();
}

bool SerialLine::isOpen() const
{
    return m_port->isOpen();
}

qint64 SerialLine::bytesToWrite() const
{
    return m_port->bytesToWrite();
}

std::optional<QString> SerialLine::open()
{
    m_again->start();
    m_hasFailed = !m_port->open(QIODevice::ReadWrite);
    return m_hasFailed ? std::optional(m_port->errorString()) : std::nullopt;
}

QByteArray SerialLine::readAll()
{
    return m_port->readAll();
}

void SerialLine::write(const QByteArray &bytes)
{
    if (m_port->isOpen()) {
        m_port->write(bytes);
    }
}

bool SerialLine::waitForBytesWritten(int timeoutMs)
{
    return m_port->isOpen() && m_port->waitForBytesWritten(timeoutMs);
}

void SerialLine::lose()
{
    if (m_port->isOpen()) {
        m_port->close();
        m_again->start();
        Q_EMIT lost();
    }
}

void SerialLine::openAgain()
{
    if (m_port->isOpen()) {
        return;
    }
    if (m_port->open(QIODevice::ReadWrite)) {
        m_hasFailed = false;
    } else if (!m_hasFailed) {
        m_hasFailed = true;
        Q_EMIT failed(m_port->errorString());
    }
}
