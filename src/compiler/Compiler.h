#pragma once
#include "compiler/Diagnostics.h"

#include <QByteArray>
#include <QStringList>

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
