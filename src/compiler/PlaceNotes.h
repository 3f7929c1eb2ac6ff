#pragma once
#include "compiler/Symbols.h"
#include "compiler/lexing/TokenCursor.h"
#include "runtime/Places.h"

/// Notes while a program is read where its statements stand, and gives them in the order of the object file.
class PlaceNotes
{
public:
    /// The body of what begins at the position is read from now on. \see Places::Kind, Places::Body::name
    void enter(Places::Kind kind, const QString &name, SourcePosition position);
    /// The note's number, from 1: \see Statement::place
    int note(SourcePosition position);

    /// \param statements  the notes' numbers, in the order of the object file
    Places places(const Sources &sources, const Symbols &symbols, const std::vector<int> &statements) const;

    /// "dvPanel 5" for the triggers of a handler, "[dvPanel 5], [dvPanel 6]" for several.
    static QString triggerText(TokenCursor &cursor, TokenRange triggers);

private:
    struct Body
    {
        Places::Kind kind;
        QString name;
        SourcePosition position;
    };
    struct Note
    {
        size_t body;
        SourcePosition position;
    };
    std::vector<Body> m_bodies;
    std::vector<Note> m_notes;
};
