#pragma once
#include "compiler/lexing/Lexer.h"
#include "compiler/lexing/Words.h"

/// A comment as it stands in the source.
struct SourceComment
{
    QString text;             // with its marks, without blanks at the ends of its lines
    int lineEnds = 0;         // between it and what stands before it; 2 stands for more
    int column = 0;           // where it begins, from 0, tabs taken as steps of 4
    bool endsLine = false;    // what follows stands on a line of its own: a // comment, or one of several lines
    bool isMultiLine = false; // of several lines
};

/// A token of the source with what stands before it, and what the formatter finds out about its place.
struct FormatToken
{
    TokenKind kind = TokenKind::End;
    QString text; // as written; keywords become lower case
    SourcePosition position{};
    bool startsLine = false; // as the compiler sees it
    std::vector<SourceComment> comments{};
    int lineEnds = 0;      // directly before it; 2 stands for more
    bool isSpaced = false; // two blanks or more before it, on the same line

    // Found out by annotate() of FormatStructure.h
    int partner = -1;              // of a bracket, brace or quote: the other one
    bool isBlock = false;          // a brace of a block, not of a list
    bool isInBlock = true;         // directly in a block or on the top level, not in brackets or a list
    bool isKeyword = false;        // a word of the language at its place
    bool startsStatement = false;  // the first of a statement, member, case, part or declaration
    bool startsNested = false;     // the same, behind the head of another: if (a) HERE, case 1: HERE
    bool startsLabel = false;      // case, default, active, or the name of an event's part
    bool isLabelColon = false;     // behind a label
    bool isJoined = false;         // stands on the line before it: a block's brace behind its head, an else
    bool isDefinitionBody = false; // the opening brace of a function, handler, structure …
    bool isFlat = false;           // the opening brace of a block that stands on one line
    bool isDropped = false;        // a semicolon that a line end makes superfluous

    bool is(TokenKind wanted) const { return kind == wanted; }
    bool isWord(const char *lowerCase) const
    {
        return kind == TokenKind::Name && text.compare(QLatin1String(lowerCase), Qt::CaseInsensitive) == 0;
    }
    bool isWord(unsigned uses) const { return kind == TokenKind::Name && ::isWord(text, uses); }
    bool hasLineEndBefore() const;
};

/// The tokens of a file up to and with the End, each with the comments before it. What is no token is reported.
std::vector<FormatToken> formatTokensOf(Sources &sources, int file);
