#pragma once
#include "compiler/format/FormatTokens.h"

/// Blanks between two tokens of one line: 0, 1, or 2 between statements that nothing else separates.
/// \param index  the second; annotate() has been there
/// \param before  index of the first
int blanksBefore(const std::vector<FormatToken> &tokens, int index, int before);
