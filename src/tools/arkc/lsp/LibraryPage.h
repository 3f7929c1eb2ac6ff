#pragma once
#include <QString>

namespace arkc {
/// What docs/library.md, which is part of the program, says of a built-in function.
struct LibraryEntry
{
    QString signature; // "abs_value(double x): double"; of a family all of them
    QString text;      // Markdown: what it gives
};

const LibraryEntry *libraryEntry(const QString &name); // nullptr: none
} // namespace arkc
