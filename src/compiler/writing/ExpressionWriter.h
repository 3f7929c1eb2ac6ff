#pragma once
#include "interp/nodes/Expressions.h"

#include <QString>

class AST;

/// A comment on what the source form cannot say.
QString remark(const QString &text);

/// A number as the compiler reads it back, to the last bit. Not for what is not finite.
QString numberText(double number);
/// 'text', or a list in double quotes where the text holds what a source line cannot.
QString quoted(const QString &text);
/// Bytes as a text, or as a list of texts and numbers.
QString bytesText(const QByteArray &bytes);

/// Writes expressions, with as few parentheses as the compiler needs to read the same tree.
class ExpressionWriter
{
public:
    static constexpr int kPostfix = 13; // binds closest, as the parser counts

    explicit ExpressionWriter(const AST &program)
        : m_program(program)
    {}

    QString text(const Expression *node) const { return text(node, 0); }
    QString listText(const ExpressionList &list) const;
    QString buttonText(const ButtonExpression &button) const;
    QString deviceText(const DeviceExpr *device) const; // as the device of a statement
    /// A value as an initial value is written; devices by the name of a constant, where there is one.
    QString valueText(const BasicType &value) const;
    QString addressText(const DeviceAddress &address) const;
    QString nameText(const QString &name) const; // of a variable; also the list behind a hidden one

private:
    struct Written
    {
        QString text;
        int binding = kPostfix;
    };
    Written write(const ConstExpression &node) const;
    Written write(const ShiftExpression &node) const;
    Written write(const NotExpression &node) const;
    Written write(const BNotExpression &node) const;
    Written write(const UMinusExpression &node) const;
    Written write(const CalcExpression &node) const;
    Written write(const NumberBoolExpression &node) const;
    Written write(const StepExpression &node) const;
    Written write(const VarExpression &node) const;
    Written write(const ArrayExpression &node) const;
    Written write(const StructExpression &node) const;
    Written write(const StringExpression &node) const;
    Written write(const FuncCallExpression &node) const;
    Written write(const CallExpression &node) const;
    Written write(const ButtonExpression &node) const;
    Written write(const DeviceExpr &node) const;
    QString text(const Expression *node, int leastBinding) const;
    Written binary(const Expression *left, const QString &sign, const Expression *right, int binding) const;
    QString baseText(const Expression *base) const;
    QString structText(const StructType &value) const;

    const AST &m_program;
};
