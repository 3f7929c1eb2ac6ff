#pragma once
#include <QString>

#include <vector>

/// One remark of the compiler on a place in a source file.
struct Diagnostic
{
    enum class Severity { Error, Warning };
    Severity severity = Severity::Error;
    QString file;   // as it was given, or as the include found it
    int line = 0;   // from 1; 0: the file as a whole
    int column = 0; // from 1, in characters; a tab counts as one
    QString message;
    QString sourceLine{}; // the line's text, without its end; of a long line the part around the place
    int sourceColumn = 1; // of the first character of sourceLine
    int length = 0;       // of the word, number, text or sign at the place, in characters; on its line
    QString code = QStringLiteral("unreadable"); // of the message, as docs/language.md explains it

    bool isError() const { return severity == Severity::Error; }
};

/// "room.src:12:9: error: unknown name 'x'", without the source line.
QString headlineOf(const Diagnostic &diagnostic);

enum class Colour { No, Yes };

/// The headline, the source line and a caret below the place; lines end with a line feed.
QString textOf(const Diagnostic &diagnostic, Colour colour = Colour::No);

/// How many of them are errors.
int errorCount(const std::vector<Diagnostic> &diagnostics);
