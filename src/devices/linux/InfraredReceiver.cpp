#include "devices/linux/InfraredReceiver.h"

#include "devices/linux/InfraredDevice.h"

#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <utility>

#include <linux/lirc.h>
#include <sys/ioctl.h>

namespace {
constexpr size_t kMostReceived = 1024; // durations of one press: more than a second of most protocols
} // namespace

InfraredReceiver::InfraredReceiver(QString device, quint32 carrierHz, QObject *parent)
    : QObject(parent)
    , m_device(std::move(device))
    , m_carrierHz(carrierHz)
    , m_look(new QTimer(this))
    , m_silence(new QTimer(this))
{
    m_silence->setSingleShot(true);
    m_silence->setInterval(kSilenceMs);
    connect(m_silence, &QTimer::timeout, this, &InfraredReceiver::finish);
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
    if (ioctl(m_descriptor.get(), LIRC_SET_REC_MODE, &mode) != 0) {
        const QString reason = QStringLiteral("%1: %2").arg(m_device, qt_error_string(errno));
        m_descriptor.close();
        return reason;
    }
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
    const bool isExpected = LIRC_IS_PULSE(sample) == (m_durations.size() % 2 == 0); // no space at the beginning
    const quint32 silentUs = std::exchange(m_silentUs, LIRC_IS_TIMEOUT(sample) ? LIRC_VALUE(sample) : 0);
    if (LIRC_IS_OVERFLOW(sample)) {
        m_durations.clear();
    } else if ((LIRC_IS_PULSE(sample) || LIRC_IS_SPACE(sample)) && isExpected && m_durations.size() < kMostReceived) {
        m_durations.push_back(LIRC_VALUE(sample) + (LIRC_IS_SPACE(sample) ? silentUs : 0));
    }
    if (LIRC_IS_PULSE(sample)) {
        m_silence->start();
    }
}

void InfraredReceiver::finish()
{
    readAvailable(); // whoever was busy for long has not heard the rest yet
    if (m_silence->isActive()) {
        return;
    }
    const std::optional<IrCode> code = IrCode::learned(m_carrierHz, m_durations);
    m_durations.clear();
    m_silentUs = 0;
    if (code) {
        Q_EMIT learned(*code);
    }
}

void InfraredReceiver::lose(int reason)
{
    m_silence->stop();
    m_durations.clear();
    m_notifier->setEnabled(false); // it is telling us just now
    m_notifier->deleteLater();
    m_notifier = nullptr;
    m_descriptor.close();
    Q_EMIT lost(qt_error_string(reason));
}
