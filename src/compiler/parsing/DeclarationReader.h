#pragma once
#include "compiler/lexing/Braces.h"
#include "compiler/parsing/Outline.h"

/// Reads one declaration of the top level into an outline, without looking into it. False: it could not be read to its
/// end; reported. The cursor then stands where reading stopped.
class DeclarationReader
{
public:
    DeclarationReader(TokenCursor &cursor, Outline &outline)
        : m_cursor(cursor)
        , m_outline(outline)
    {}

    void setBroken(bool isBroken) { m_isBroken = isBroken; }

    bool isVariableStart() const;
    /// A declaration that lacks its bracket: combine dvOne, dvTwo)   exclusive dvPanel, 1..3]. The words may be the
    /// names of structures, too.
    bool isUnfinished() const;
    /// Whether the cursor stands on what can only begin a part of the program.
    bool isAtPart() const { return beginsPart(m_cursor.peek(), m_cursor.peek(1)); }
    bool readProgram();
    bool readStructure();
    bool readExclusive();
    bool readCombination();
    bool readLevel();
    bool readFunction();
    bool readRoutine();
    bool readStart() { return readBlock(m_outline.startBlocks); }
    bool readMainline() { return readBlock(m_outline.mainlineBlocks); }
    bool readHandler();
    bool readVariables();
    /// From an opening brace to behind the one that closes it.
    TokenRange readBraces();

private:
    bool readBody(TokenRange &body);
    /// From an opening bracket to behind the one that closes it.
    bool readBalanced(TokenRange &range);
    TokenRange between(TokenRange brackets) const;
    bool readCallable(Outline::Callable callable, std::vector<Outline::Callable> &list);
    bool readBlock(std::vector<Outline::Block> &list);
    bool readDeclarator(Outline::Declarator &declarator);
    bool readSize(std::vector<TokenRange> &sizes);
    bool endOfDeclaration();

    TokenCursor &m_cursor;
    Outline &m_outline;
    bool m_isBroken = false; // the braces of what is read do not match: only its name is read
};
