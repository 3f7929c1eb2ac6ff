#pragma once
#include <memory>
#include <vector>

class Code;     // an expression made ready to run (interp)
class Step;     // a statement made ready to run (interp)
class Preparer; // makes them (interp)
class ProgramContext;

// A node's class says its tag (Tagged) and names its fields once, in the order of the file:
//     static void fields(auto &node, auto &visit) { visit(node.base, node.index); }
// The reader and the writer of object files come as the visitor (program/NodeStream.h). Where more is to be done once
// the fields are there, a class has wasRead(), with the program as argument where it has something to tell it.

/// How an equality written with the single-equals operator is meant at an expression's place in the tree.
enum class Context { Plain, Condition };

/// A node of the program tree as the object file holds it. What runs is derived from it once, by prepare().
/// Owned by its parent node.
class Expression
{
public:
    using Family = Expression;
    virtual ~Expression() = default;
    Expression(const Expression &) = delete;
    Expression &operator=(const Expression &) = delete;

    virtual int typeTag() const = 0;
    virtual std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const = 0;

protected:
    Expression() = default;
};

/// The same for statements.
class Statement
{
public:
    using Family = Statement;
    virtual ~Statement() = default;
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    virtual int typeTag() const = 0;
    virtual std::unique_ptr<Step> prepare(Preparer &preparer) const = 0;

    /// Which of its program's statements it is: in a loaded program by the order of the file, from 1; in the compiler
    /// an index to its notes of positions. 0: not known.
    int place = 0;

protected:
    Statement() = default;
};

/// An ordered sequence of expressions, some of which may be missing.
struct ExpressionList
{
    std::vector<std::unique_ptr<Expression>> items;

    static void fields(auto &node, auto &visit) { visit(node.items); }
};

/// A handler of the program. File order is the order of dispatch.
class EventHandler
{
public:
    using Family = EventHandler;
    virtual ~EventHandler() = default;
    virtual int typeTag() const = 0;
};

/// What a class of nodes has besides its fields: its tag in the file.
template <int Tag, class Base>
class Tagged : public Base
{
public:
    static constexpr int kTag = Tag;
    int typeTag() const final { return Tag; }
};

/// The node as the given class; nullptr: another class, or no node.
template <class Node>
const Node *as(const typename Node::Family *node)
{
    return node && node->typeTag() == Node::kTag ? static_cast<const Node *>(node) : nullptr;
}

template <class Node>
Node *as(typename Node::Family *node)
{
    return node && node->typeTag() == Node::kTag ? static_cast<Node *>(node) : nullptr;
}

/// A node as the given class where only that class fits; any other stays where it is, and the result is empty.
template <class Node>
std::unique_ptr<Node> nodeAs(std::unique_ptr<typename Node::Family> &&node)
{
    Node *const fitting = as<Node>(node.get());
    if (fitting) {
        (void)node.release();
    }
    return std::unique_ptr<Node>(fitting);
}
