#pragma once
#include "program/Nodes.h"

#include <algorithm>
#include <array>
#include <utility>

template <class Base>
class NodeTable; // program/NodeStream.h

/// All classes of a family of nodes. Reading, writing to the file and writing as source go by this list.
template <class Base, class... Nodes>
struct NodeTypes
{
    static constexpr int kFirst = std::min({ Nodes::kTag... });
    static constexpr int kCount = std::max({ Nodes::kTag... }) - kFirst + 1;

    /// A row for each tag from the first to the last, made by make.template operator()<Node>(); an empty row where no
    /// class has the tag.
    template <class Row, class Make>
    static constexpr std::array<Row, kCount> rows(Make make)
    {
        std::array<Row, kCount> table{};
        ((table[Nodes::kTag - kFirst] = make.template operator()<Nodes>()), ...);
        return table;
    }
};

/// Calls function with the node as what it is. The function takes every class of the family: one that it forgets does
/// not compile.
template <class Result = void, class Base, class... Nodes, class Function>
Result visitNode(NodeTypes<Base, Nodes...> types, const Base &node, Function &&function)
{
    using Call = Result (*)(Function & function, const Base &node);
    static constexpr auto kCalls = types.template rows<Call>([]<class Node>() -> Call {
        return [](Function &call, const Base &base) -> Result { return call(static_cast<const Node &>(base)); };
    });
    return kCalls[static_cast<size_t>(node.typeTag() - types.kFirst)](function, node);
}
