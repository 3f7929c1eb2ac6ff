#include "devices/linux/InfraredEmitter.h"

#include "base/Messages.h"
#include "devices/linux/InfraredDevice.h"

#include <chrono>

#include <linux/lirc.h>
#include <sys/ioctl.h>

InfraredEmitter::InfraredEmitter(QString device, QObject *parent)
    : QObject(parent)
    , m_device(std::move(device))
{}

InfraredEmitter::~InfraredEmitter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

std::optional<QString> InfraredEmitter::open()
{
    auto attempt = InfraredDevice::open(m_device, InfraredDevice::Use::Send);
    if (auto *descriptor = std::get_if<Descriptor>(&attempt)) {
        m_descriptor = std::move(*descriptor);
        m_isOpen = true;
    } else {
        m_failure = std::get<QString>(attempt);
    }
    const std::optional<QString> reason = m_isOpen ? std::nullopt : std::optional(m_failure);
    m_thread = std::thread(&InfraredEmitter::run, this);
    return reason;
}

bool InfraredEmitter::play(const IrCode &code, Press press)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isOpen || m_buttons.size() >= kMostWaiting) {
        return false;
    }
    for (Button &each : m_buttons) {
        each.isHeld = false;
    }
    IrCode sent = code;
    if (!code.toggled.empty() && !m_toggled.insert(code.once).second) {
        m_toggled.erase(code.once);
        sent.once = sent.repeat = code.toggled;
    }
    m_buttons.push_back({ sent, press == Press::Held && !sent.repeat.empty() });
    m_changed.notify_all();
    return true;
}

void InfraredEmitter::release()
{
    const std::lock_guard lock(m_mutex);
    for (Button &each : m_buttons) {
        each.isHeld = false;
    }
}

void InfraredEmitter::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_isEnding) {
        if (m_buttons.empty()) {
            m_changed.wait_for(lock, std::chrono::seconds(1));
        }
        if (m_isEnding || m_buttons.empty()) {
            lock.unlock();
            look();
            lock.lock();
            continue;
        }
        const IrCode code = m_buttons.front().code;
        lock.unlock();
        bool goesOn = send(code.carrierHz, code.once);
        while (goesOn && isHeld()) {
            goesOn = send(code.carrierHz, code.repeat);
        }
        lock.lock();
        if (!m_buttons.empty()) {
            m_buttons.pop_front();
        }
    }
}

bool InfraredEmitter::isHeld()
{
    const std::lock_guard lock(m_mutex);
    return !m_isEnding && !m_buttons.empty() && m_buttons.front().isHeld;
}

void InfraredEmitter::look()
{
    if (m_descriptor.isOpen()) {
        if (!InfraredDevice::isThere(m_descriptor)) {
            lose(qt_error_string(errno));
        }
        return;
    }
    auto attempt = InfraredDevice::open(m_device, InfraredDevice::Use::Send);
    if (auto *descriptor = std::get_if<Descriptor>(&attempt)) {
        m_descriptor = std::move(*descriptor);
        m_failure.clear();
        m_isOpen = true;
        Q_EMIT opened();
    } else if (const QString &reason = std::get<QString>(attempt); reason != m_failure) {
        m_failure = reason;
        Q_EMIT failed(reason);
    }
}

bool InfraredEmitter::send(quint32 carrierHz, const IrCode::Durations &durations)
{
    for (const IrCode::Burst &burst : IrCode::bursts(durations)) {
        const int error = write(carrierHz, burst.pulses);
        if (error == EINVAL) {
            Q_EMIT refused(
                translated(QT_TRANSLATE_NOOP("messages", "%1 does not take a code of %2 Hz and %3 durations"))
                    .arg(m_device)
                    .arg(carrierHz)
                    .arg(burst.pulses.size()));
            return false;
        }
        if (error != 0) {
            lose(qt_error_string(error));
            return false;
        }
        if (!waitUs(burst.pauseUs)) {
            return false;
        }
    }
    return true;
}

int InfraredEmitter::write(quint32 carrierHz, const IrCode::Durations &pulses)
{
    quint32 mode = LIRC_MODE_PULSE;
    if (ioctl(m_descriptor.get(), LIRC_SET_SEND_MODE, &mode) != 0) {
        return errno;
    }
    // A sender with a fixed carrier has nothing to set: it sends with what it has.
    if (ioctl(m_descriptor.get(), LIRC_SET_SEND_CARRIER, &carrierHz) != 0 && errno != ENOTTY) {
        return errno;
    }
    const size_t bytes = pulses.size() * sizeof pulses.front();
    return ::write(m_descriptor.get(), pulses.data(), bytes) == static_cast<ssize_t>(bytes) ? 0 : errno;
}

void InfraredEmitter::lose(const QString &reason)
{
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = false;
        m_buttons.clear();
    }
    m_descriptor.close();
    m_failure = InfraredDevice::refusal(m_device, ENOENT); // lost() says so
    Q_EMIT lost(reason);
}

bool InfraredEmitter::waitUs(quint32 microseconds)
{
    std::unique_lock lock(m_mutex);
    return !m_changed.wait_for(lock, std::chrono::microseconds(microseconds), [this] { return m_isEnding; });
}
