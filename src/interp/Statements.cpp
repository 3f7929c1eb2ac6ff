#include "interp/Statements.h"

#include "interp/DeviceStatements.h"
#include "interp/WaitStatements.h"
#include "model/ProgramContext.h"

#include <QCoreApplication>

// The records of the statement classes. What they do is in the *Steps.cpp files.

namespace {
std::unique_ptr<StatementList> readList(NodeReader &reader)
{
    return nodeAs<StatementList>(reader.readStatement());
}

/// Tells the program which variable a statement changes: the one at the root of its target.
void noteTarget(const Expression *target)
{
    while (target) {
        if (const auto *element = dynamic_cast<const ArrayExpression *>(target)) {
            target = element->base.get();
        } else if (const auto *member = dynamic_cast<const StructExpression *>(target)) {
            target = member->base.get();
        } else {
            break;
        }
    }
    const auto *variable = dynamic_cast<const VarExpression *>(target);
    if (ProgramContext *program = ProgramContext::current(); program && variable) {
        program->noteChanged(Name(variable->name));
    }
}
} // namespace

void StatementList::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(statements.size()));
    for (const auto &statement : statements) {
        writer.writeStatement(statement.get());
    }
}

void StatementList::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    bool inHead = true;
    for (int i = 0; i < count && reader.isGood(); ++i) {
        std::unique_ptr<Statement> statement = reader.readStatement();
        const bool isDefinition = dynamic_cast<BlockItemDefStatement *>(statement.get()) != nullptr;
        if (isDefinition && !inHead) {
            reportProgramError(
                QT_TRANSLATE_NOOP("messages", "Variable defination should be put at the start of block"));
            continue;
        }
        inHead = inHead && isDefinition;
        statements.push_back(std::move(statement));
    }
}

void CompoundStatement::writeTo(NodeWriter &writer) const
{
    writer.writeStatement(body.get());
}

void CompoundStatement::readFrom(NodeReader &reader)
{
    body = readList(reader);
}

void BlockItemDefStatement::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(items.size()));
    for (const Item &item : items) {
        writer.writeInt(static_cast<int>(item.codes.size()));
        for (const int code : item.codes) {
            writer.writeInt(code);
        }
        writer.writeExpression(item.declarator.get());
    }
}

void BlockItemDefStatement::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        Item item;
        const int codeCount = reader.readInt();
        for (int k = 0; k < codeCount && reader.isGood(); ++k) {
            item.codes.push_back(reader.readInt());
        }
        item.declarator = reader.readExpression();
        items.push_back(std::move(item));
    }
}

void AssignStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(target.get());
    writer.writeExpression(value.get());
}

void AssignStatement::readFrom(NodeReader &reader)
{
    target = reader.readExpression();
    noteTarget(target.get());
    value = reader.readExpression();
}

void StepStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(operand.get());
}

void StepStatement::readFrom(NodeReader &reader)
{
    operand = reader.readExpression();
    noteTarget(operand.get());
}

void IfStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(condition.get());
    writer.writeStatement(thenBranch.get());
    writer.writeStatement(elseBranch.get());
}

void IfStatement::readFrom(NodeReader &reader)
{
    condition = reader.readExpression();
    thenBranch = reader.readStatement();
    elseBranch = reader.readStatement();
}

void WhileStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(condition.get());
    writer.writeStatement(body.get());
}

void WhileStatement::readFrom(NodeReader &reader)
{
    condition = reader.readExpression();
    body = reader.readStatement();
}

void ForStatement::writeTo(NodeWriter &writer) const
{
    writer.writeStatement(body.get());
    writer.writeStatement(initialisation.get());
    writer.writeExpression(condition.get());
    writer.writeStatement(step.get());
}

void ForStatement::readFrom(NodeReader &reader)
{
    body = reader.readStatement();
    initialisation = readList(reader);
    condition = reader.readExpression();
    step = readList(reader);
}

void SwitchStatement::writeTo(NodeWriter &writer) const
{
    writer.writeBool(hasCases);
    if (hasCases) {
        writer.writeInt(static_cast<int>(cases.size()));
        for (const CaseItem &item : cases) {
            writer.writeInt(item.kind);
            writer.writeText(item.text);
            writer.writeDouble(item.number);
            writer.writeStatement(item.body.get());
        }
    }
    writer.writeExpression(value.get());
}

void SwitchStatement::readFrom(NodeReader &reader)
{
    hasCases = reader.readBool();
    const int count = hasCases ? reader.readInt() : 0;
    for (int i = 0; i < count && reader.isGood(); ++i) {
        CaseItem item;
        item.kind = reader.readInt();
        item.text = reader.readText();
        item.number = reader.readDouble();
        item.body = readList(reader);
        cases.push_back(std::move(item));
    }
    value = reader.readExpression();
}

void SelectStatement::writeTo(NodeWriter &writer) const
{
    writer.writeBool(hasBranches);
    if (!hasBranches) {
        return;
    }
    writer.writeInt(static_cast<int>(branches.size()));
    for (const ActiveItem &item : branches) {
        writer.writeExpression(item.condition.get());
        writer.writeStatement(item.body.get());
    }
}

void SelectStatement::readFrom(NodeReader &reader)
{
    hasBranches = reader.readBool();
    const int count = hasBranches ? reader.readInt() : 0;
    for (int i = 0; i < count && reader.isGood(); ++i) {
        ActiveItem item;
        item.condition = reader.readExpression();
        item.body = reader.readStatement();
        branches.push_back(std::move(item));
    }
}

void ReturnStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(value.get());
}

void ReturnStatement::readFrom(NodeReader &reader)
{
    value = reader.readExpression();
}

void FuncCallStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(call.get());
}

void FuncCallStatement::readFrom(NodeReader &reader)
{
    call = nodeAs<FuncCallExpression>(reader.readExpression());
}

void CallRoutineStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(call.get());
}

void CallRoutineStatement::readFrom(NodeReader &reader)
{
    call = nodeAs<CallExpression>(reader.readExpression());
}

void WaitStatement::writeTo(NodeWriter &writer) const
{
    writer.writeText(name);
    writer.writeInt(static_cast<int>(captured.size()));
    for (const QString &variable : captured) {
        writer.writeText(variable);
    }
    writer.writeStatement(body.get());
    writer.writeExpression(time.get());
}

void WaitStatement::readFrom(NodeReader &reader)
{
    name = reader.readText();
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        captured.push_back(reader.readText());
    }
    body = reader.readStatement();
    time = reader.readExpression();
}

void CancelWaitStatement::writeTo(NodeWriter &writer) const
{
    writer.writeText(name);
}

void CancelWaitStatement::readFrom(NodeReader &reader)
{
    name = reader.readText();
}

void CommandStatement::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(device.get());
}

void CommandStatement::readFrom(NodeReader &reader)
{
    device = nodeAs<DeviceExpr>(reader.readExpression());
}

void SendStringStatement::writeTo(NodeWriter &writer) const
{
    CommandStatement::writeTo(writer);
    writer.writeExpression(payload.get());
}

void SendStringStatement::readFrom(NodeReader &reader)
{
    CommandStatement::readFrom(reader);
    payload = reader.readExpression();
}

void SendCommandStatement::writeTo(NodeWriter &writer) const
{
    CommandStatement::writeTo(writer);
    writer.writeExpression(payload.get());
}

void SendCommandStatement::readFrom(NodeReader &reader)
{
    CommandStatement::readFrom(reader);
    payload = reader.readExpression();
}

void SendLevelStatement::writeTo(NodeWriter &writer) const
{
    CommandStatement::writeTo(writer);
    writer.writeInt(static_cast<int>(values.size()));
    for (const auto &value : values) {
        writer.writeExpression(value.get());
    }
}

void SendLevelStatement::readFrom(NodeReader &reader)
{
    CommandStatement::readFrom(reader);
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<Expression> value = reader.readExpression()) {
            values.push_back(std::move(value));
        }
    }
}

void OnOffStatement::writeTo(NodeWriter &writer) const
{
    writer.writeInt(action);
    writer.writeExpression(channels.get());
}

void OnOffStatement::readFrom(NodeReader &reader)
{
    action = reader.readInt();
    channels = nodeAs<ButtonExpression>(reader.readExpression());
}

void CreateLevelStatement::writeTo(NodeWriter &writer) const
{
    CommandStatement::writeTo(writer);
    writer.writeExpression(levelCode.get());
    writer.writeText(variable);
}

void CreateLevelStatement::readFrom(NodeReader &reader)
{
    CommandStatement::readFrom(reader);
    levelCode = reader.readExpression();
    variable = reader.readText();
    if (ProgramContext *program = ProgramContext::current()) {
        program->noteBound(Name(variable));
    }
}

void BufferStatement::writeTo(NodeWriter &writer) const
{
    CommandStatement::writeTo(writer);
    writer.writeText(buffer);
}

void BufferStatement::readFrom(NodeReader &reader)
{
    CommandStatement::readFrom(reader);
    buffer = normalisedName(reader.readText());
}

std::unique_ptr<Statement> makeStatement(int tag)
{
    switch (tag) {
    case 100:
        return std::make_unique<SendStringStatement>();
    case 101:
        return std::make_unique<AssignStatement>();
    case 102:
        return std::make_unique<CompoundStatement>();
    case 103:
        return std::make_unique<BlockItemDefStatement>();
    case 104:
        return std::make_unique<WaitStatement>();
    case 105:
        return std::make_unique<IfStatement>();
    case 106:
        return std::make_unique<WhileStatement>();
    case 107:
        return std::make_unique<FuncCallStatement>();
    case 108:
        return std::make_unique<SendCommandStatement>();
    case 109:
        return std::make_unique<SendLevelStatement>();
    case 110:
        return std::make_unique<OnOffStatement>();
    case 111:
        return std::make_unique<CancelWaitStatement>();
    case 112:
        return std::make_unique<ForStatement>();
    case 113:
        return std::make_unique<StatementList>();
    case 114:
        return std::make_unique<IncStatement>();
    case 115:
        return std::make_unique<DecStatement>();
    case 116:
        return std::make_unique<ReturnStatement>();
    case 117:
        return std::make_unique<BreakStatement>();
    case 118:
        return std::make_unique<CallRoutineStatement>();
    case 119:
        return std::make_unique<SelectStatement>();
    case 120:
        return std::make_unique<CreateLevelStatement>();
    case 121:
        return std::make_unique<SwitchStatement>();
    case 122:
        return std::make_unique<ContinueStatement>();
    case 123:
        return std::make_unique<CreateBufferStatement>();
    case 124:
        return std::make_unique<CancelAllWaitStatement>();
    case 125:
        return std::make_unique<ClearBufferStatement>();
    default:
        return nullptr;
    }
}
