#pragma once
#include "compiler/format/FormatTokens.h"

/// Finds out what the tokens of a source are to each other: which brackets belong together, which braces hold a block
/// and which a list, where statements begin. Goes by brackets, keywords and line ends alone, so it needs no source
/// without errors. Words of the language become lower case.
/// False: the brackets do not match; reported.
bool annotate(std::vector<FormatToken> &tokens, Sources &sources);
