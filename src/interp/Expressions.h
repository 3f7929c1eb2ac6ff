#pragma once
#include "model/StructType.h"
#include "program/Nodes.h"

#include <QString>

#include <variant>

/// The expression classes of the object file. Tags, fields and their order: docs/formats/object-file.md.
/// The fields are public: a node is a record; the code that runs is made from it by prepare().

class NumberExpression : public Expression // always yields a number
{};

class BoolExpression : public NumberExpression // the number is 0 or 1
{};

class ConstExpression : public NumberExpression
{
public:
    explicit ConstExpression(double number = 0)
        : value(number)
    {}
    int typeTag() const override { return 400; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    double value;
};

class ShiftExpression : public NumberExpression
{
public:
    enum Direction : int { Left = 0, Right = 1 };
    int typeTag() const override { return 401; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int direction = Right;
    std::unique_ptr<Expression> count; // stands first in the file
    std::unique_ptr<Expression> value;
};

class NotExpression : public BoolExpression
{
public:
    int typeTag() const override { return 402; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

class VarExpression : public Expression
{
public:
    explicit VarExpression(const QString &variable = QString())
        : name(variable)
    {}
    int typeTag() const override { return 403; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    QString name;
};

class ArrayExpression : public Expression // an element; in a declarator, an array with its size
{
public:
    int typeTag() const override { return 404; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> base;
    std::unique_ptr<Expression> index;
};

class StructExpression : public Expression // a member
{
public:
    int typeTag() const override { return 405; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> base;
    QString memberName;
};

class UMinusExpression : public NumberExpression
{
public:
    int typeTag() const override { return 406; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

class CalcExpression : public NumberExpression
{
public:
    /// Operators are character codes: % & * + - / > (shift right, arithmetic) ^ |
    int typeTag() const override { return 407; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int operatorCode = '+';
    std::unique_ptr<Expression> left;
    std::unique_ptr<Expression> right;
};

class StringExpression : public Expression
{
public:
    enum Kind : int { List = 1, Text = 2, Empty = 3 };
    int typeTag() const override { return 408; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    QString text;
    std::unique_ptr<ExpressionList> list; // in place of the text when present
};

/// x++, ++x, x-- and --x. Only plain variables can be stepped.
class StepExpression : public NumberExpression
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    bool isPrefix = true;
    std::unique_ptr<VarExpression> operand;
};

class DecExpression : public StepExpression
{
public:
    int typeTag() const override { return 409; }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class IncExpression : public StepExpression
{
public:
    int typeTag() const override { return 410; }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class NumberBoolExpression : public BoolExpression
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
    int typeTag() const override { return 411; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    int operatorCode = Equal;
    std::unique_ptr<Expression> left;
    std::unique_ptr<Expression> right;
};

/// The record that a function call and a routine call share.
class CallBase : public Expression
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    QString functionName;
    std::unique_ptr<ExpressionList> arguments; // may be missing altogether
};

class FuncCallExpression : public CallBase
{
public:
    int typeTag() const override { return 412; }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class ButtonExpression : public BoolExpression // the state of a channel; also names channels in statements and handlers
{
public:
    int typeTag() const override { return 413; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    enum ItemKind : int { ExpressionItem = 1, DeviceItem = 2, OtherItem = 3, EmptyItem = 4 };
    using Item = std::variant<std::monostate, std::unique_ptr<Expression>, std::unique_ptr<Device>>;
    std::vector<Item> items; // one: channels with their devices; two: devices, then channels
};

class CallExpression : public CallBase // names a routine for CALL; as a value it is 0
{
public:
    int typeTag() const override { return 416; }
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;
};

class DeviceExpr : public Expression
{
public:
    enum Kind : int { Constant = 1, Variable = 2, Element = 3, Member = 4, Parts = 5, None = 6 };
    int typeTag() const override { return 417; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Device> device;        // kind 1
    std::unique_ptr<Expression> variable;  // kinds 2 to 4: a VarExpression, ArrayExpression or StructExpression
    std::unique_ptr<ExpressionList> parts; // kind 5: number, port, system
};

class BNotExpression : public NumberExpression
{
public:
    int typeTag() const override { return 418; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Code> prepare(Preparer &preparer, Context context) const override;

    std::unique_ptr<Expression> operand;
};

std::unique_ptr<Expression> makeExpression(int tag); // nullptr: a tag without a class
