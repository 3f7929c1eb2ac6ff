#pragma once
#include "compiler/Diagnostics.h"

#include <QByteArray>

/// A source in the one canonical layout, or why there is none.
struct FormattedSource
{
    QString text; // lines end with a line feed
    std::vector<Diagnostic> diagnostics;

    bool isGood() const { return diagnostics.empty(); }
};

/// Lays out a source in the one canonical way: docs/language.md, "The formatter". Only blanks, line ends, the case of
/// keywords and semicolons at line ends change, so the program means what it meant, and every comment stays. The
/// result formatted again is itself. Refused is only what cannot be cut into tokens, or whose brackets do not match.
/// \param fileName  stands in the diagnostics; no file is read
FormattedSource formatSource(const QString &text, const QString &fileName = QStringLiteral("program.src"));

/// The same for the bytes of a file. A byte order mark stays, and line ends keep their kind, which is that of the
/// first.
struct FormattedBytes
{
    QByteArray bytes;
    std::vector<Diagnostic> diagnostics;

    bool isGood() const { return diagnostics.empty(); }
};
FormattedBytes formatBytes(const QByteArray &bytes, const QString &fileName);
