#include "interp/ProgramFunction.h"

#include "interp/code/FunctionCode.h"
#include "program/NodeStream.h"

ProgramFunction::ProgramFunction(const QString &name)
    : Function(name)
{}

ProgramFunction::~ProgramFunction() = default;

void ProgramFunction::writeTo(NodeWriter &writer) const
{
    writer(name(), aliases());
    writer.optional(arguments);
    writer.optional(body);
    writer(returnType().has_value());
    if (returnType()) {
        writer(*returnType());
    }
}

std::unique_ptr<ProgramFunction> ProgramFunction::read(NodeReader &reader)
{
    auto function = std::make_unique<ProgramFunction>(reader.readText());
    std::vector<QString> aliases;
    reader(aliases);
    for (const QString &alias : aliases) {
        function->addAlias(alias);
    }
    reader.optional(function->arguments);
    reader.optional(function->body);
    if (reader.readBool()) {
        ReturnType type;
        reader(type);
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
    writer(name());
    writer.optional(arguments);
    writer.optional(body);
}

std::unique_ptr<ProgramRoutine> ProgramRoutine::read(NodeReader &reader)
{
    auto routine = std::make_unique<ProgramRoutine>(reader.readText());
    reader.optional(routine->arguments);
    reader.optional(routine->body);
    return routine;
}
