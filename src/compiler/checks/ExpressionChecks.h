#pragma once
#include "compiler/parsing/ExpressionParser.h"

/// Warns of expressions that are allowed and hardly meant.
class ExpressionChecks
{
public:
    explicit ExpressionChecks(Workspace &workspace)
        : m_work(workspace)
    {}

    /// What an expression does besides giving a value, in the order in which it is read. The right side of AND and OR
    /// has the marks since it began.
    struct Mark
    {
        enum class Kind { Variable, Call, BuiltinCall, State, Division };
        Kind kind = Kind::Variable;
        QString name{}; // of the variable (of a division: the divisor's) or the function
        SourcePosition position{};
    };
    size_t marks() const { return m_marks.size(); }
    void mark(Mark::Kind kind, const QString &name, SourcePosition position)
    {
        m_marks.push_back({ kind, name, position });
    }
    void startStatement() { m_marks.clear(); }

    /// Before two operands become one. leftMarks, rightMarks: where the marks of each begin.
    void combining(const Token &sign, const Operand &left, const Operand &right, size_t leftMarks, size_t rightMarks);
    void assigning(const Operand &target, const Operand &value);
    void element(const Operand &array, const Operand &index);
    void text(const Token &token);

    /// Calls of the program's functions right of AND and OR: told when it is known which functions have effects.
    struct GuardedCall
    {
        Mark call;
        QString sign;
    };
    const std::vector<GuardedCall> &guardedCalls() const { return m_guardedCalls; }

private:
    void report(Fault code, SourcePosition position, const QStringList &arguments = {})
    {
        m_work.sources.report(code, position, arguments);
    }
    void logical(const Token &sign, const Operand &left, const Operand &right, size_t leftMarks, size_t rightMarks);
    void comparison(const Token &sign, const Operand &left, const Operand &right);
    void sum(const Operand &left, const Operand &right);

    Workspace &m_work;
    std::vector<Mark> m_marks;
    std::vector<GuardedCall> m_guardedCalls;
};
