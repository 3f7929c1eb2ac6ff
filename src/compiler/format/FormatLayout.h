#pragma once
#include "compiler/format/FormatTokens.h"

/// A token or comment of a line.
struct LayoutItem
{
    QString text;
    int token = -1;            // -1: a comment
    int blanks = 0;            // before it, where it does not begin a line
    bool breaksBefore = false; // a line end stands before it
    bool hasEmptyLine = false; // and an empty line
    bool endsLine = false;     // a comment behind which a line ends
    bool isMultiLine = false;
    int sourceColumn = 0; // of a comment
};

/// A statement, a brace or a comment with a line of its own, and what goes on with it over further lines.
struct LayoutLine
{
    int level = 0; // of its indentation
    bool hasEmptyLine = false;
    std::vector<LayoutItem> items;
};

/// Deals the tokens out to lines: a statement a line, as the braces want it. The flat blocks stay on theirs.
std::vector<LayoutLine> layOut(const std::vector<FormatToken> &tokens);
