#pragma once
#include "compiler/lexing/TokenCursor.h"

#include <vector>

/// Where the parts of a program stand among its tokens. Made before anything is looked into, because every name is
/// visible in the whole program, also above its declaration.
struct Outline
{
    struct Declarator
    {
        size_t name = 0;
        std::vector<TokenRange> sizes; // of an array, outermost first; an empty range is []
        TokenRange initialValue;       // behind the =; empty: there is none
        bool hasInitialValue = false;
        bool isFaulty = false; // it could not be read to its end; only the name is known
    };
    struct Variables // one declaration line
    {
        size_t first = 0; // its first token
        bool isConst = false;
        std::vector<size_t> storageWords;
        size_t type = 0;
        std::vector<Declarator> declarators;
    };
    struct Structure
    {
        size_t name = 0;
        TokenRange members;    // between the braces
        bool isBroken = false; // its braces do not match; no members are known
    };
    struct Callable // a function or a routine
    {
        size_t name = 0;
        size_t type = 0; // the token of the result's type; 0: none
        std::vector<TokenRange> sizes;
        TokenRange parameters; // between the parentheses
        TokenRange body;       // from the opening brace on; empty: its braces do not match
        bool isFaulty = false; // its parameters could not be read
    };
    struct Block
    {
        size_t word = 0;
        TokenRange body; // from the opening brace on
    };
    struct Handler
    {
        size_t word = 0;
        TokenRange triggers; // the brackets
        TokenRange body;     // from the opening brace on
    };
    struct Binding // level
    {
        TokenRange level; // from the opening bracket on
        size_t variable = 0;
    };

    size_t programName = 0; // the token of the text; 0: none
    std::vector<Structure> structures;
    std::vector<Variables> variables;
    std::vector<TokenRange> exclusives;   // from the opening bracket on
    std::vector<TokenRange> combinations; // from the opening parenthesis on
    std::vector<Binding> levels;
    std::vector<Callable> functions;
    std::vector<Callable> routines;
    std::vector<Block> startBlocks;
    std::vector<Block> mainlineBlocks;
    std::vector<Handler> handlers;
};

/// Reads what stands on the top level; reports what is no declaration, and blocks without an end.
/// \param broken  the declarations whose braces do not match: of them only the names are read
Outline outlineOf(const TokenCursor &cursor, const std::vector<TokenRange> &broken);
