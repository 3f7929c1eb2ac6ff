#pragma once
#include <QByteArray>
#include <QString>

/// An object file as source.
struct SourceText
{
    QString text;
    QString problem;      // why there is no text; empty: there is one
    bool isExact = false; // built again, the text gives the same bytes, but for its places
};

/// Writes an object file as source. What arkc has built comes back to the same bytes when it is built again; what the
/// source form cannot say stands in comments.
/// Makes program objects of its own for the time of the call, like compileSource().
SourceText sourceOf(const QByteArray &objectFile);
