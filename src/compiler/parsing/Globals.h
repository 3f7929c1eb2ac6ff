#pragma once
#include "compiler/parsing/ExpressionParser.h"
#include "compiler/parsing/Outline.h"

#include <map>
#include <memory>
#include <set>

/// Declares the structure types, variables, constants and devices of a program, each with its initial value.
/// Values are made when they are first asked for, so that constants can use each other in any order.
class Globals
{
public:
    Globals(Workspace &workspace, const Outline &outline)
        : m_work(workspace)
        , m_outline(outline)
    {}

    void declareTypes(); // first; makes the variables' names known, too
    void declareVariables();

    /// The value of a constant, made on demand; nullptr: not a constant, or faulty.
    const BasicType *constantValue(const QString &name);

    /// A type and the declarator behind it, of parameters, members and results.
    std::optional<int> typeCodeAt(size_t token);
    std::optional<std::vector<int>> sizesOf(const std::vector<TokenRange> &ranges);

private:
    struct Pending
    {
        const Outline::Variables *line = nullptr;
        const Outline::Declarator *declarator = nullptr;
        std::unique_ptr<BasicType> value{};
        bool isBeingMade = false;
        bool isDone = false;
    };
    std::optional<CustomTypeInfo> readStructure(const Outline::Structure &structure);
    bool readMember(int structure, std::vector<TypeDecl> &members);
    void reportRecursiveTypes();
    bool contains(int code, int wanted, std::set<int> &seen) const;
    void noteType(size_t token, int code);
    void nameVariable(const Outline::Variables &line, const Outline::Declarator &declarator);
    int storageOf(const Outline::Variables &line);
    void make(Pending &pending);
    Pending *nextNeeded(std::vector<TokenRange> &ranges);
    void makeOne(Pending &pending);
    std::unique_ptr<BasicType> makeEmpty(const Pending &pending);
    void initialise(const Pending &pending, BasicType &value);
    void declare(Pending &pending);
    const Token &token(size_t index) const { return m_work.cursor.token(index); }

    Workspace &m_work;
    const Outline &m_outline;
    std::map<QString, std::unique_ptr<Pending>> m_pending; // by normalised name
    std::vector<Pending *> m_order;
    std::map<int, std::vector<int>> m_memberTypes; // structures inside structures, not in unbounded arrays
    std::map<int, SourcePosition> m_typePositions;
    bool m_typesReady = false;
};
