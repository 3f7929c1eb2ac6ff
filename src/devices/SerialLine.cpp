#include "devices/SerialLine.h"

#include "base/Messages.h"
#include "devices/linux/DeviceFile.h"

#include <QSerialPort>
#include <QTimer>

#include <cerrno>
#include <cstdlib>

#include <asm/termbits.h>
#include <linux/serial.h>
#include <sys/file.h>
#include <sys/ioctl.h>

namespace {
/// The rate that the driver has made of the one that was asked for; 0: it does not tell.
quint32 rateInForce(int descriptor)
{
    termios2 settings{};
    return ::ioctl(descriptor, TCGETS2, &settings) == 0 ? settings.c_ospeed : 0;
}

/// Whether a peer at the one rate reads what is sent with the other: a byte has ten bits, the last must not slip.
bool isNear(quint32 rate, quint32 wanted)
{
    constexpr qint64 kPerMille = 30;
    return std::llabs(qint64(rate) - wanted) * 1000 <= kPerMille * wanted;
}

bool switchRs485(int descriptor, bool isOn)
{
    serial_rs485 mode{};
    mode.flags = isOn ? SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND : 0;
    return ::ioctl(descriptor, TIOCSRS485, &mode) == 0;
}

QSerialPort::Parity parityOf(SerialSetup::Parity parity)
{
    switch (parity) {
    case SerialSetup::Parity::None:
        return QSerialPort::NoParity;
    case SerialSetup::Parity::Odd:
        return QSerialPort::OddParity;
    case SerialSetup::Parity::Even:
        return QSerialPort::EvenParity;
    }
    return QSerialPort::NoParity;
}
} // namespace

SerialLine::SerialLine(const QString &deviceFile, QObject *parent)
    : QObject(parent)
    , m_port(new QSerialPort(deviceFile, this))
    , m_again(new QTimer(this))
{
    m_port->setReadBufferSize(kReadBytes); // more waits in the system
    m_again->setInterval(kOpenAgainMs);
    connect(m_again, &QTimer::timeout, this, &SerialLine::openAgain);
    connect(m_port, &QSerialPort::readyRead, this, &SerialLine::readyRead);
    connect(m_port, &QSerialPort::bytesWritten, this, &SerialLine::bytesWritten);
    // A line that hangs up gives a read error again and again. It is closed later: the port is telling us just now.
    connect(
        m_port, &QSerialPort::errorOccurred, this,
        [this](QSerialPort::SerialPortError error) {
            if (error == QSerialPort::ResourceError || error == QSerialPort::ReadError ||
                error == QSerialPort::WriteError) {
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
    const std::optional<QString> problem = tryToOpen();
    m_failure = problem.value_or(QString());
    return problem;
}

void SerialLine::setUp(const SerialSetup &setup)
{
    if (setup != m_setup) { // setting it again, also to the same, may spoil what is on its way
        const quint32 former = std::exchange(m_setup, setup).baudRate;
        apply();
        if (m_port->isOpen() && !isNear(rateInForce(m_port->handle()), m_setup.baudRate)) {
            m_setup.baudRate = former;
            applyRate();
        }
    }
}

QByteArray SerialLine::readAll()
{
    return m_port->readAll();
}

QByteArray SerialLine::read(int most)
{
    return m_port->read(most);
}

void SerialLine::write(const QByteArray &bytes)
{
    if (m_port->isOpen()) {
        m_port->write(bytes);
        m_port->flush(); // now, not when the loop comes round
    }
}

bool SerialLine::waitForBytesWritten(int timeoutMs)
{
    return m_port->isOpen() && m_port->waitForBytesWritten(timeoutMs);
}

std::optional<QString> SerialLine::tryToOpen()
{
    const QString file = deviceFile();
    if (const std::optional<QString> problem = DeviceFile::whyNoCharacterDevice(file)) {
        return problem;
    }
    if (const QString forbidden = DeviceFile::whyForbidden(file); !forbidden.isEmpty()) {
        return forbidden;
    }
    if (!m_port->open(QIODevice::ReadWrite)) {
        const QString reason = m_port->errorString();
        const bool isRefused = m_port->error() == QSerialPort::PermissionError; // /dev/null has holders, too
        const QString holder = isRefused ? DeviceFile::holder(file) : QString();
        return holder.isEmpty() ? reason : translated(QT_TRANSLATE_NOOP("messages", "it is in use by %1")).arg(holder);
    }
    if (::flock(m_port->handle(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        m_port->close();
        const QString holder = DeviceFile::holder(file);
        return translated(QT_TRANSLATE_NOOP("messages", "it is in use by %1"))
            .arg(holder.isEmpty() ? QStringLiteral("?") : holder);
    }
    m_isRs485 = false;
    apply();
    return std::nullopt;
}

void SerialLine::apply()
{
    if (!m_port->isOpen()) {
        return;
    }
    if (!applyRate()) {
        Q_EMIT refused(
            translated(QT_TRANSLATE_NOOP("messages", "the device does not take %1 baud")).arg(m_setup.baudRate));
    }
    if (!m_port->setParity(parityOf(m_setup.parity)) ||
        !m_port->setStopBits(m_setup.stopBits == 1 ? QSerialPort::OneStop : QSerialPort::TwoStop)) {
        Q_EMIT refused(
            translated(QT_TRANSLATE_NOOP("messages", "the device does not take this parity, or these stop bits")));
    }
    const bool wantsRs485 = m_setup.protocol == SerialSetup::Protocol::Rs485;
    if (wantsRs485 != m_isRs485) {
        m_isRs485 = switchRs485(m_port->handle(), wantsRs485) && wantsRs485;
        if (wantsRs485 && !m_isRs485) { // adapters that do it by themselves refuse it too
            Q_EMIT refused(translated(QT_TRANSLATE_NOOP("messages", "its driver does not switch RS-485: %1"))
                               .arg(qt_error_string(errno)));
        }
    }
}

bool SerialLine::applyRate()
{
    const int rate = static_cast<int>(m_setup.baudRate);
    return rate > 0 && m_port->setBaudRate(rate) && isNear(rateInForce(m_port->handle()), m_setup.baudRate);
}

void SerialLine::lose()
{
    if (m_port->isOpen()) {
        m_port->close();
        m_failure = qt_error_string(ENOENT); // lost() says so
        m_again->start();
        Q_EMIT lost();
    }
}

void SerialLine::openAgain()
{
    if (m_port->isOpen()) {
        return;
    }
    const QString failure = tryToOpen().value_or(QString());
    if (failure.isEmpty()) {
        Q_EMIT opened();
    } else if (failure != m_failure) {
        Q_EMIT failed(failure);
    }
    m_failure = failure;
}
