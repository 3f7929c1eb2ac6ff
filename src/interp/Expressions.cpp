#include "interp/Expressions.h"

#include "model/ProgramContext.h"
#include "model/Values.h"

// The records of the expression classes. What they compute is in the *Code.cpp files.

void ConstExpression::writeTo(NodeWriter &writer) const
{
    writer.writeDouble(value);
}

void ConstExpression::readFrom(NodeReader &reader)
{
    value = reader.readDouble();
}

void ShiftExpression::writeTo(NodeWriter &writer) const
{
    writer.writeInt(direction);
    writer.writeExpression(count.get());
    writer.writeExpression(value.get());
}

void ShiftExpression::readFrom(NodeReader &reader)
{
    direction = reader.readInt();
    count = reader.readExpression();
    value = reader.readExpression();
}

void NotExpression::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(operand.get());
}

void NotExpression::readFrom(NodeReader &reader)
{
    operand = reader.readExpression();
}

void VarExpression::writeTo(NodeWriter &writer) const
{
    writer.writeText(name);
}

void VarExpression::readFrom(NodeReader &reader)
{
    name = reader.readText();
}

void ArrayExpression::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(base.get());
    writer.writeExpression(index.get());
}

void ArrayExpression::readFrom(NodeReader &reader)
{
    base = reader.readExpression();
    index = reader.readExpression();
}

void StructExpression::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(base.get());
    writer.writeText(memberName);
}

void StructExpression::readFrom(NodeReader &reader)
{
    base = reader.readExpression();
    memberName = reader.readText();
}

void UMinusExpression::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(operand.get());
}

void UMinusExpression::readFrom(NodeReader &reader)
{
    operand = reader.readExpression();
}

void CalcExpression::writeTo(NodeWriter &writer) const
{
    writer.writeInt(operatorCode);
    writer.writeExpression(left.get());
    writer.writeExpression(right.get());
}

void CalcExpression::readFrom(NodeReader &reader)
{
    operatorCode = reader.readInt();
    left = reader.readExpression();
    right = reader.readExpression();
}

void StringExpression::writeTo(NodeWriter &writer) const
{
    if (list) {
        writer.writeInt(List);
        list->writeTo(writer);
    } else if (!text.isEmpty()) {
        writer.writeInt(Text);
        writer.writeText(text);
    } else {
        writer.writeInt(Empty);
    }
}

void StringExpression::readFrom(NodeReader &reader)
{
    switch (reader.readInt()) {
    case List:
        list = std::make_unique<ExpressionList>();
        list->readFrom(reader);
        break;
    case Text:
        text = reader.readText();
        break;
    default:
        break;
    }
}

void StepExpression::writeTo(NodeWriter &writer) const
{
    writer.writeBool(isPrefix);
    writer.writeExpression(operand.get());
}

void StepExpression::readFrom(NodeReader &reader)
{
    isPrefix = reader.readBool();
    operand = nodeAs<VarExpression>(reader.readExpression());
    if (ProgramContext *program = ProgramContext::current(); program && operand) {
        program->noteChanged(Name(operand->name));
    }
}

void NumberBoolExpression::writeTo(NodeWriter &writer) const
{
    writer.writeInt(operatorCode);
    writer.writeExpression(left.get());
    writer.writeExpression(right.get());
}

void NumberBoolExpression::readFrom(NodeReader &reader)
{
    operatorCode = reader.readInt();
    left = reader.readExpression();
    right = reader.readExpression();
}

void CallBase::writeTo(NodeWriter &writer) const
{
    writer.writeText(functionName);
    writer.writeBool(arguments != nullptr);
    if (arguments) {
        arguments->writeTo(writer);
    }
}

void CallBase::readFrom(NodeReader &reader)
{
    functionName = reader.readText();
    if (reader.readBool()) {
        arguments = std::make_unique<ExpressionList>();
        arguments->readFrom(reader);
        for (const auto &argument : arguments->items) { // some built-ins change what they are given
            const auto *variable = dynamic_cast<const VarExpression *>(argument.get());
            if (ProgramContext *program = ProgramContext::current(); program && variable) {
                program->noteChanged(Name(variable->name));
            }
        }
    }
}

void ButtonExpression::writeTo(NodeWriter &writer) const
{
    writer.writeInt(static_cast<int>(items.size()));
    for (const Item &item : items) {
        if (const auto *expression = std::get_if<std::unique_ptr<Expression>>(&item)) {
            writer.writeInt(ExpressionItem);
            writer.writeExpression(expression->get());
        } else if (const auto *device = std::get_if<std::unique_ptr<Device>>(&item)) {
            writer.writeInt(DeviceItem);
            writeValue(writer, device->get());
        } else {
            writer.writeInt(EmptyItem);
        }
    }
}

void ButtonExpression::readFrom(NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        switch (reader.readInt()) {
        case ExpressionItem:
            items.emplace_back(reader.readExpression());
            break;
        case DeviceItem: {
            std::unique_ptr<BasicType> value = readValue(reader);
            if (asDevice(value.get())) {
                items.emplace_back(std::unique_ptr<Device>(static_cast<Device *>(value.release())));
            } else {
                items.emplace_back();
            }
            break;
        }
        case OtherItem:
            break; // skipped
        default:
            items.emplace_back();
            break;
        }
    }
}

void DeviceExpr::writeTo(NodeWriter &writer) const
{
    if (device) {
        writer.writeInt(Constant);
        writeValue(writer, device.get());
    } else if (variable) {
        const int tag = variable->typeTag();
        writer.writeInt(tag == 403 ? Variable : tag == 404 ? Element : Member);
        writer.writeExpression(variable.get());
    } else if (parts) {
        writer.writeInt(Parts);
        parts->writeTo(writer);
    } else {
        writer.writeInt(None);
    }
}

void DeviceExpr::readFrom(NodeReader &reader)
{
    switch (reader.readInt()) {
    case Constant: {
        std::unique_ptr<BasicType> value = readValue(reader);
        if (asDevice(value.get())) {
            device.reset(static_cast<Device *>(value.release()));
        }
        break;
    }
    case Variable:
        variable = nodeAs<VarExpression>(reader.readExpression());
        break;
    case Element:
        variable = nodeAs<ArrayExpression>(reader.readExpression());
        break;
    case Member:
        variable = nodeAs<StructExpression>(reader.readExpression());
        break;
    case Parts:
        parts = std::make_unique<ExpressionList>();
        parts->readFrom(reader);
        break;
    default:
        break;
    }
}

void BNotExpression::writeTo(NodeWriter &writer) const
{
    writer.writeExpression(operand.get());
}

void BNotExpression::readFrom(NodeReader &reader)
{
    operand = reader.readExpression();
}

std::unique_ptr<Expression> makeExpression(int tag)
{
    switch (tag) {
    case 400:
        return std::make_unique<ConstExpression>();
    case 401:
        return std::make_unique<ShiftExpression>();
    case 402:
        return std::make_unique<NotExpression>();
    case 403:
        return std::make_unique<VarExpression>();
    case 404:
        return std::make_unique<ArrayExpression>();
    case 405:
        return std::make_unique<StructExpression>();
    case 406:
        return std::make_unique<UMinusExpression>();
    case 407:
        return std::make_unique<CalcExpression>();
    case 408:
        return std::make_unique<StringExpression>();
    case 409:
        return std::make_unique<DecExpression>();
    case 410:
        return std::make_unique<IncExpression>();
    case 411:
        return std::make_unique<NumberBoolExpression>();
    case 412:
        return std::make_unique<FuncCallExpression>();
    case 413:
        return std::make_unique<ButtonExpression>();
    case 416:
        return std::make_unique<CallExpression>();
    case 417:
        return std::make_unique<DeviceExpr>();
    case 418:
        return std::make_unique<BNotExpression>();
    default:
        return nullptr;
    }
}
