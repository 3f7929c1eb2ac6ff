#include "compiler/PlaceNotes.h"

#include <QDir>
#include <QFileInfo>

void PlaceNotes::enter(Places::Kind kind, const QString &name, SourcePosition position)
{
    m_bodies.push_back({ kind, name, position });
}

int PlaceNotes::note(SourcePosition position)
{
    m_notes.push_back({ m_bodies.size() - 1, position });
    return static_cast<int>(m_notes.size());
}

Places PlaceNotes::places(const Sources &sources, const Symbols &symbols, const std::vector<int> &statements) const
{
    Places places;
    const QDir folder = QFileInfo(sources.file(0).name).dir();
    for (const QString &name : sources.names()) {
        places.files += folder.relativeFilePath(name);
    }
    constexpr size_t kNone = ~size_t(0);
    size_t current = kNone;
    for (auto statement = statements.begin(); statement != statements.end(); ++statement) {
        // A list and the like that nobody wrote stands where what it begins with stands.
        const auto known = std::find_if(statement, statements.end(), [](int number) { return number > 0; });
        const Note &note = known != statements.end() ? m_notes[static_cast<size_t>(*known - 1)] : m_notes.back();
        if (note.body != current) {
            current = note.body;
            const Body &body = m_bodies[current];
            places.bodies.push_back({ body.kind, body.name, body.position.file, sources.lineOf(body.position) });
        }
        places.bodies.back().lines.push_back(sources.lineOf(note.position));
    }
    for (const BasicType *value : symbols.program().globalsInOrder()) {
        if (symbols.program().isSystemSymbol(value)) {
            continue;
        }
        const auto symbol = symbols.globals().find(value->name().text());
        const bool isWritten = symbol != symbols.globals().end();
        places.globals.push_back(isWritten
                                     ? Places::Global{ symbol->second.position.file,
                                                       sources.lineOf(symbol->second.position), symbol->second.name }
                                     : Places::Global{});
    }
    return places;
}

QString PlaceNotes::triggerText(TokenCursor &cursor, TokenRange triggers)
{
    constexpr int kMost = 60;
    const bool isOnlyOne = triggers.last - triggers.first < 2 ||
                           std::none_of(&cursor.token(triggers.first) + 1, &cursor.token(triggers.last - 1),
                                        [](const Token &token) { return token.is(TokenKind::RightBracket); });
    QString text;
    for (size_t index = triggers.first; index < triggers.last && text.size() <= kMost; ++index) {
        const Token &token = cursor.token(index);
        const bool isOuter = token.is(TokenKind::LeftBracket) || token.is(TokenKind::RightBracket);
        if (token.is(TokenKind::Comma)) {
            const bool isBetween = index > triggers.first && cursor.token(index - 1).is(TokenKind::RightBracket);
            text += isBetween ? QStringLiteral(", ") : QStringLiteral(" ");
        } else if (!isOuter || !isOnlyOne) {
            text += cursor.sources().file(token.position.file).text.midRef(token.position.offset, token.length);
        }
    }
    return text.size() <= kMost ? text : text.left(kMost) + QStringLiteral(" …");
}
