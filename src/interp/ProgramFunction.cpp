#include "interp/ProgramFunction.h"

#include "interp/FunctionCode.h"

namespace {
void writeArguments(NodeWriter &writer, const std::unique_ptr<FunctionArgList> &arguments)
{
    writer.writeBool(arguments != nullptr);
    if (!arguments) {
        return;
    }
    writer.writeInt(static_cast<int>(arguments->size()));
    for (const FunctionArg &argument : *arguments) {
        writer.writeInt(argument.typeCode);
        writer.writeExpression(argument.declaration.get());
    }
}

std::unique_ptr<FunctionArgList> readArguments(NodeReader &reader)
{
    if (!reader.readBool()) {
        return nullptr;
    }
    auto arguments = std::make_unique<FunctionArgList>();
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        FunctionArg argument;
        argument.typeCode = reader.readInt();
        argument.declaration = reader.readExpression();
        arguments->push_back(std::move(argument));
    }
    return arguments;
}

void writeBody(NodeWriter &writer, const std::unique_ptr<CompoundStatement> &body)
{
    writer.writeBool(body != nullptr);
    if (body) {
        body->writeTo(writer);
    }
}

std::unique_ptr<CompoundStatement> readBody(NodeReader &reader)
{
    if (!reader.readBool()) {
        return nullptr;
    }
    auto body = std::make_unique<CompoundStatement>();
    body->readFrom(reader);
    return body;
}
} // namespace

ProgramFunction::ProgramFunction(const QString &name)
    : Function(name)
{}

ProgramFunction::~ProgramFunction() = default;

void ProgramFunction::writeTo(NodeWriter &writer) const
{
    writer.writeText(name());
    writer.writeInt(static_cast<int>(aliases().size()));
    for (const QString &alias : aliases()) {
        writer.writeText(alias);
    }
    writeArguments(writer, arguments);
    writeBody(writer, body);
    writer.writeBool(returnType().has_value());
    if (returnType()) {
        writer.writeInt(returnType()->typeCode);
        writer.writeInt(static_cast<int>(returnType()->sizes.size()));
        for (const int size : returnType()->sizes) {
            writer.writeInt(size);
        }
    }
}

std::unique_ptr<ProgramFunction> ProgramFunction::read(NodeReader &reader)
{
    auto function = std::make_unique<ProgramFunction>(reader.readText());
    const int aliasCount = reader.readInt();
    for (int i = 0; i < aliasCount && reader.isGood(); ++i) {
        function->addAlias(reader.readText());
    }
    function->arguments = readArguments(reader);
    function->body = readBody(reader);
    if (reader.readBool()) {
        ReturnType type;
        type.typeCode = reader.readInt();
        const int sizeCount = reader.readInt();
        for (int i = 0; i < sizeCount && reader.isGood(); ++i) {
            type.sizes.push_back(reader.readInt());
        }
        function->setReturnType(type);
    }
    return function;
}

ProgramRoutine::ProgramRoutine(const QString &name)
    : CallRoutine(name)
{}

ProgramRoutine::~ProgramRoutine() = default;

void ProgramRoutine::writeTo(NodeWriter &writer) const
{
    writer.writeText(name());
    writeArguments(writer, arguments);
    writeBody(writer, body);
}

std::unique_ptr<ProgramRoutine> ProgramRoutine::read(NodeReader &reader)
{
    auto routine = std::make_unique<ProgramRoutine>(reader.readText());
    routine->arguments = readArguments(reader);
    routine->body = readBody(reader);
    return routine;
}
