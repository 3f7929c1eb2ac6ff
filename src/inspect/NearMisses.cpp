#include "inspect/NearMisses.h"

#include "base/Messages.h"
#include "events/EventTrace.h"
#include "inspect/ProgramNames.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {
using Listener = HandlerTable::Listener;

constexpr int kMostNamed = 8; // channels, ports … in one sentence

Listener::Kind kindOf(EventType type)
{
    switch (type) {
    case EventType::Push:
    case EventType::Release:
    case EventType::Hold:
        return Listener::Kind::Channel;
    case EventType::Level:
        return Listener::Kind::Level;
    case EventType::Timeline:
        return Listener::Kind::Timeline;
    default:
        return Listener::Kind::Data;
    }
}

/// As the source calls it.
QString handlerWord(Listener::Kind kind)
{
    static constexpr const char *kWords[] = { "data_event", "button_event", "level_event", "timeline_event" };
    return QString::fromLatin1(kWords[static_cast<size_t>(kind)]);
}

/// The numbers nearest to one, as a text.
QString nearest(const std::set<qint64> &numbers, qint64 to)
{
    std::vector<qint64> sorted(numbers.begin(), numbers.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [to](qint64 a, qint64 b) { return std::llabs(a - to) < std::llabs(b - to); });
    const bool isCut = sorted.size() > kMostNamed;
    sorted.resize(std::min<size_t>(sorted.size(), kMostNamed));
    std::sort(sorted.begin(), sorted.end());
    QStringList texts;
    for (const qint64 number : sorted) {
        texts << QString::number(number);
    }
    return texts.join(QStringLiteral(", ")) + (isCut ? QStringLiteral(" …") : QString());
}

/// Gathers what the handlers of an event's kind have with it in common.
class Search
{
public:
    Search(ControlProgram &program, const ProgramNames &names, const TraceRecord &event)
        : m_program(program)
        , m_names(names)
        , m_event(event)
        , m_type(eventTypeOf(event))
        , m_kind(kindOf(m_type))
    {}

    QStringList sentences(const std::vector<Listener> &listeners)
    {
        if (m_type == EventType::Online || m_type == EventType::Offline || m_type == EventType::Release) {
            return {}; // most programs do not care, and the push has said it
        }
        for (const Listener &listener : listeners) {
            if (listener.kind == m_kind) {
                look(listener);
            }
        }
        if (m_isTaken) {
            return {};
        }
        if (!m_sentences.isEmpty()) {
            return m_sentences;
        }
        const QString device = m_names.deviceText(m_event.device);
        if (!m_numbers.empty()) {
            return { others(device) };
        }
        if (m_kind == Listener::Kind::Timeline) {
            return { translated(QT_TRANSLATE_NOOP("messages", "The program has no timeline_event")) };
        }
        const char *const text = m_event.device.number == 0 || m_names.isDeclared(m_event.device.number)
                                     ? QT_TRANSLATE_NOOP("messages", "No %2 of the program is for %1")
                                     : QT_TRANSLATE_NOOP("messages", "The program declares no device %1");
        return {
            translated(text).replace(QLatin1String("%1"), device).replace(QLatin1String("%2"), handlerWord(m_kind))
        };
    }

private:
    void look(const Listener &listener)
    {
        if (m_kind == Listener::Kind::Timeline) {
            m_numbers.insert(listener.timelineIds.begin(), listener.timelineIds.end());
        }
        for (const DeviceAddress &device : listener.devices) {
            if (device == m_event.device) {
                sayPartIsMissing(listener);
            } else if (device.number == m_event.device.number) {
                m_numbers.insert(device.port);
            }
        }
        for (const ChannelGroup &group : listener.groups) {
            if (!isForDevice(group.device)) {
                continue;
            }
            const bool isThere = std::any_of(group.channels.begin(), group.channels.end(), [this](qint64 channel) {
                return channel == 0 || channel == m_event.code;
            });
            if (isThere) {
                sayPartIsMissing(listener);
            } else {
                m_numbers.insert(group.channels.begin(), group.channels.end());
            }
        }
    }

    bool isForDevice(const DeviceAddress &device) const
    {
        if (device.number == m_event.device.number || !DeviceCombineManager::isVirtual(device.number)) {
            return device.number == m_event.device.number;
        }
        const std::vector<DeviceAddress> addresses = m_program.state().expandDevice(device);
        return std::any_of(addresses.begin(), addresses.end(),
                           [this](const DeviceAddress &address) { return address.number == m_event.device.number; });
    }

    void sayPartIsMissing(const Listener &listener)
    {
        if (std::find(listener.types.begin(), listener.types.end(), m_type) != listener.types.end()) {
            m_isTaken = true;
            return;
        }
        const QString place = listener.places.empty() ? QString() : m_program.places().lineOf(listener.places.front());
        const QString where = place.isEmpty() ? handlerWord(m_kind) : handlerWord(m_kind) + QLatin1Char(' ') + place;
        QStringList parts;
        for (const EventType type : listener.types) {
            parts << eventWord(type);
        }
        m_sentences << translated(QT_TRANSLATE_NOOP("messages", "Its %1 has no part for \"%2\", only for: %3"))
                           .arg(where, eventWord(m_type), parts.join(QStringLiteral(", ")));
    }

    QString others(const QString &device) const
    {
        switch (m_kind) {
        case Listener::Kind::Channel:
            return translated(QT_TRANSLATE_NOOP("messages", "The button_events of %1 listen to other channels: %2"))
                .arg(device, nearest(m_numbers, m_event.code));
        case Listener::Kind::Level:
            return translated(QT_TRANSLATE_NOOP("messages", "The level_events of %1 listen to other levels: %2"))
                .arg(device, nearest(m_numbers, m_event.code));
        case Listener::Kind::Timeline:
            return translated(QT_TRANSLATE_NOOP("messages", "The timeline_events listen to other timelines: %1"))
                .arg(nearest(m_numbers, m_event.code));
        case Listener::Kind::Data:
            break;
        }
        return translated(QT_TRANSLATE_NOOP("messages", "The data_events listen to other ports of device %1: %2"))
            .arg(m_event.device.number)
            .arg(nearest(m_numbers, m_event.device.port));
    }

    ControlProgram &m_program;
    const ProgramNames &m_names;
    const TraceRecord &m_event;
    const EventType m_type;
    const Listener::Kind m_kind;
    QStringList m_sentences;
    bool m_isTaken = false;     // now, at least
    std::set<qint64> m_numbers; // channels, levels, ports or timelines that come near
};
} // namespace

NearMisses::NearMisses(ControlProgram &program, const ProgramNames &names)
    : m_program(program)
    , m_names(names)
    , m_listeners(program.dispatcher().handlers() ? program.dispatcher().handlers()->listeners()
                                                  : std::vector<Listener>())
{}

QStringList NearMisses::of(const TraceRecord &event) const
{
    return Search(m_program, m_names, event).sentences(m_listeners);
}
