#include "compiler/lexing/Words.h"
#include "tools/arkc/lsp/Answers.h"
#include "tools/arkc/lsp/Ranges.h"

namespace arkc {
namespace {
using Kind = NameIndex::Kind;

/// Why what stands at a place cannot have another name; empty: it can.
QString renameProblem(const AskedPlace &asked, const std::optional<NameIndex::Use> &use)
{
    if (!use) {
        return QStringLiteral("no name of the program stands here");
    }
    const NameIndex::Thing &thing = asked.names().thing(*use);
    return thing.place.isSomewhere()     ? QString()
           : thing.kind == Kind::Builtin ? QStringLiteral("'%1' is a function of the library").arg(thing.name)
                                         : QStringLiteral("'%1' is a name of the system").arg(thing.name);
}

/// The program with the name at some places replaced.
IndexedSource renamed(const NamedPlaces &places, const QString &name)
{
    std::map<QString, QString> texts;
    const Sources &sources = places.program->source.sources;
    for (int file = 0; file < places.program->files.size(); ++file) {
        texts[places.program->files.at(file)] = sources.file(file).text;
    }
    for (auto place = places.places.rbegin(); place != places.places.rend(); ++place) {
        texts[places.program->files.at(place->file)].replace(place->first, place->last - place->first, name);
    }
    return indexSource(texts[places.program->root], places.program->root, [&texts](const QString &path) {
        const auto found = texts.find(path);
        return found != texts.end() ? std::optional(found->second) : std::nullopt;
    });
}

/// For each place of a name the number of the place that first meant the same: two programs that differ only in how a
/// thing is called have the same.
std::vector<size_t> meaningsOf(const NameIndex &names)
{
    const std::vector<NameIndex::Use> &uses = names.uses();
    std::vector<size_t> first(names.things().size(), uses.size());
    std::vector<size_t> meanings;
    for (const NameIndex::Use &use : uses) {
        first[use.thing] = std::min(first[use.thing], meanings.size());
        meanings.push_back(first[use.thing]);
    }
    return meanings;
}

/// What the compiler says of the new name that it did not say before, or that it means something else somewhere.
QString newNameProblem(const NamedPlaces &places, const QString &name)
{
    const IndexedSource &before = places.program->source;
    const IndexedSource after = renamed(places, name);
    if (errorCount(after.diagnostics) > errorCount(before.diagnostics)) {
        for (const Diagnostic &diagnostic : after.diagnostics) {
            const bool isNew =
                std::none_of(before.diagnostics.begin(), before.diagnostics.end(),
                             [&diagnostic](const Diagnostic &other) { return other.message == diagnostic.message; });
            if (diagnostic.isError() && isNew) {
                return diagnostic.message;
            }
        }
    }
    return meaningsOf(before.names) == meaningsOf(after.names)
               ? QString()
               : QStringLiteral("'%1' is taken: somewhere it would mean another thing").arg(name);
}
} // namespace

Answer prepareRename(const AskedPlace &asked, const Json &)
{
    const std::optional<NameIndex::Use> use = asked.names().useAt(asked.place);
    if (const QString problem = renameProblem(asked, use); !problem.isEmpty()) {
        return Answer::error(Answer::Refused, problem);
    }
    return { Json{ { "range", rangeOf(asked.sources(), use->place) },
                   { "placeholder", asked.names().thing(*use).name } } };
}

Answer rename(const AskedPlace &asked, const Json &parameters)
{
    const std::optional<NameIndex::Use> use = asked.names().useAt(asked.place);
    if (const QString problem = renameProblem(asked, use); !problem.isEmpty()) {
        return Answer::error(Answer::Refused, problem);
    }
    const QString name = textOf(member(parameters, "newName"));
    const bool isMember = asked.names().thing(*use).kind == Kind::Member;
    if (isMember ? !isMemberName(name) : !isPlainName(name)) {
        return Answer::error(Answer::Refused, isWord(name, ~0U)
                                                  ? QStringLiteral("'%1' is a word of the language").arg(name)
                                                  : QStringLiteral("'%1' is no name").arg(name));
    }
    Json changes = Json::object();
    for (const NamedPlaces &places : placesOf(asked, *use)) {
        if (const QString problem = newNameProblem(places, name); !problem.isEmpty()) {
            return Answer::error(Answer::Refused, problem);
        }
        for (const SourceSpan &place : places.places) {
            Json &edits = changes[uriOf(asked.open, places.program->files.at(place.file)).toStdString()];
            const Json edit{ { "range", rangeOf(places.program->source.sources, place) }, { "newText", name } };
            const bool isKnown =
                places.program != &asked.program && std::find(edits.begin(), edits.end(), edit) != edits.end();
            if (!isKnown) {
                edits.push_back(edit);
            }
        }
    }
    return { Json{ { "changes", changes } } };
}
} // namespace arkc
