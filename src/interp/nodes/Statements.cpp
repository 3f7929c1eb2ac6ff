#include "interp/nodes/Statements.h"

#include "interp/nodes/StatementTypes.h"
#include "model/ProgramContext.h"
#include "program/NodeStream.h"

#include <QCoreApplication>

#include <algorithm>

// What of the records does not fit on a line. What the statements do is in steps/.

namespace {
/// Tells the program which variable a statement changes: the one at the root of its target.
void noteTarget(ProgramContext &program, const Expression *target)
{
    while (target) {
        if (const auto *element = as<ArrayExpression>(target)) {
            target = element->base.get();
        } else if (const auto *member = as<StructExpression>(target)) {
            target = member->base.get();
        } else {
            break;
        }
    }
    if (const auto *variable = as<VarExpression>(target)) {
        program.noteChanged(Name(variable->name));
    }
}
} // namespace

void StatementList::wasRead(ProgramContext &program)
{
    bool inHead = true;
    std::erase_if(statements, [&](const std::unique_ptr<Statement> &statement) {
        const bool isDefinition = as<BlockItemDefStatement>(statement.get()) != nullptr;
        const bool isLate = isDefinition && !inHead;
        if (isLate) {
            reportError(&program,
                        QT_TRANSLATE_NOOP("messages", "Variable defination should be put at the start of block"));
        }
        inHead = inHead && isDefinition;
        return isLate;
    });
}

void AssignStatement::wasRead(ProgramContext &program)
{
    noteTarget(program, target.get());
}

void StepStatement::wasRead(ProgramContext &program)
{
    noteTarget(program, operand.get());
}

void SwitchStatement::fields(auto &node, auto &visit)
{
    visit(node.hasCases);
    if (node.hasCases) {
        visit(node.cases);
    }
    visit(node.value);
}

void SelectStatement::fields(auto &node, auto &visit)
{
    visit(node.hasBranches);
    if (node.hasBranches) {
        visit(node.branches);
    }
}

void CreateLevelStatement::wasRead(ProgramContext &program)
{
    program.noteBound(Name(variable));
}

void BufferStatement::wasRead()
{
    buffer = normalisedName(buffer);
}

const NodeTable<Statement> &statementTable()
{
    return nodeTable(StatementTypes());
}
