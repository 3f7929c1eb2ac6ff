#include "devices/linux/InfraredReceiver.h"

#include "devices/linux/InfraredDevice.h"

#include <QSocketNotifier>
#include <QTimer>

#include <array>

#include <linux/lirc.h>
#include <sys/ioctl.h>

namespace {
constexpr size_t kMostReceived = 1024; // durations of one press: more than a second of most protocols
constexpr quint32 kUsualCarrierHz = 38000;
} // namespace

InfraredReceiver::InfraredReceiver(QString device, QObject *parent)
    : QObject(parent)
    , m_device(std::move(device))
    , m_look(new QTimer(this))
{
    m_look->setInterval(kLookMs);
    connect(m_look, &QTimer::timeout, this, [this] {
        if (!isOpen() && !tryToOpen()) {
            Q_EMIT opened();
        }
    });
}

std::optional<QString> InfraredReceiver::open()
{
    m_look->start();
    return tryToOpen();
}

std::optional<QString> InfraredReceiver::tryToOpen()
{
    auto attempt = InfraredDevice::open(m_device, InfraredDevice::Use::Receive);
    if (const auto *reason = std::get_if<QString>(&attempt)) {
        return *reason;
    }
    m_descriptor = std::move(std::get<Descriptor>(attempt));
    quint32 mode = LIRC_MODE_MODE2;
    quint32 yes = 1;
    quint32 silenceUs = 125000; // what a held button repeats belongs to one press
    if (ioctl(m_descriptor.get(), LIRC_SET_REC_MODE, &mode) != 0) {
        const QString reason = QStringLiteral("%1: %2").arg(m_device, qt_error_string(errno));
        m_descriptor.close();
        return reason;
    }
    ioctl(m_descriptor.get(), LIRC_SET_REC_TIMEOUT, &silenceUs); // where the device can do these two
    ioctl(m_descriptor.get(), LIRC_SET_MEASURE_CARRIER_MODE, &yes);
    m_durations.clear();
    m_isOver = false;
    m_notifier = new QSocketNotifier(m_descriptor.get(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &InfraredReceiver::readAvailable);
    return std::nullopt;
}

void InfraredReceiver::readAvailable()
{
    std::array<quint32, 256> samples{};
    const ssize_t bytes = read(m_descriptor.get(), samples.data(), sizeof samples);
    if (bytes < 0 && errno != EAGAIN && errno != EINTR) {
        lose(errno);
    }
    for (size_t i = 0; i < static_cast<size_t>(qMax<ssize_t>(bytes, 0)) / sizeof samples[0]; ++i) {
        take(samples.at(i));
    }
}

void InfraredReceiver::take(quint32 sample)
{
    const bool isPulse = LIRC_IS_PULSE(sample);
    if (LIRC_IS_FREQUENCY(sample)) {
        m_carrierHz = LIRC_VALUE(sample);
    } else if (LIRC_IS_TIMEOUT(sample)) {
        finish();
        m_isOver = false;
    } else if (LIRC_IS_OVERFLOW(sample)) {
        m_durations.clear(); // what comes now begins in the middle
        m_isOver = true;
    } else if (!m_isOver && isPulse == (m_durations.size() % 2 == 0)) { // no space at the beginning
        m_durations.push_back(LIRC_VALUE(sample));
        if (m_durations.size() >= kMostReceived) {
            finish();
            m_isOver = true;
        }
    }
}

void InfraredReceiver::finish()
{
    const auto code = IrCode::learned(m_carrierHz == 0 ? kUsualCarrierHz : m_carrierHz, m_durations);
    m_durations.clear();
    if (code) {
        Q_EMIT learned(*code);
    }
}

void InfraredReceiver::lose(int reason)
{
    m_notifier->setEnabled(false); // it is telling us just now
    m_notifier->deleteLater();
    m_notifier = nullptr;
    m_descriptor.close();
    Q_EMIT lost(qt_error_string(reason));
}
