#pragma once
#include "compiler/lexing/Token.h"

/// Cuts a file of the sources into tokens, up to and with the End. What is no token is reported and left out.
/// The operator words (and, mod, band …) come as the tokens of their signs.
std::vector<Token> tokensOf(Sources &sources, int file);

bool isNameStart(QChar character);
bool isNamePart(QChar character);

/// As it stands in messages: 'nVolume', "end of file".
QString describe(const Token &token, const Sources &sources);
