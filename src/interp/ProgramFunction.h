#pragma once
#include "interp/nodes/Statements.h"
#include "program/Function.h"

class NodeReader;
class NodeWriter;
class FunctionCode; // the prepared parameters and body

/// A function of the program: parameters by value, a body, perhaps a result.
class ProgramFunction : public Function
{
public:
    explicit ProgramFunction(const QString &name);
    ~ProgramFunction() override;

    bool isBuiltin() const override { return false; }
    void writeTo(NodeWriter &writer) const;
    static std::unique_ptr<ProgramFunction> read(NodeReader &reader);

    std::unique_ptr<FunctionArgList> arguments; // may be missing
    std::unique_ptr<CompoundStatement> body;    // may be missing
    std::unique_ptr<FunctionCode> code;         // made after the load
};

/// A call routine of the program.
class ProgramRoutine : public CallRoutine
{
public:
    explicit ProgramRoutine(const QString &name);
    ~ProgramRoutine() override;

    void writeTo(NodeWriter &writer) const;
    static std::unique_ptr<ProgramRoutine> read(NodeReader &reader);

    std::unique_ptr<FunctionArgList> arguments;
    std::unique_ptr<CompoundStatement> body;
    std::unique_ptr<FunctionCode> code;
};
