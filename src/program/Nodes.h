#pragma once
#include "model/RecordStream.h"

#include <memory>
#include <vector>

class Code;     // an expression made ready to run (interp)
class Step;     // a statement made ready to run (interp)
class Preparer; // makes them (interp)
class NodeReader;
class NodeWriter;

/// How an equality written with the single-equals operator is meant at an expression's place in the tree.
enum class Context { Plain, Condition };

/// A node of the program tree as the object file holds it. What runs is derived from it once, by prepare().
/// Owned by its parent node.
class Expression
{
public:
    virtual ~Expression() = default;
    Expression(const Expression &) = delete;
    Expression &operator=(const Expression &) = delete;

    virtual int typeTag() const = 0;
    virtual void writeTo(NodeWriter &writer) const = 0; // the class's own fields
    virtual void readFrom(NodeReader &reader) = 0;
    virtual std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const = 0;

protected:
    Expression() = default;
};

/// The same for statements.
class Statement
{
public:
    virtual ~Statement() = default;
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    virtual int typeTag() const = 0;
    virtual void writeTo(NodeWriter &writer) const = 0;
    virtual void readFrom(NodeReader &reader) = 0;
    virtual std::unique_ptr<Step> prepare(Preparer &preparer) const = 0;

protected:
    Statement() = default;
};

/// An ordered sequence of expressions, some of which may be missing.
struct ExpressionList
{
    std::vector<std::unique_ptr<Expression>> items;

    void writeTo(NodeWriter &writer) const;
    void readFrom(NodeReader &reader);
};

/// The part of a button or data handler for one kind of event.
class SubEventHandler
{
public:
    virtual ~SubEventHandler() = default;
    virtual int typeTag() const = 0;
    virtual void writeTo(NodeWriter &writer) const;
    virtual void readFrom(NodeReader &reader);

    std::unique_ptr<Statement> body;
};

/// A handler of the program. File order is the order of dispatch.
class EventHandler
{
public:
    virtual ~EventHandler() = default;
    virtual int typeTag() const = 0;
    virtual void writeTo(NodeWriter &writer) const = 0;
    virtual void readFrom(NodeReader &reader) = 0;
};

/// Makes nodes from their tags. Every maker gives nullptr for a tag without a class.
class NodeFactory
{
public:
    virtual ~NodeFactory() = default;
    virtual std::unique_ptr<Expression> makeExpression(int tag) const = 0;
    virtual std::unique_ptr<Statement> makeStatement(int tag) const = 0;
    virtual std::unique_ptr<SubEventHandler> makeSubEventHandler(int tag) const = 0;
    virtual std::unique_ptr<EventHandler> makeEventHandler(int tag) const = 0;
};

/// Reads nodes: a present flag, the class tag, the class's own record.
class NodeReader : public RecordReader
{
public:
    NodeReader(QDataStream &stream, const NodeFactory &factory)
        : RecordReader(stream)
        , m_factory(factory)
    {}

    std::unique_ptr<Expression> readExpression();
    std::unique_ptr<Statement> readStatement();
    std::unique_ptr<SubEventHandler> readSubEventHandler();
    const NodeFactory &factory() const { return m_factory; }

private:
    const NodeFactory &m_factory;
};

class NodeWriter : public RecordWriter
{
public:
    explicit NodeWriter(QDataStream &stream)
        : RecordWriter(stream)
    {}

    void writeExpression(const Expression *node); // nullptr: an absent node
    void writeStatement(const Statement *node);
    void writeSubEventHandler(const SubEventHandler *node);
};

/// A node as the given class where only that class fits; any other stays where it is, and the result is empty.
template <class Node, class Base>
std::unique_ptr<Node> nodeAs(std::unique_ptr<Base> &&node)
{
    if (!dynamic_cast<Node *>(node.get())) {
        return nullptr;
    }
    return std::unique_ptr<Node>(static_cast<Node *>(node.release()));
}
