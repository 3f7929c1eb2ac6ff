#pragma once
#include "compiler/NameIndex.h"

#include <QByteArray>
#include <QStringList>

#include <functional>

/// What a compilation gives: remarks in the order of their places, and the object file when none is an error.
struct CompileResult
{
    QByteArray objectFile; // empty after an error
    QByteArray places;     // what may stand behind it: where its statements stand in the source
    std::vector<Diagnostic> diagnostics;
    QStringList files; // that were read, the program's own first

    bool isGood() const { return errorCount(diagnostics) == 0; }
    QString text() const; // all diagnostics as a compiler prints them; empty when there are none
};

/// Compiles a program in the source form (docs/language.md) into an object file (docs/formats/object-file.md).
/// Makes a program object of its own for the time of the call: not while another one is loaded, and on the main thread.
/// \param fileName  stands in the diagnostics; includes are looked for beside it
CompileResult compileSource(const QString &text, const QString &fileName = QStringLiteral("program.src"));

/// The same for a file. A file that cannot be read, or is not UTF-8 text, is an error in the result.
CompileResult compileFile(const QString &path);

/// What an editor asks a program: what compileSource says of it, its names, and its texts as they were read. The
/// program is not built.
struct IndexedSource
{
    std::vector<Diagnostic> diagnostics{};
    NameIndex names{ NameIndex::Keep::Everything };
    Sources sources{};
};

/// \param editedText  the text of a file, named by its whole path, that is not on the disk; nullopt: it is read there
using EditedText = std::function<std::optional<QString>(const QString &path)>;
IndexedSource indexSource(const QString &text, const QString &fileName, const EditedText &editedText);
