#include "inspect/TraceWords.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "events/EventTrace.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

namespace {
using Kind = TraceRecord::Kind;

QString numberText(double number)
{
    return QString::number(number, 'g', 12);
}

/// "5.2 s" of tenths.
QString seconds(double tenths)
{
    return translated(QT_TRANSLATE_NOOP("messages", "%1 s")).arg(tenths / 10, 0, 'f', 1);
}

QString timeOf(qint64 micros, const char *format)
{
    return QDateTime::fromMSecsSinceEpoch(micros / 1000).toString(QString::fromLatin1(format));
}

QString textOf(const TraceRecord &record)
{
    const std::string_view text = record.text();
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

/// One of the two halves of a text that was assigned.
QString halfOf(const TraceRecord &record, bool isNew)
{
    constexpr int kHalf = TraceRecord::kText / 2;
    const auto size = static_cast<int>(isNew ? record.after : record.before);
    return quoted({ record.bytes.data() + (isNew ? kHalf : 0), static_cast<size_t>(std::min(size, kHalf)) }, size);
}

/// Whether a channel is in the exclusive group that feedback went to: "1-5" or "1,3,7".
bool isInGroup(int channel, const TraceRecord &feedback)
{
    const QString group = textOf(feedback);
    const int dash = group.indexOf(QLatin1Char('-'));
    return dash < 0 ? group.split(QLatin1Char(',')).contains(QString::number(channel))
                    : channel >= group.left(dash).toInt() && channel <= group.mid(dash + 1).toInt();
}

const char *actionWord(int action)
{
    static constexpr const char *kWords[] = { "off", "on", "pulse", "to" };
    return action >= 0 && action < 4 ? kWords[action] : "?";
}

/// What kinds are called in the objects.
const char *kindWord(Kind kind)
{
    static constexpr const char *kWords[] = {
        "event",      "wait",     "pulseEnd",    "letGo",  "mainline",  "start",    "handler",  "channel", "feedback",
        "level",      "command",  "string",      "panel",  "question",  "variable", "variable", "wait",    "wait",
        "cancelWait", "timeline", "timelineEnd", "socket", "socketEnd", "failed",   "problem",  "more"
    };
    return kWords[static_cast<size_t>(kind)];
}

QString withNote(const QString &text, const QString &note)
{
    return note.isEmpty() ? text : text + QStringLiteral(" (%1)").arg(note);
}
} // namespace

TraceWords::TraceWords(ControlProgram &program)
    : m_program(program)
    , m_names(program)
    , m_misses(program, m_names)
{}

QJsonObject TraceWords::eventsAfter(qint64 id, int mostBytes) const
{
    constexpr int kAbout = 200;           // bytes of an event or a step
    constexpr int kMostTree = 256 * 1024; // of one event with all that happened while it was handled
    const Trace &trace = m_program.state().trace();
    const qint64 firstOpen = trace.oldestRunning(); // its steps are not all there
    const qint64 end = firstOpen ? firstOpen : trace.last() + 1;
    std::map<qint64, std::pair<QJsonObject, QJsonArray>> open; // an event and what happened while it ran, with steps
    QJsonArray events;
    qint64 next = std::max(std::min(id, trace.last()) + 1, trace.first());
    int bytes = 0;
    int openBytes = 0; // of what is open
    int leftOut = 0;   // records of it
    const auto close = [&](qint64 upTo) {
        if (leftOut > 0) {
            TraceRecord more = TraceRecord::of(Kind::More);
            more.id = upTo;
            more.count = leftOut;
            open.begin()->second.second.append(stepObject(more));
        }
        openBytes = leftOut = 0;
        for (auto &[number, found] : open) {
            auto &[event, steps] = found;
            if (!steps.isEmpty()) {
                event.insert(QStringLiteral("steps"), steps);
            }
            bytes += QJsonDocument(event).toJson(QJsonDocument::Compact).size();
            events.append(event);
        }
        open.clear();
        next = upTo;
    };
    qint64 record = next;
    for (; record < end && bytes < mostBytes; ++record) {
        const TraceRecord &found = *trace.find(record);
        if (TraceRecord::isEvent(found.kind)) {
            if (!found.isNested) {
                close(record);
            } else if (openBytes > kMostTree) {
                ++leftOut;
                continue;
            }
            openBytes += kAbout;
            open.emplace(record, std::make_pair(eventObject(found), QJsonArray()));
        } else if (const auto event = open.find(found.event); event != open.end()) {
            openBytes += kAbout;
            leftOut += openBytes > kMostTree ? 1 : 0;
            if (openBytes <= kMostTree) {
                event->second.second.append(stepObject(found));
            }
        }
    }
    if (record == end) {
        close(end);
    }
    return { { QStringLiteral("events"), events },
             { QStringLiteral("now"), Clock::instance().nowMicros() / 1000 },
             { QStringLiteral("next"), next - 1 },
             { QStringLiteral("isAll"), record == end },
             { QStringLiteral("lost"), id > 0 && id + 1 < trace.first() } };
}

QStringList TraceWords::why(int deviceNumber, int channel) const
{
    const Trace &trace = m_program.state().trace();
    constexpr int kContacts = 18; // the port of the controller's own
    const DeviceAddress device{ deviceNumber, deviceNumber == kControllerDevice ? kContacts : 1, 0 };
    const QString button = m_names.deviceText(device) + QLatin1Char(' ') + QString::number(channel);
    const auto isThatPush = [&](const TraceRecord &record) {
        return record.kind == Kind::Event && eventTypeOf(record) == EventType::Push && record.code == channel &&
               record.device.number == deviceNumber;
    };
    qint64 id = trace.last();
    while (id >= trace.first() && !isThatPush(*trace.find(id))) {
        --id;
    }
    QStringList sentences;
    if (id < trace.first()) {
        const char *const text =
            trace.isOn()
                ? QT_TRANSLATE_NOOP("messages", "No push of %1 has come in since %2")
                : QT_TRANSLATE_NOOP("messages", "No trace is kept: start the controller without --trace-memory 0");
        const TraceRecord *oldest = trace.find(trace.first());
        sentences << translated(text)
                         .replace(QLatin1String("%1"), button)
                         .replace(QLatin1String("%2"), oldest && oldest->micros > 0
                                                           ? timeOf(oldest->micros, "yyyy-MM-dd HH:mm:ss")
                                                           : translated(QT_TRANSLATE_NOOP("messages", "the start")));
        if (deviceNumber != kControllerDevice && !trace.isPresent(deviceNumber)) {
            sentences << translated(QT_TRANSLATE_NOOP("messages", "The panel %1 is not connected")).arg(deviceNumber);
        }
        CustomEvent wanted{ EventType::Push, device };
        wanted.channel = channel;
        return sentences + m_misses.of(traceRecordOf(wanted));
    }
    const TraceRecord &push = *trace.find(id);
    sentences << timeOf(push.micros, "yyyy-MM-dd HH:mm:ss.zzz: ") + eventText(push);
    if (push.count == 0) {
        sentences << translated(QT_TRANSLATE_NOOP("messages", "No handler took it")) << m_misses.of(push);
        return sentences;
    }
    int steps = 0;
    for (qint64 later = id + 1; later <= trace.last(); ++later) {
        const TraceRecord &record = *trace.find(later);
        if (record.event != id) {
            continue;
        }
        if (record.kind == Kind::Body) {
            sentences << translated(QT_TRANSLATE_NOOP("messages", "Its handler ran for %1 ms: %2"))
                             .arg(static_cast<double>(record.micros) / 1000, 0, 'f', 1)
                             .arg(place(record));
        } else {
            ++steps;
            const QString text = TraceRecord::isEvent(record.kind)
                                     ? timeOf(record.micros, "HH:mm:ss.zzz: ") + eventText(record)
                                     : stepText(record);
            const QString where = TraceRecord::isEvent(record.kind) ? QString() : place(record);
            sentences << QStringLiteral("  ") + text + (where.isEmpty() ? QString() : QStringLiteral("   ") + where);
        }
    }
    if (steps == 0) {
        sentences << translated(QT_TRANSLATE_NOOP("messages", "It switched, sent and changed nothing"));
    }
    return sentences + undone(id);
}

QStringList TraceWords::undone(qint64 id) const
{
    constexpr int kMostTold = 10;
    const Trace &trace = m_program.state().trace();
    std::vector<const TraceRecord *> switched;
    QStringList sentences;
    for (qint64 later = id + 1; later <= trace.last() && sentences.size() < kMostTold; ++later) {
        const TraceRecord &record = *trace.find(later);
        if (record.kind != Kind::Feedback && record.kind != Kind::Switched) {
            continue;
        }
        if (record.event == id) {
            switched.push_back(&record);
            continue;
        }
        const bool isUndone = std::any_of(switched.begin(), switched.end(), [&record](const TraceRecord *own) {
            return own->kind == record.kind && own->device == record.device &&
                   (own->code == record.code ? own->after != record.after || own->detail != record.detail
                                             : own->after != 0 && record.after != 0 && isInGroup(own->code, record));
        });
        if (const TraceRecord *event = isUndone ? trace.find(record.event) : nullptr) {
            sentences << translated(QT_TRANSLATE_NOOP("messages", "Later, %1: %2"))
                             .arg(timeOf(event->micros, "HH:mm:ss.zzz: ") + eventText(*event), stepText(record));
        }
    }
    return sentences;
}

QJsonObject TraceWords::eventObject(const TraceRecord &event) const
{
    QJsonObject object{ { QStringLiteral("id"), event.id },
                        { QStringLiteral("time"), timeOf(event.micros, "yyyy-MM-ddTHH:mm:ss.zzz") },
                        { QStringLiteral("what"), QString::fromLatin1(kindWord(event.kind)) },
                        { QStringLiteral("text"), eventText(event) },
                        { QStringLiteral("handlers"), event.count } };
    if (event.kind == Kind::Event) {
        const EventType type = eventTypeOf(event);
        object.insert(QStringLiteral("what"), eventWord(type));
        if (type != EventType::Timeline) {
            object.insert(QStringLiteral("device"), event.device.text());
            object.insert(QStringLiteral("name"), m_names.deviceText(event.device));
        }
        object.insert(QStringLiteral("code"), event.code);
        if (event.count == 0) {
            const QStringList misses = m_misses.of(event);
            if (!misses.isEmpty()) {
                object.insert(QStringLiteral("misses"), QJsonArray::fromStringList(misses));
            }
        }
    }
    if (event.event != 0) {
        object.insert(QStringLiteral("cause"), event.event);
        object.insert(QStringLiteral("isNested"), event.isNested);
        if (const TraceRecord *cause = m_program.state().trace().find(event.event)) {
            object.insert(QStringLiteral("causeText"), eventText(*cause));
        }
    }
    return object;
}

QJsonObject TraceWords::stepObject(const TraceRecord &step) const
{
    QJsonObject object{ { QStringLiteral("id"), step.id },
                        { QStringLiteral("kind"), QString::fromLatin1(kindWord(step.kind)) },
                        { QStringLiteral("text"), stepText(step) } };
    const QString where = m_program.places().lineOf(step.place);
    if (!where.isEmpty()) {
        object.insert(QStringLiteral("place"), where);
    }
    if (step.kind == Kind::Body) {
        object.insert(QStringLiteral("micros"), step.micros);
    }
    if (step.count > 1 && step.kind != Kind::More) {
        object.insert(QStringLiteral("count"), step.count);
    }
    return object;
}

QString TraceWords::eventText(const TraceRecord &event) const
{
    const QString device = m_names.deviceText(event.device);
    const QString button = device + QLatin1Char(' ') + QString::number(event.code);
    switch (event.kind) {
    case Kind::Wait:
        return event.size > 0 ? translated(QT_TRANSLATE_NOOP("messages", "wait '%1' is over")).arg(textOf(event))
                              : translated(QT_TRANSLATE_NOOP("messages", "a wait is over"));
    case Kind::PulseEnd:
        return translated(QT_TRANSLATE_NOOP("messages", "the pulse of %1 ends")).arg(button);
    case Kind::LetGo:
        return translated(QT_TRANSLATE_NOOP("messages", "what TO held is let go"));
    case Kind::Mainline:
        return Places::bodyText(Places::Kind::Mainline, QString());
    case Kind::Start:
        return Places::bodyText(Places::Kind::Start, QString());
    default:
        break;
    }
    const EventType type = eventTypeOf(event);
    const Places::Kind kind = Places::kindOf(type);
    switch (type) {
    case EventType::Push:
    case EventType::Release:
        return Places::bodyText(kind, button);
    case EventType::Hold:
        return withNote(Places::bodyText(kind, button), seconds(event.after));
    case EventType::Level:
        return Places::bodyText(kind, button) + QStringLiteral(": ") + numberText(event.after);
    case EventType::String:
    case EventType::Command:
        return Places::bodyText(kind, device) + QStringLiteral(": ") + quoted(event.text(), event.size);
    case EventType::Error:
        return Places::bodyText(kind, device) + QStringLiteral(": ") + QString::number(event.code);
    case EventType::Timeline:
        return Places::bodyText(kind, QString::number(event.code));
    default:
        return Places::bodyText(kind, device);
    }
}

QString TraceWords::stepText(const TraceRecord &step) const
{
    const QString device = m_names.deviceText(step.device);
    const QString channel = QStringLiteral("[%1, %2]").arg(device).arg(step.code);
    const QString absent = (step.detail & TraceRecord::kIsAbsent) != 0
                               ? translated(QT_TRANSLATE_NOOP("messages", "not connected"))
                               : QString();
    const auto variable = [&] {
        QString text = m_names.nameOf(step.code);
        text += step.index > 0 ? QStringLiteral("[%1]").arg(step.index) : QString();
        return step.member > 0 ? text + QLatin1Char('.') + Name::textOf(step.member).toLower() : text;
    };
    const auto was = [](const QString &old) {
        return translated(QT_TRANSLATE_NOOP("messages", "was %1")).replace(QLatin1String("%1"), old);
    };
    const auto named = [&](const char *word) {
        return step.size > 0 ? QStringLiteral("%1 '%2'").arg(QLatin1String(word), textOf(step))
                             : QString::fromLatin1(word);
    };
    switch (step.kind) {
    case Kind::Body:
        return m_program.places().bodyOf(step.place);
    case Kind::Switched:
        return QStringLiteral("%1 %2").arg(QLatin1String(actionWord(step.detail)), channel);
    case Kind::Feedback: {
        const QString text = QStringLiteral("%1 %2").arg(QLatin1String(step.after != 0 ? "on" : "off"), channel);
        const QString group = step.size > 0
                                  ? translated(QT_TRANSLATE_NOOP("messages", "alone of the group %1")).arg(textOf(step))
                                  : QString();
        return withNote(withNote(text, group), absent);
    }
    case Kind::LevelSent: {
        const QString text = QStringLiteral("send_level %1, %2").arg(channel, numberText(step.after));
        const bool isQuiet = (step.detail & TraceRecord::kIsQuiet) != 0 && isAwaited(step);
        const char *const note =
            QT_TRANSLATE_NOOP("messages", "no level event: level and value must both differ from the ones before");
        return withNote(withNote(text, isQuiet ? translated(note) : QString()), absent);
    }
    case Kind::CommandSent:
        return withNote(QStringLiteral("send_command %1, %2").arg(device, quoted(step.text(), step.size)), absent);
    case Kind::StringSent:
        return QStringLiteral("send_string %1, %2").arg(device, quoted(step.text(), step.size));
    case Kind::PanelSet:
        return withNote(QStringLiteral("%1: %2").arg(channel, textOf(step)), absent);
    case Kind::PanelAsked:
        return withNote(QStringLiteral("%1?").arg(channel),
                        step.after != 0 ? QString() : translated(QT_TRANSLATE_NOOP("messages", "no answer")));
    case Kind::Assigned:
        if (step.member < 0) {
            return withNote(QStringLiteral("length_array(%1) = %2").arg(variable(), numberText(step.after)),
                            was(numberText(step.before)));
        }
        return withNote(QStringLiteral("%1 = %2").arg(variable(), numberText(step.after)),
                        was(numberText(step.before)));
    case Kind::TextAssigned:
        return withNote(QStringLiteral("%1 = %2").arg(variable(), halfOf(step, true)), was(halfOf(step, false)));
    case Kind::WaitBegun:
        return withNote(named("wait"), seconds(step.after));
    case Kind::WaitRefused:
        return withNote(named("wait"), translated(QT_TRANSLATE_NOOP("messages", "it is pending already")));
    case Kind::WaitCancelled:
        return named("cancel_wait");
    case Kind::TimelineBegun:
        return QStringLiteral("timeline_create(%1)").arg(step.code);
    case Kind::TimelineKilled:
        return QStringLiteral("timeline_kill(%1)").arg(step.code);
    case Kind::SocketOpened: {
        const QString text =
            translated(QT_TRANSLATE_NOOP("messages", "socket %1 opens: %2")).arg(step.device.text(), textOf(step));
        return step.after != 0 ? withNote(text, numberText(step.after)) : text;
    }
    case Kind::SocketClosed:
        return translated(QT_TRANSLATE_NOOP("messages", "socket %1 closes")).arg(step.device.text());
    case Kind::Failed:
        return QStringLiteral("%1() = %2").arg(textOf(step), numberText(step.after));
    case Kind::Problem:
        return textOf(step) + (step.size > TraceRecord::kText ? QStringLiteral("…") : QString());
    case Kind::More:
        return translated(QT_TRANSLATE_NOOP("messages", "%1 more steps")).arg(step.count);
    default:
        return {};
    }
}

bool TraceWords::isAwaited(const TraceRecord &level) const
{
    CustomEvent event{ EventType::Level, level.device };
    event.levelCode = level.code;
    return m_misses.of(traceRecordOf(event)).isEmpty();
}

QString TraceWords::place(const TraceRecord &record) const
{
    return m_program.places().lineOf(record.place);
}
