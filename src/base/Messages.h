#pragma once
#include <QString>

/// Texts that an operator reads: the English source text in the operator's language.
/// Mark every such literal with QT_TRANSLATE_NOOP("messages", "…"), so that one catalogue serves all folders.
QString translated(const char *sourceText);
