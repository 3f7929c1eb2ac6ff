#include "interp/Trace.h"

#include "base/Clock.h"
#include "interp/TracedGlobals.h"

#include <algorithm>

namespace {
constexpr int kMostSteps = 500;   // of one event: a loop does not push out what was before
constexpr qint64 kLookBack = 8;   // where a loop of a few statements repeats them
constexpr qint64 kLeastRoom = 64; // records

} // namespace

TraceRecord TraceRecord::of(Kind kind, const DeviceAddress &device, int code, double after)
{
    TraceRecord record{};
    record.kind = kind;
    record.device = device;
    record.code = code;
    record.after = after;
    record.count = 1;
    return record;
}

TraceRecord &&TraceRecord::with(int newDetail) &&
{
    detail = static_cast<qint8>(newDetail);
    return std::move(*this);
}

TraceRecord &&TraceRecord::with(std::string_view whole) &&
{
    size = static_cast<int>(whole.size());
    std::copy_n(whole.begin(), std::min<size_t>(whole.size(), kText), bytes.begin());
    return std::move(*this);
}

void Trace::setMemory(qint64 bytes)
{
    const qint64 room = bytes / static_cast<qint64>(sizeof(TraceRecord));
    m_room = room >= kLeastRoom ? room : 0;
    m_last = 0;
    m_ring = {};
    m_ring.reserve(static_cast<size_t>(m_room)); // address space, touched as it is used
}

const TraceRecord *Trace::find(qint64 id) const
{
    return id >= first() && id <= m_last ? &m_ring[static_cast<size_t>((id - 1) % m_room)] : nullptr;
}

qint64 Trace::running() const
{
    return m_innermost ? m_innermost->m_record.id : 0;
}

qint64 Trace::oldestRunning() const
{
    qint64 oldest = 0;
    for (const TracedEvent *event = m_innermost; event; event = event->m_outer) {
        oldest = event->m_record.id ? event->m_record.id : oldest;
    }
    return oldest;
}

void Trace::add(const TraceRecord &record)
{
    if (!m_innermost || !isOn()) {
        return;
    }
    m_innermost->write();
    const qint64 event = m_innermost->m_record.id;
    const int place = record.place ? record.place : placeNow();
    if (isRepeated(record, event, place)) {
        return;
    }
    using Kind = TraceRecord::Kind;
    const bool isValue = record.kind == Kind::Assigned || record.kind == Kind::TextAssigned;
    const TraceRecord *kept = &record;
    static const TraceRecord more = TraceRecord::of(Kind::More);
    if (!isValue && ++m_innermost->m_steps > kMostSteps) {
        if (isRepeated(more, event, 0)) {
            return;
        }
        kept = &more;
    }
    TraceRecord *const written = write(*kept);
    written->event = event;
    written->place = kept == &more ? 0 : place;
}

bool Trace::isRepeated(const TraceRecord &record, qint64 event, int place)
{
    for (qint64 id = m_last; id > event && id > m_last - kLookBack; --id) {
        TraceRecord *const known = change(id);
        if (known && known->place == place && known->event == event && known->kind == record.kind &&
            known->code == record.code && known->device == record.device && known->detail == record.detail &&
            known->after == record.after && known->before == record.before && known->index == record.index &&
            known->member == record.member && known->text() == record.text() &&
            record.kind != TraceRecord::Kind::Body) {
            ++known->count;
            return true;
        }
    }
    return false;
}

TraceRecord *Trace::write(const TraceRecord &record)
{
    const qint64 id = ++m_last;
    TraceRecord *const written =
        id <= m_room ? &m_ring.emplace_back(record) : &(m_ring[static_cast<size_t>((id - 1) % m_room)] = record);
    written->id = id;
    return written;
}

void Trace::markLast(int detail)
{
    if (TraceRecord *newest = change(m_last)) {
        newest->detail = static_cast<qint8>(newest->detail | detail);
    }
}

void Trace::notePresence(int deviceNumber, bool isThere)
{
    constexpr size_t kNumbers = 1 << 16;
    const auto index = static_cast<size_t>(deviceNumber);
    if (index < kNumbers) {
        m_present.resize(kNumbers); // once
        m_present[index] = isThere;
    }
}

void Trace::noteAsked(const DeviceAddress &device)
{
    if (m_innermost && isOn()) {
        m_innermost->write();
        m_askers[device] = running();
    }
}

qint64 Trace::askerOf(const DeviceAddress &device) const
{
    constexpr qint64 kMostMicros = 30'000'000;
    const auto found = m_askers.find(device);
    const TraceRecord *asker = found != m_askers.end() ? find(found->second) : nullptr;
    return asker && Clock::instance().nowMicros() - asker->micros < kMostMicros ? asker->id : 0;
}

TracedEvent::TracedEvent(Trace &trace, const TraceRecord &what, qint64 cause, Keep keep)
    : m_trace(trace)
    , m_outer(trace.m_innermost)
{
    trace.m_innermost = this;
    if (!trace.isOn()) {
        m_record.id = 0;
        return;
    }
    m_record = what;
    m_record.event = cause;
    m_record.count = 0;
    m_record.place = 0;
    if (keep == Keep::Always) {
        write();
    }
}

TracedEvent::~TracedEvent()
{
    m_trace.m_innermost = m_outer;
}

void TracedEvent::write()
{
    if (m_record.id != 0) {
        return;
    }
    if (m_outer) {
        m_outer->write();
        m_record.isNested = true;
        m_record.event = m_outer->m_record.id;
    }
    m_record.micros = Clock::instance().nowMicros();
    m_record.id = m_trace.write(m_record)->id;
}

TracedBody::TracedBody(Trace &trace, int place, const TracedGlobals *globals)
    : m_trace(trace)
    , m_globals(globals)
    , m_place(place)
    , m_words(trace.m_words.size())
{
    using Kind = TraceRecord::Kind;
    TracedEvent *const event = trace.m_innermost;
    if (!event || !trace.isOn() || event->m_record.kind == Kind::Mainline) {
        return; // a mainline runs ten times a second: it is there only when it acts
    }
    event->write();
    TraceRecord body = TraceRecord::of(Kind::Body);
    body.event = event->m_record.id;
    body.place = place;
    m_id = trace.write(body)->id;
    if (TraceRecord *written = trace.change(body.event)) {
        ++written->count;
    }
    if (m_globals) {
        m_globals->note(trace.m_words);
    }
}

void TracedBody::took(qint64 micros) const
{
    if (TraceRecord *written = m_id ? m_trace.change(m_id) : nullptr) {
        written->micros = micros;
    }
}

TracedBody::~TracedBody()
{
    if (m_id == 0) {
        return;
    }
    if (m_globals) {
        m_globals->compare(m_trace, m_place, m_trace.m_words, m_words);
        m_trace.m_words.resize(m_words);
    }
}
