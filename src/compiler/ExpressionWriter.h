#pragma once
#include "interp/Expressions.h"

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
    QString text(const Expression *node, int leastBinding) const;
    QString operatorText(const Expression *node, int &binding) const; // empty: no operator
    QString simpleText(const Expression *node) const;
    QString numericText(const Expression *node, int &binding) const;
    QString binary(const Expression *left, const QString &sign, const Expression *right, int binding) const;
    QString comparison(const NumberBoolExpression &node, int &binding) const;
    QString calculation(const CalcExpression &node, int &binding) const;
    QString unaryMinus(const UMinusExpression &node) const;
    QString stringText(const StringExpression &node) const;
    QString callText(const CallBase &node) const;
    QString baseText(const Expression *base) const;
    QString structText(const StructType &value) const;

    const AST &m_program;
};
