#pragma once
#include "model/StructType.h"
#include "program/NodeTypes.h"

#include <QString>

#include <variant>

/// The expression classes of the object file. Tags, fields and their order: docs/formats/object-file.md.
/// The fields are public: a node is a record; the code that runs is made from it by prepare().

class NumberExpression : public Expression // always yields a number
{};

class BoolExpression : public NumberExpression // the number is 0 or 1
{};

class ConstExpression : public Tagged<400, NumberExpression>
{
public:
    explicit ConstExpression(double number = 0)
        : value(number)
    {}
    static void fields(auto &node, auto &visit) { visit(node.value); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    double value;
};

class ShiftExpression : public Tagged<401, NumberExpression>
{
public:
    enum Direction : int { Left = 0, Right = 1 };
    static void fields(auto &node, auto &visit) { visit(node.direction, node.count, node.value); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int direction = Right;
    std::unique_ptr<Expression> count; // stands first in the file
    std::unique_ptr<Expression> value;
};

class NotExpression : public Tagged<402, BoolExpression>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.operand); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

class VarExpression : public Tagged<403, Expression>
{
public:
    explicit VarExpression(const QString &variable = QString())
        : name(variable)
    {}
    static void fields(auto &node, auto &visit) { visit(node.name); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    QString name;
};

class ArrayExpression : public Tagged<404, Expression> // an element; in a declarator, an array with its size
{
public:
    static void fields(auto &node, auto &visit) { visit(node.base, node.index); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> base;
    std::unique_ptr<Expression> index;
};

class StructExpression : public Tagged<405, Expression> // a member
{
public:
    static void fields(auto &node, auto &visit) { visit(node.base, node.memberName); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> base;
    QString memberName;
};

class UMinusExpression : public Tagged<406, NumberExpression>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.operand); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

class CalcExpression : public Tagged<407, NumberExpression>
{
public:
    /// Operators are character codes: % & * + - / > (shift right, arithmetic) ^ |
    static void fields(auto &node, auto &visit) { visit(node.operatorCode, node.left, node.right); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int operatorCode = '+';
    std::unique_ptr<Expression> left;
    std::unique_ptr<Expression> right;
};

class StringExpression : public Tagged<408, Expression>
{
public:
    enum Kind : int { List = 1, Text = 2, Empty = 3 };
    Kind kind() const { return list ? List : text.isEmpty() ? Empty : Text; }
    static void fields(auto &node, auto &visit);
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    QString text;
    std::unique_ptr<ExpressionList> list; // in place of the text when present
};

/// x++, ++x, x-- and --x. Only plain variables can be stepped.
class StepExpression : public NumberExpression
{
public:
    static void fields(auto &node, auto &visit) { visit(node.isPrefix, node.operand); }
    void wasRead(ProgramContext &program);

    bool isPrefix = true;
    std::unique_ptr<VarExpression> operand;
};

class DecExpression : public Tagged<409, StepExpression>
{
public:
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class IncExpression : public Tagged<410, StepExpression>
{
public:
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class NumberBoolExpression : public Tagged<411, BoolExpression>
{
public:
    enum Operator : int {
        LessEqual = 0,
        Equality = 1, // in a condition; elsewhere: whether right is not zero
        GreaterEqual = 2,
        Less = 3,
        Greater = 4,
        NotEqual = 5,
        Equal = 6,
        And = 7,
        Or = 8,
        Truth = 9, // of left alone
        Xor = 10,
    };
    static void fields(auto &node, auto &visit) { visit(node.operatorCode, node.left, node.right); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int operatorCode = Equal;
    std::unique_ptr<Expression> left;
    std::unique_ptr<Expression> right;
};

/// The record that a function call and a routine call share.
class CallBase : public Expression
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit(node.functionName);
        visit.optional(node.arguments);
    }
    void wasRead(ProgramContext &program);

    QString functionName;
    std::unique_ptr<ExpressionList> arguments; // may be missing altogether
};

class FuncCallExpression : public Tagged<412, CallBase>
{
public:
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class ButtonExpression
    : public Tagged<413, BoolExpression> // the state of a channel; also names channels in statements and handlers
{
public:
    static void fields(auto &node, auto &visit);
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    enum ItemKind : int { ExpressionItem = 1, DeviceItem = 2, OtherItem = 3, EmptyItem = 4 };
    using Item = std::variant<std::monostate, std::unique_ptr<Expression>, std::unique_ptr<Device>>;
    std::vector<Item> items; // one: channels with their devices; two: devices, then channels
};

class CallExpression : public Tagged<416, CallBase> // names a routine for CALL; as a value it is 0
{
public:
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class DeviceExpr : public Tagged<417, Expression>
{
public:
    enum Kind : int { Constant = 1, Variable = 2, Element = 3, Member = 4, Parts = 5, None = 6 };
    Kind kind() const;
    static void fields(auto &node, auto &visit);
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Device> device;        // kind 1
    std::unique_ptr<Expression> variable;  // kinds 2 to 4: a VarExpression, ArrayExpression or StructExpression
    std::unique_ptr<ExpressionList> parts; // kind 5: number, port, system
};

class BNotExpression : public Tagged<418, NumberExpression>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.operand); }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

using ExpressionTypes =
    NodeTypes<Expression, ConstExpression, ShiftExpression, NotExpression, VarExpression, ArrayExpression,
              StructExpression, UMinusExpression, CalcExpression, StringExpression, DecExpression, IncExpression,
              NumberBoolExpression, FuncCallExpression, ButtonExpression, CallExpression, DeviceExpr, BNotExpression>;
const NodeTable<Expression> &expressionTable();
