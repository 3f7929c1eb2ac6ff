#include "devices/linux/GpioLine.h"

#include "base/Messages.h"
#include "devices/linux/GpioChips.h"

#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <array>

#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>

namespace {
constexpr int kEventsKept = 256; // by the kernel, until they are read

quint64 flagsOf(const GpioLine::Setting &setting)
{
    quint64 flags = setting.isActiveLow ? GPIO_V2_LINE_FLAG_ACTIVE_LOW : 0;
    flags |= setting.direction == GpioLine::Direction::Output ? GPIO_V2_LINE_FLAG_OUTPUT : GPIO_V2_LINE_FLAG_INPUT;
    switch (setting.bias) {
    case GpioLine::Bias::AsIs:
        return flags;
    case GpioLine::Bias::Disabled:
        return flags | GPIO_V2_LINE_FLAG_BIAS_DISABLED;
    case GpioLine::Bias::PullUp:
        return flags | GPIO_V2_LINE_FLAG_BIAS_PULL_UP;
    case GpioLine::Bias::PullDown:
        return flags | GPIO_V2_LINE_FLAG_BIAS_PULL_DOWN;
    }
    return flags;
}

QString refused(const GpioChips::Place &place, int reason)
{
    const QString name = QStringLiteral("%1:%2").arg(place.chip.name).arg(place.offset);
    if (reason != EBUSY) {
        return QStringLiteral("%1: %2").arg(name, qt_error_string(reason));
    }
    const QString consumer = GpioChips::line(place.chip, place.offset).consumer;
    return translated(QT_TRANSLATE_NOOP("messages", "%1 is in use by \"%2\"")).arg(name, consumer);
}
} // namespace

GpioLine::GpioLine(Setting setting, QObject *parent)
    : QObject(parent)
    , m_setting(std::move(setting))
    , m_look(new QTimer(this))
    , m_read(new QTimer(this))
{
    m_look->setInterval(kLookMs);
    connect(m_look, &QTimer::timeout, this, &GpioLine::look);
    m_read->setInterval(kReadMs);
    m_read->setTimerType(Qt::PreciseTimer);
    connect(m_read, &QTimer::timeout, this, &GpioLine::sample);
}

GpioLine::~GpioLine()
{
    if (m_setting.direction == Direction::Output && m_line.isOpen()) {
        set(false);
    }
}

bool GpioLine::isPolled() const
{
    return m_read->isActive();
}

std::optional<QString> GpioLine::open()
{
    m_look->start();
    const std::optional<QString> reason = tryToOpen();
    m_failure = reason.value_or(QString());
    return reason;
}

bool GpioLine::set(bool isOn)
{
    m_isOn = isOn;
    gpio_v2_line_values values{ isOn ? 1ULL : 0ULL, 1 };
    if (m_line.isOpen() && ioctl(m_line.get(), GPIO_V2_LINE_SET_VALUES_IOCTL, &values) != 0) {
        lose(errno);
    }
    return m_line.isOpen();
}

std::optional<QString> GpioLine::tryToOpen()
{
    const auto found =
        m_label.isEmpty() ? GpioChips::find(m_setting.line) : GpioChips::findAgain(m_setting.line, m_label, m_offset);
    if (const auto *reason = std::get_if<QString>(&found)) {
        return *reason;
    }
    const auto &place = std::get<GpioChips::Place>(found);
    const bool isInput = m_setting.direction == Direction::Input;
    int line = request(place.chip.descriptor.get(), place.offset, isInput);
    const bool tells = line >= 0;
    if (isInput && !tells && errno != EBUSY) {
        line = request(place.chip.descriptor.get(), place.offset, false);
    }
    if (line < 0) {
        return refused(place, errno);
    }
    m_line = Descriptor(line);
    m_label = place.chip.label;
    m_offset = place.offset;
    if (isInput && tells) {
        m_notifier = new QSocketNotifier(line, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &GpioLine::readEvents);
    } else if (isInput) {
        m_differentReads = 0;
        m_read->start();
    }
    if (isInput) {
        beginInput();
    }
    return std::nullopt;
}

int GpioLine::request(int chip, quint32 offset, bool withEdges)
{
    gpio_v2_line_request request{};
    request.offsets[0] = offset;
    request.num_lines = 1;
    qstrncpy(request.consumer, "arkivon", sizeof request.consumer);
    request.config.flags = flagsOf(m_setting);
    if (withEdges) {
        request.config.flags |= GPIO_V2_LINE_FLAG_EDGE_RISING | GPIO_V2_LINE_FLAG_EDGE_FALLING;
        request.event_buffer_size = kEventsKept;
    }
    gpio_v2_line_config_attribute attribute{};
    attribute.mask = 1;
    if (m_setting.direction == Direction::Output) {
        attribute.attr.id = GPIO_V2_LINE_ATTR_ID_OUTPUT_VALUES;
        attribute.attr.values = m_isOn ? 1 : 0;
    } else if (withEdges && m_setting.debounceMs > 0) {
        attribute.attr.id = GPIO_V2_LINE_ATTR_ID_DEBOUNCE;
        attribute.attr.debounce_period_us = static_cast<quint32>(m_setting.debounceMs) * 1000;
    }
    if (attribute.attr.id != 0) {
        request.config.attrs[0] = attribute;
        request.config.num_attrs = 1;
    }
    if (ioctl(chip, GPIO_V2_GET_LINE_IOCTL, &request) != 0) {
        return -1;
    }
    fcntl(request.fd, F_SETFL, O_NONBLOCK);
    return request.fd;
}

void GpioLine::beginInput()
{
    if (const std::optional<bool> now = value()) {
        take(*now);
    }
}

void GpioLine::look()
{
    if (m_line.isOpen()) {
        value();
        return;
    }
    const QPointer<GpioLine> self(this); // as in readEvents()
    const std::optional<QString> reason = tryToOpen();
    if (!self) {
        return;
    }
    if (!reason) {
        m_failure.clear();
        Q_EMIT opened();
    } else if (*reason != m_failure) {
        m_failure = *reason;
        Q_EMIT failed(*reason);
    }
}

/// Every edge is a change of its own, also when several have come since the last turn. When the kernel had to drop
/// some the state is right again with the newest.
void GpioLine::readEvents()
{
    std::array<gpio_v2_line_event, 16> events{};
    const ssize_t bytes = read(m_line.get(), events.data(), sizeof events);
    if (bytes < 0 && errno != EAGAIN && errno != EINTR) {
        lose(errno);
    }
    const QPointer<GpioLine> self(this); // a handler may let in what takes the line away
    for (size_t i = 0; self && m_line.isOpen() && i < static_cast<size_t>(qMax<ssize_t>(bytes, 0)) / sizeof events[0];
         ++i) {
        take(events.at(i).id == GPIO_V2_LINE_EVENT_RISING_EDGE);
    }
}

std::optional<bool> GpioLine::value()
{
    gpio_v2_line_values values{ 0, 1 };
    if (ioctl(m_line.get(), GPIO_V2_LINE_GET_VALUES_IOCTL, &values) != 0) {
        lose(errno);
        return std::nullopt;
    }
    return (values.bits & 1) != 0;
}

void GpioLine::sample()
{
    const std::optional<bool> now = value();
    m_differentReads = now && *now != m_isOn ? m_differentReads + 1 : 0;
    if (m_differentReads > m_setting.debounceMs / kReadMs) {
        m_differentReads = 0;
        take(*now);
    }
}

void GpioLine::take(bool isOn)
{
    if (isOn != m_isOn) {
        m_isOn = isOn;
        Q_EMIT changed(isOn);
    }
}

void GpioLine::lose(int reason)
{
    if (m_notifier) { // it may be telling us just now
        m_notifier->setEnabled(false);
        m_notifier->deleteLater();
        m_notifier = nullptr;
    }
    m_read->stop();
    m_line.close();
    const auto gone = GpioChips::findAgain(m_setting.line, m_label, m_offset);
    m_failure = std::holds_alternative<QString>(gone) ? std::get<QString>(gone) : QString(); // lost() says so
    Q_EMIT lost(qt_error_string(reason));
}
