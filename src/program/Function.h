#pragma once
#include "program/Nodes.h"

#include <QString>

#include <optional>
#include <vector>

/// The declared type of a function's result; sizes are those of an array result.
struct ReturnType
{
    int typeCode = 10;
    std::vector<int> sizes;

    static void fields(auto &type, auto &visit) { visit(type.typeCode, type.sizes); }
};

/// Anything that a call expression can call: a function of the program or a built-in.
class Function
{
public:
    explicit Function(const QString &name)
        : m_name(name)
    {}
    virtual ~Function() = default;
    Function(const Function &) = delete;
    Function &operator=(const Function &) = delete;

    const QString &name() const { return m_name; } // as read or registered
    const std::vector<QString> &aliases() const { return m_aliases; }
    const std::optional<ReturnType> &returnType() const { return m_returnType; }
    virtual bool isBuiltin() const = 0;

    void addAlias(const QString &alias); // a known one is not added again
    void setReturnType(const ReturnType &type) { m_returnType = type; }

private:
    QString m_name;
    std::vector<QString> m_aliases;
    std::optional<ReturnType> m_returnType;
};

/// One parameter: its type and its declarator, a VarExpression or (for an array) an ArrayExpression.
struct FunctionArg
{
    int typeCode = 10;
    std::unique_ptr<Expression> declaration;

    static void fields(auto &argument, auto &visit) { visit(argument.typeCode, argument.declaration); }
};
using FunctionArgList = std::vector<FunctionArg>;

/// A routine for CALL: like a function, without a result.
class CallRoutine
{
public:
    explicit CallRoutine(const QString &name)
        : m_name(name)
    {}
    virtual ~CallRoutine() = default;
    CallRoutine(const CallRoutine &) = delete;
    CallRoutine &operator=(const CallRoutine &) = delete;

    const QString &name() const { return m_name; }

private:
    QString m_name;
};
