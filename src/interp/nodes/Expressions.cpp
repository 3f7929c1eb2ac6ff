#include "interp/nodes/Expressions.h"

#include "model/ProgramContext.h"
#include "program/NodeStream.h"

// What of the records does not fit on a line. What the expressions compute is in code/.

namespace {
/// The alternative of an item that is read or written; while reading, it is made.
template <class Alternative>
auto &made(auto &item)
{
    if constexpr (requires { item.template emplace<Alternative>(); }) {
        item.template emplace<Alternative>();
    }
    return std::get<Alternative>(item);
}

void noteChanged(ProgramContext &program, const VarExpression *variable)
{
    if (variable) {
        program.noteChanged(Name(variable->name));
    }
}
} // namespace

void StringExpression::fields(auto &node, auto &visit)
{
    int kind = node.kind();
    visit(kind);
    if (kind == List) {
        visit.record(node.list);
    } else if (kind == Text) {
        visit(node.text);
    }
}

void StepExpression::wasRead(ProgramContext &program)
{
    noteChanged(program, operand.get());
}

void CallBase::wasRead(ProgramContext &program)
{
    if (arguments) {
        for (const auto &argument : arguments->items) { // some built-ins change what they are given
            noteChanged(program, as<VarExpression>(argument.get()));
        }
    }
}

void ButtonExpression::fields(auto &node, auto &visit)
{
    visit.list(node.items, [&visit](auto &item) {
        int kind = item.index() == 1 ? ExpressionItem : item.index() == 2 ? DeviceItem : EmptyItem;
        visit(kind);
        if (kind == ExpressionItem) {
            visit(made<std::unique_ptr<Expression>>(item));
        } else if (kind == DeviceItem) {
            visit(made<std::unique_ptr<Device>>(item));
        }
        return kind != OtherItem;
    });
}

DeviceExpr::Kind DeviceExpr::kind() const
{
    if (device) {
        return Constant;
    }
    if (variable) {
        return as<VarExpression>(variable.get()) ? Variable : as<ArrayExpression>(variable.get()) ? Element : Member;
    }
    return parts ? Parts : None;
}

void DeviceExpr::fields(auto &node, auto &visit)
{
    int kind = node.kind();
    visit(kind);
    switch (kind) {
    case Constant:
        return visit(node.device);
    case Variable:
        return visit.template only<VarExpression>(node.variable);
    case Element:
        return visit.template only<ArrayExpression>(node.variable);
    case Member:
        return visit.template only<StructExpression>(node.variable);
    case Parts:
        return visit.record(node.parts);
    default:
        return;
    }
}

const NodeTable<Expression> &expressionTable()
{
    return nodeTable(ExpressionTypes());
}
