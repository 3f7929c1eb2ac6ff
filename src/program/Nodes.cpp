#include "program/Nodes.h"

namespace {
/// The framing that all families share. make: tag -> node or nullptr.
template <class Node, class Make>
std::unique_ptr<Node> readNode(NodeReader &reader, Make make)
{
    const RecordReader::Nested nested(reader);
    if (!reader.readBool()) {
        return nullptr;
    }
    std::unique_ptr<Node> node = make(reader.readInt());
    if (node) {
        node->readFrom(reader);
    }
    return reader.isGood() ? std::move(node) : nullptr;
}

template <class Node>
void writeNode(NodeWriter &writer, const Node *node)
{
    writer.writeBool(node != nullptr);
    if (node) {
        writer.writeInt(node->typeTag());
        node->writeTo(writer);
    }
}
} // namespace

void ExpressionList::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(items.size()));
    for (const auto &item : items) {
        writer.writeExpression(item.get());
    }
}

void ExpressionList::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        items.push_back(reader.readExpression());
    }
}

void SubEventHandler::writeTo(NodeWriter &writer) const
{
    writer.writeStatement(body.get());
}

void SubEventHandler::readFrom(NodeReader &reader)
{
    body = reader.readStatement();
}

std::unique_ptr<Expression> NodeReader::readExpression()
{
    return readNode<Expression>(*this, [this](int tag) { return m_factory.makeExpression(tag); });
}

std::unique_ptr<Statement> NodeReader::readStatement()
{
    return readNode<Statement>(*this, [this](int tag) { return m_factory.makeStatement(tag); });
}

std::unique_ptr<SubEventHandler> NodeReader::readSubEventHandler()
{
    return readNode<SubEventHandler>(*this, [this](int tag) { return m_factory.makeSubEventHandler(tag); });
}

void NodeWriter::writeExpression(const Expression *node)
{
    writeNode(*this, node);
}

void NodeWriter::writeStatement(const Statement *node)
{
    writeNode(*this, node);
}

void NodeWriter::writeSubEventHandler(const SubEventHandler *node)
{
    writeNode(*this, node);
}
