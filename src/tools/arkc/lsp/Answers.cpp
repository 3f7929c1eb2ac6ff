#include "tools/arkc/lsp/Answers.h"

#include "compiler/lexing/Lexer.h"
#include "compiler/lexing/Words.h"
#include "tools/arkc/lsp/LibraryPage.h"
#include "tools/arkc/lsp/Ranges.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <functional>

namespace arkc {
namespace {
using Kind = NameIndex::Kind;

/// What the protocol calls a thing: in a list of completions, and in an outline.
struct KindRow
{
    Kind kind;
    int completion;
    int symbol; // 0: not in the outline
};
constexpr int kKeyword = 14;
constexpr KindRow kKinds[] = {
    { Kind::Variable, 6, 13 }, { Kind::Constant, 21, 14 },  { Kind::Local, 6, 0 },     { Kind::Parameter, 6, 0 },
    { Kind::Member, 5, 8 },    { Kind::Structure, 22, 23 }, { Kind::Function, 3, 12 }, { Kind::Routine, 3, 12 },
    { Kind::Block, 0, 24 },    { Kind::Builtin, 3, 0 },     { Kind::System, 6, 0 },
};

const KindRow &rowOf(Kind kind)
{
    return *std::find_if(std::begin(kKinds), std::end(kKinds), [kind](const KindRow &row) { return row.kind == kind; });
}

Json locationOf(const AskedPlace &asked, const OpenProgram &program, const SourceSpan &span)
{
    return { { "uri", uriOf(asked.open, program.files.at(span.file)) },
             { "range", rangeOf(program.source.sources, span) } };
}

/// The comment above a declaration, line by line or between /* and */, and the one behind it on its line.
QString commentOn(const Sources::File &file, const SourceSpan &whole)
{
    static const QRegularExpression kMarks(QStringLiteral("^(///?|/\\*+|\\(\\*+|\\*(?![/)]))[ \\t]?|[ \\t]*\\*[/)]$"));
    const auto next = std::upper_bound(file.lineStarts.begin(), file.lineStarts.end(), whole.first);
    const auto lineAt = [&file](size_t number) { // from 0
        const int start = file.lineStarts[number];
        const int end = file.text.indexOf(QLatin1Char('\n'), start);
        return file.text.mid(start, end < 0 ? -1 : end - start).trimmed();
    };
    QStringList lines;
    bool isInside = false; // of a comment that ends further down
    const auto own = static_cast<size_t>(next - file.lineStarts.begin()) - 1;
    const bool isFirst = file.text.mid(file.lineStarts[own], whole.first - file.lineStarts[own]).trimmed().isEmpty();
    for (size_t number = isFirst ? own : 0; number-- > 0;) {
        const QString line = lineAt(number);
        const bool ends = line.endsWith(QLatin1String("*/")) || line.endsWith(QLatin1String("*)"));
        const bool begins = line.startsWith(QLatin1String("/*")) || line.startsWith(QLatin1String("(*"));
        if (!isInside && !line.startsWith(QLatin1String("//")) && !(ends && (begins || lines.isEmpty()))) {
            break;
        }
        isInside = (isInside || ends) && !begins;
        QString text = line;
        lines.prepend(text.remove(kMarks));
    }
    const int end = file.text.indexOf(QLatin1Char('\n'), whole.last);
    const QString behind = file.text.mid(whole.last, end < 0 ? -1 : end - whole.last).trimmed();
    if (!isInside && behind.startsWith(QLatin1String("//"))) {
        lines += QString(behind).remove(kMarks);
    }
    return isInside ? QString() : lines.join(QLatin1Char('\n'));
}

QString textOn(const AskedPlace &asked, const NameIndex::Thing &thing)
{
    const auto code = [](const QString &text) { return QStringLiteral("```arkivon\n%1\n```\n").arg(text); };
    if (const LibraryEntry *entry = thing.kind == Kind::Builtin ? libraryEntry(thing.name) : nullptr) {
        return code(entry->signature) + entry->text;
    }
    QString text = thing.declaration;
    if (thing.kind == Kind::Member) {
        for (const NameIndex::Thing &other : asked.names().things()) {
            if (other.kind == Kind::Structure && other.structure == thing.structure) {
                text += QStringLiteral("  // ") + other.declaration;
            }
        }
    }
    return thing.place.isSomewhere() ? code(text) + commentOn(asked.sources().file(thing.place.file), thing.whole)
                                     : code(text);
}

Json completionOf(const QString &name, int kind, const QString &detail)
{
    Json item{ { "label", name }, { "kind", kind } };
    if (!detail.isEmpty()) {
        item.emplace("detail", detail);
    }
    return item;
}
} // namespace

QString uriOf(const OpenPrograms &open, const QString &key)
{
    const auto source = open.sources().find(key);
    return source != open.sources().end() ? source->second.uri : QUrl::fromLocalFile(key).toString(QUrl::FullyEncoded);
}

std::vector<NamedPlaces> placesOf(const AskedPlace &asked, const NameIndex::Use &use)
{
    std::vector<NamedPlaces> all;
    const SourceSpan declared = asked.names().thing(use).place;
    for (const auto &[root, program] : asked.open.programs()) {
        const NameIndex &names = program.source.names;
        std::optional<NameIndex::Use> same;
        if (&program == &asked.program) {
            same = use;
        } else if (declared.isSomewhere()) {
            same = names.useAt({ program.files.indexOf(asked.program.files.at(declared.file)), declared.first });
        }
        if (!same) {
            continue;
        }
        NamedPlaces places{ &program, {} };
        for (const NameIndex::Use &other : names.uses()) {
            if (other.thing == same->thing) {
                places.places.push_back(other.place);
            }
        }
        all.push_back(std::move(places));
    }
    return all;
}

Answer definition(const AskedPlace &asked, const Json &)
{
    const std::optional<NameIndex::Use> use = asked.names().useAt(asked.place);
    const SourceSpan place = use ? asked.names().thing(*use).place : SourceSpan();
    return { place.isSomewhere() ? locationOf(asked, asked.program, place) : Json() };
}

Answer references(const AskedPlace &asked, const Json &parameters)
{
    const std::optional<NameIndex::Use> use = asked.names().useAt(asked.place);
    if (!use) {
        return {};
    }
    const bool withoutDeclaration = member(member(parameters, "context"), "includeDeclaration") == false;
    const SourceSpan declared = asked.names().thing(*use).place;
    const Json declaration = declared.isSomewhere() ? locationOf(asked, asked.program, declared) : Json();
    Json locations = Json::array();
    for (const NamedPlaces &places : placesOf(asked, *use)) {
        for (const SourceSpan &place : places.places) {
            Json location = locationOf(asked, *places.program, place);
            const bool isKnown = places.program != &asked.program &&
                                 std::find(locations.begin(), locations.end(), location) != locations.end();
            if (!isKnown && !(withoutDeclaration && location == declaration)) {
                locations.push_back(std::move(location));
            }
        }
    }
    return { locations };
}

Answer hover(const AskedPlace &asked, const Json &)
{
    const std::optional<NameIndex::Use> use = asked.names().useAt(asked.place);
    if (!use) {
        return {};
    }
    const Json contents{ { "kind", "markdown" }, { "value", textOn(asked, asked.names().thing(*use)) } };
    return { Json{ { "contents", contents }, { "range", rangeOf(asked.sources(), use->place) } } };
}

/// Behind a dot the members of what stands before it; elsewhere all that is known there. The editor chooses by what
/// has been typed.
Answer completion(const AskedPlace &asked, const Json &)
{
    const QString &text = asked.sources().file(asked.file).text;
    int start = asked.place.offset;
    while (start > 0 && isNamePart(text.at(start - 1))) {
        --start;
    }
    const auto isDot = [&text](int offset) { return offset >= 0 && text.at(offset) == QLatin1Char('.'); };
    const bool isMember = isDot(start - 1) && !isDot(start - 2); // 11..16 is a range
    const int structure = isMember ? asked.names().structureBefore({ asked.file, start - 1 }) : StaticType::Unknown;
    Json items = Json::array();
    for (const NameIndex::Thing &thing : asked.names().things()) {
        const bool isOfMembers =
            thing.kind == Kind::Member || (thing.kind == Kind::System && thing.structure != StaticType::Unknown);
        const bool isLocal = thing.kind == Kind::Local || thing.kind == Kind::Parameter;
        const bool isKnown = isMember ? isOfMembers && thing.structure == structure
                                      : !isOfMembers && (!isLocal || thing.scope.contains(asked.place));
        if (isKnown && thing.kind != Kind::Block) {
            const LibraryEntry *entry = thing.kind == Kind::Builtin ? libraryEntry(thing.name) : nullptr;
            items.push_back(
                completionOf(thing.name, rowOf(thing.kind).completion, entry ? entry->signature : thing.declaration));
        }
    }
    for (const QString &word : isMember ? QStringList() : wordsWith(~0U)) {
        items.push_back(completionOf(word, kKeyword, {}));
    }
    return { items };
}

Answer outline(const AskedPlace &asked, const Json &)
{
    std::vector<const NameIndex::Thing *> things;
    for (const NameIndex::Thing &thing : asked.names().things()) {
        if (thing.place.file == asked.file && rowOf(thing.kind).symbol != 0) {
            things.push_back(&thing);
        }
    }
    // What contains others stands before them.
    std::sort(things.begin(), things.end(), [](const NameIndex::Thing *a, const NameIndex::Thing *b) {
        return std::pair(a->whole.first, -a->whole.last) < std::pair(b->whole.first, -b->whole.last);
    });
    auto thing = things.begin();
    const std::function<Json(int)> symbolsUpTo = [&](int end) {
        Json symbols = Json::array();
        while (thing != things.end() && (*thing)->whole.last <= end) {
            const NameIndex::Thing &current = **thing++;
            Json symbol;
            symbol["name"] = current.name.simplified();
            symbol["kind"] = rowOf(current.kind).symbol;
            symbol["range"] = rangeOf(asked.sources(), current.whole);
            symbol["selectionRange"] = rangeOf(asked.sources(), current.place);
            const bool holds = current.kind == Kind::Block || current.kind == Kind::Structure;
            if (Json children = holds ? symbolsUpTo(current.whole.last) : Json(); !children.empty()) {
                symbol["children"] = std::move(children);
            }
            symbols.push_back(std::move(symbol));
        }
        return symbols;
    };
    return { symbolsUpTo(asked.sources().file(asked.file).text.size()) };
}
} // namespace arkc
