#include "compiler/lexing/Words.h"
#include "tools/arkc/lsp/Answers.h"
#include "tools/arkc/lsp/Ranges.h"

#include <QFileInfo>

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

/// Where the name stands: by file, from and behind its last character.
using PlacesByFile = std::map<QString, std::map<int, int>>;

IndexedSource renamed(const OpenProgram &program, const PlacesByFile &places, const QString &name)
{
    std::map<QString, QString> texts;
    for (int file = 0; file < program.files.size(); ++file) {
        QString &text = texts[program.files.at(file)] = program.source.sources.file(file).text;
        if (const auto found = places.find(program.files.at(file)); found != places.end()) {
            for (auto place = found->second.rbegin(); place != found->second.rend(); ++place) {
                text.replace(place->first, place->second - place->first, name);
            }
        }
    }
    return indexSource(texts[program.root], program.root, [&texts](const QString &path) {
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
QString newNameProblem(const OpenProgram &program, const PlacesByFile &places, const QString &name)
{
    const IndexedSource &before = program.source;
    const IndexedSource after = renamed(program, places, name);
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
    PlacesByFile all;
    Json changes = Json::object();
    for (const NamedPlaces &places : placesOf(asked, *use)) {
        for (const SourceSpan &place : places.places) {
            const QString &file = places.program->files.at(place.file);
            if (all[file].emplace(place.first, place.last).second) {
                changes[uriOf(asked.open, file).toStdString()].push_back(
                    Json{ { "range", rangeOf(places.program->source.sources, place) }, { "newText", name } });
            }
        }
    }
    for (const auto &[root, program] : asked.open.programs()) { // one that shares a file may mean another thing there
        const bool isChanged = std::any_of(program.files.begin(), program.files.end(),
                                           [&all](const QString &file) { return all.count(file) != 0; });
        if (const QString problem = isChanged ? newNameProblem(program, all, name) : QString(); !problem.isEmpty()) {
            return Answer::error(Answer::Refused, &program == &asked.program
                                                      ? problem
                                                      : QFileInfo(root).fileName() + QStringLiteral(": ") + problem);
        }
    }
    return { Json{ { "changes", changes } } };
}
} // namespace arkc
