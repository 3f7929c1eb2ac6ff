#include "compiler/NameIndex.h"

#include "library/Library.h"

#include <algorithm>

namespace {
SourceSpan tokenSpan(const Token &token)
{
    return { token.position.file, token.position.offset, token.position.offset + token.length };
}

/// Of a declaration that a missing bracket lets end in another file: its first token.
SourceSpan tokenSpan(const TokenCursor &cursor, TokenRange tokens)
{
    SourceSpan span = tokenSpan(cursor.token(tokens.first));
    const SourceSpan end = tokenSpan(cursor.token(std::max(tokens.first + 1, tokens.last) - 1));
    span.last = end.file == span.file ? std::max(span.last, end.last) : span.last;
    return span;
}

QString tokenText(const TokenCursor &cursor, TokenRange tokens)
{
    constexpr int kMost = 160;
    const SourceSpan span = tokenSpan(cursor, tokens);
    const QString text = cursor.sources().file(span.file).text.mid(span.first, span.last - span.first);
    return text.size() > kMost ? text.left(kMost) + QStringLiteral(" …") : text;
}

bool standsBefore(const NameIndex::Use &a, const NameIndex::Use &b)
{
    return std::pair(a.place.file, a.place.first) < std::pair(b.place.file, b.place.first);
}
} // namespace

std::optional<NameIndex::Use> NameIndex::useAt(SourcePosition place) const
{
    const auto next =
        std::upper_bound(m_uses.begin(), m_uses.end(), Use{ { place.file, place.offset, 0 }, 0 }, standsBefore);
    const bool isFound = next != m_uses.begin() && std::prev(next)->place.contains(place);
    return isFound ? std::optional(*std::prev(next)) : std::nullopt;
}

int NameIndex::structureBefore(SourcePosition dot) const
{
    const auto found = m_dots.find({ dot.file, dot.offset });
    return found != m_dots.end() ? found->second : StaticType::Unknown;
}

void NameIndex::declare(Kind kind, const TokenCursor &cursor, TokenRange head, TokenRange shown, int structure)
{
    if (!m_isKept) {
        return;
    }
    const Token &name = cursor.token(shown.first);
    if (!m_declared.emplace(Place{ name.position.file, name.position.offset }, m_things.size()).second) {
        return; // parameters are read twice
    }
    addUse(name, m_things.size());
    const QString declaration = head.isEmpty() ? tokenText(cursor, shown)
                                               : tokenText(cursor, head) + QLatin1Char(' ') + tokenText(cursor, shown);
    const bool isFirst = head.last == shown.first; // integer a, b: the second has its name only
    const TokenRange whole{ isFirst && !head.isEmpty() ? head.first : shown.first, shown.last };
    m_things.push_back({ kind, name.text, declaration, tokenSpan(name), tokenSpan(cursor, whole), {}, structure });
    if (kind == Kind::Member) {
        m_members.emplace(std::pair(structure, normalisedName(name.text)), m_things.size() - 1);
    }
}

void NameIndex::extend(const TokenCursor &cursor, size_t name, size_t last)
{
    if (Thing *thing = declaredAt(cursor.token(name).position)) {
        SourceSpan &whole = thing->whole;
        const SourceSpan end = tokenSpan(cursor.token(last));
        whole.last = end.file == whole.file ? std::max(whole.last, end.last) : whole.last;
    }
}

void NameIndex::block(const TokenCursor &cursor, TokenRange head, size_t last)
{
    if (m_isKept) {
        const QString text = tokenText(cursor, head);
        m_things.push_back({ Kind::Block, text, text, tokenSpan(cursor.token(head.first)),
                             tokenSpan(cursor, { head.first, last + 1 }) });
    }
}

void NameIndex::endScope(SourcePosition declared, SourcePosition end)
{
    if (Thing *thing = declaredAt(declared)) {
        thing->scope = { end.file, declared.offset, end.offset };
    }
}

void NameIndex::use(const Token &name, SourcePosition declared)
{
    if (const Thing *thing = declaredAt(declared)) {
        addUse(name, static_cast<size_t>(thing - m_things.data()));
    }
}

void NameIndex::useSystem(Kind kind, const Token &name)
{
    if (const auto found = m_system.find({ kind, normalisedName(name.text) }); found != m_system.end()) {
        addUse(name, found->second);
    }
}

void NameIndex::dot(const Token &dot, const StaticType &type)
{
    if (m_isKept && type.isStruct()) {
        m_dots.emplace(Place{ dot.position.file, dot.position.offset }, type.code);
    }
}

void NameIndex::useMember(const Token &name, int structure)
{
    if (const auto found = m_members.find({ structure, normalisedName(name.text) }); found != m_members.end()) {
        addUse(name, found->second);
    }
}

void NameIndex::declareSystem(const Symbols &symbols)
{
    if (!m_isKept) {
        return;
    }
    for (const auto &[normalised, symbol] : symbols.globals()) {
        addSystem(Kind::System, symbol.name,
                  (isSystemVariable(symbol.name) ? QString() : QStringLiteral("const ")) +
                      symbols.typeText(symbol.type) + QLatin1Char(' ') + symbol.name);
    }
    for (const Builtin &builtin : Library::table()) {
        if (const QString name = QString::fromLatin1(builtin.name).toLower(); builtin.isAvailable()) {
            addSystem(Kind::Builtin, name, name);
        }
    }
    constexpr std::pair<const char *, int> kStructures[] = {
        { "button", StaticType::ButtonData },     { "data", StaticType::DataData }, { "level", StaticType::LevelData },
        { "timeline", StaticType::TimelineData }, { nullptr, DeviceType },          { nullptr, DevChan::kTypeCode },
        { nullptr, DevLev::kTypeCode },
    };
    for (const auto &[name, code] : kStructures) {
        if (name) {
            addSystem(Kind::System, QString::fromLatin1(name), symbols.typeText({ code, 0 }));
        }
        for (const Parameter &member : symbols.membersOf(code)) {
            const QString memberName = member.name.toLower();
            addSystem(Kind::System, memberName, symbols.typeText(member.type) + QLatin1Char(' ') + memberName, code);
        }
    }
}

/// Of places that were read twice, one is kept.
void NameIndex::finish()
{
    std::stable_sort(m_uses.begin(), m_uses.end(), standsBefore);
    m_uses.erase(
        std::unique(m_uses.begin(), m_uses.end(), [](const Use &a, const Use &b) { return !standsBefore(a, b); }),
        m_uses.end());
}

/// nullptr: nothing is kept, or it is declared nowhere, or refused.
NameIndex::Thing *NameIndex::declaredAt(SourcePosition place)
{
    const auto found = m_declared.find({ place.file, place.offset });
    return found != m_declared.end() ? &m_things[found->second] : nullptr;
}

void NameIndex::addSystem(Kind kind, const QString &name, const QString &declaration, int structure)
{
    if (structure == StaticType::Unknown) {
        m_system.emplace(std::pair(kind, normalisedName(name)), m_things.size());
    } else {
        m_members.emplace(std::pair(structure, normalisedName(name)), m_things.size());
    }
    m_things.push_back({ kind, name, declaration, {}, {}, {}, structure });
}

void NameIndex::addUse(const Token &name, size_t thing)
{
    m_uses.push_back({ tokenSpan(name), thing });
}
