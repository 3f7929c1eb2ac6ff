#include "interp/TracedGlobals.h"

#include "interp/ProgramState.h"
#include "interp/Trace.h"
#include "interp/code/FunctionCode.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <set>
#include <string_view>

namespace {
constexpr int kMostParts = 64;      // of one variable
constexpr size_t kMostWords = 4096; // of all that a body may change
constexpr size_t kHashedBytes = 1024;
constexpr size_t kTextBytes = TraceRecord::kText / 2;

/// Where in a variable a part stands; 0 where it is the whole.
struct PartPath
{
    int index = 0;  // of the element, from 1
    int member = 0; // the id of its name
};

/// What a variable holds, taken apart into words: a number, the length of a list, or a text with its length, a
/// digest and its beginning. A list that has grown is not looked into further, so words at the same place mean the
/// same up to there.
template <class Part>
class Parts
{
public:
    explicit Parts(Part part)
        : m_part(std::move(part))
    {}

    void of(const BasicType &value, PartPath path = {})
    {
        if (m_left-- <= 0) {
            return;
        }
        if (const Double *number = asDouble(&value)) {
            m_part.number(path, number->value());
        } else if (const Array *array = asArray(&value)) {
            ofArray(*array, path);
        } else {
            for (const StructType::Member &member : static_cast<const StructType &>(value).members()) {
                of(*member.value, { path.index, member.name.id() });
            }
        }
    }

private:
    void ofArray(const Array &array, PartPath path)
    {
        if (array.typeCode() == CharType && !array.firstIsArray()) {
            m_part.text(path, array.bytes(m_hold));
            return;
        }
        m_part.length(path, array.length());
        const bool hasNumbers = isNumericType(array.typeCode()) && !array.firstIsArray();
        for (int index = 1; index <= array.capacity() && m_left > 0; ++index, --m_left) {
            const PartPath element{ path.index ? path.index : index, path.member };
            if (hasNumbers) { // one that is not there yet reads as 0
                double number = 0;
                if (!array.packedNumber(index, number) && array.hasElement(index)) {
                    number = array.view(index).number;
                }
                m_part.number(element, number);
                continue;
            }
            const BasicType *const object = array.object(index);
            m_part.enter(object != nullptr);
            if (object) {
                of(*object, element);
            }
            m_part.leave();
        }
    }

    Part m_part;
    int m_left = kMostParts;
    QByteArray m_hold;
};

struct TextWords
{
    static TextWords of(std::string_view bytes)
    {
        TextWords words{ bytes.size(), std::hash<std::string_view>()(bytes.substr(0, kHashedBytes)), {} };
        std::copy_n(bytes.begin(), std::min(bytes.size(), kTextBytes), words.beginning.begin());
        return words;
    }

    quint64 length;
    quint64 digest;
    std::array<char, kTextBytes> beginning;
};
constexpr size_t kTextWords = sizeof(TextWords) / sizeof(quint64);

class Noter
{
public:
    explicit Noter(std::vector<quint64> &words)
        : m_words(words)
    {}
    void number(PartPath, double value) { m_words.push_back(std::bit_cast<quint64>(value)); }
    void length(PartPath, int length) { m_words.push_back(static_cast<quint64>(length)); }
    void enter(bool isThere) { m_words.push_back(isThere ? 1 : 0); }
    void leave() {}
    void text(PartPath, std::string_view bytes)
    {
        const TextWords words = TextWords::of(bytes);
        const size_t at = m_words.size();
        m_words.resize(at + kTextWords);
        std::memcpy(&m_words[at], &words, sizeof(words));
    }

private:
    std::vector<quint64> &m_words;
};

class Comparer
{
public:
    Comparer(Trace &trace, const TraceRecord &like, const quint64 *words, const quint64 *end)
        : m_trace(trace)
        , m_like(like)
        , m_words(words)
        , m_end(end)
    {}

    void number(PartPath path, double value)
    {
        if (m_isNew) {
            tell(path, 0, value);
        } else if (m_words < m_end) {
            tell(path, std::bit_cast<double>(*m_words++), value);
        }
    }
    void length(PartPath path, int length)
    {
        if (!m_isNew && m_words < m_end && static_cast<int>(*m_words++) != length) {
            tell({ path.index, -1 }, static_cast<double>(m_words[-1]), length);
            m_words = m_end;
        }
    }
    /// An element. One that has been made meanwhile was empty before.
    void enter(bool isThere)
    {
        const bool wasThere = m_words < m_end && *m_words++ != 0;
        m_isNew = isThere && !wasThere && m_words < m_end;
    }
    void leave() { m_isNew = false; }
    void text(PartPath path, std::string_view bytes)
    {
        TextWords before = TextWords::of({});
        if (!m_isNew) {
            if (static_cast<size_t>(m_end - m_words) < kTextWords) {
                return;
            }
            std::memcpy(&before, m_words, sizeof(before));
            m_words += kTextWords;
        }
        const TextWords after = TextWords::of(bytes);
        if (std::memcmp(&before, &after, sizeof(before)) != 0) {
            TraceRecord record = made(TraceRecord::Kind::TextAssigned, path);
            record.before = static_cast<double>(before.length);
            record.after = static_cast<double>(after.length);
            std::copy(before.beginning.begin(), before.beginning.end(), record.bytes.begin());
            std::copy(after.beginning.begin(), after.beginning.end(), record.bytes.begin() + kTextBytes);
            record.size = TraceRecord::kText;
            m_trace.add(record);
        }
    }

private:
    TraceRecord made(TraceRecord::Kind kind, PartPath path) const
    {
        TraceRecord record = m_like;
        record.kind = kind;
        record.index = path.index;
        record.member = path.member;
        return record;
    }
    void tell(PartPath path, double before, double after)
    {
        if (before != after) {
            TraceRecord record = made(TraceRecord::Kind::Assigned, path);
            record.before = before;
            record.after = after;
            m_trace.add(record);
        }
    }

    Trace &m_trace;
    TraceRecord m_like;
    const quint64 *m_words;
    const quint64 *m_end;
    bool m_isNew = false;
};

void noteOne(const BasicType &global, std::vector<quint64> &words)
{
    Parts<Noter>(Noter(words)).of(global);
}
} // namespace

TracedGlobals::TracedGlobals(const Reach &reach, ProgramState &state)
{
    std::set<const BasicType *> globals;
    std::set<const FunctionCode *> known;
    std::vector<const Reach *> open{ &reach };
    while (!open.empty()) {
        const Reach &next = *open.back();
        open.pop_back();
        globals.insert(next.globals.begin(), next.globals.end());
        for (const FunctionCode *called : next.calls) {
            if (known.insert(called).second) {
                open.push_back(&called->reach());
            }
        }
    }
    for (const BasicType *global : state.program().globalsInOrder()) { // in the order that people know
        if (globals.count(global) > 0 && !global->isConst() && !state.isKeptCurrent(*global) &&
            (state.program().isChanged(global->name()) || state.program().isBound(global->name()))) {
            m_globals.push_back(global);
        }
    }
}

void TracedGlobals::note(std::vector<quint64> &words) const
{
    const size_t begin = words.size();
    for (const BasicType *global : m_globals) {
        const size_t at = words.size();
        if (at - begin > kMostWords) {
            break;
        }
        words.push_back(0);
        noteOne(*global, words);
        words[at] = words.size() - at;
    }
}

void TracedGlobals::compare(Trace &trace, int place, const std::vector<quint64> &words, size_t from) const
{
    size_t at = from;
    for (const BasicType *global : m_globals) {
        if (at >= words.size()) {
            break;
        }
        const size_t next = at + words[at];
        TraceRecord record = TraceRecord::of(TraceRecord::Kind::Assigned, {}, global->name().id());
        record.place = place;
        Parts<Comparer>(Comparer(trace, record, &words[at] + 1, words.data() + next)).of(*global);
        at = next;
    }
}
