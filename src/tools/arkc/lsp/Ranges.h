#pragma once
#include "compiler/NameIndex.h"
#include "compiler/Sources.h"
#include "tools/arkc/lsp/Json.h"

namespace arkc {
// Places as editors give them: line and character from 0, in UTF-16 units.

/// Outside of the text it is the nearest place in it.
int offsetOf(const QString &text, const Json &position);

Json rangeOf(const Sources::File &file, int first, int last);
inline Json rangeOf(const Sources &sources, const SourceSpan &span)
{
    return rangeOf(sources.file(span.file), span.first, span.last);
}

/// A remark of the compiler on that file.
Json problemOf(const Sources::File &file, const Diagnostic &diagnostic);
} // namespace arkc
