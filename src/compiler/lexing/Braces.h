#pragma once
#include "compiler/lexing/TokenCursor.h"

/// The declarations whose braces do not match, from their first token to behind their last. Each is reported once,
/// where the indentation shows the brace to be missing. What is in them cannot be read with sense.
std::vector<TokenRange> unbalancedDeclarations(const std::vector<Token> &tokens, Sources &sources);

/// Whether a token can only begin a part of the program.
bool beginsPart(const Token &token, const Token &next);
