#pragma once
#include "compiler/writing/ExpressionWriter.h"
#include "interp/nodes/StatementTypes.h"

#include <QStringList>

/// Lines of source with their indentation.
class SourceLines
{
public:
    void add(const QString &line) { m_lines += QString(m_depth * 4, QLatin1Char(' ')) + line; }
    void addBlank();
    void open() { ++m_depth; }
    void close() { --m_depth; }
    QString text() const { return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

private:
    QStringList m_lines;
    int m_depth = 0;
};

/// Writes statements and blocks.
class StatementWriter
{
public:
    StatementWriter(const AST &program, SourceLines &lines)
        : m_program(program)
        , m_expressions(program)
        , m_lines(lines)
    {}

    /// head and a body in braces: a block's statements, or one statement.
    void writeBlock(const QString &head, const Statement *body);
    void writeList(const QString &head, const StatementList *list);

    /// "char[3]" without the sizes: the word for a type code; empty for an unknown one.
    QString typeWord(int code) const;

private:
    void write(const Statement *statement);
    void write(const AssignStatement &statement) { m_lines.add(simpleText(statement)); }
    void write(const StepStatement &statement) { m_lines.add(simpleText(statement)); }
    void write(const FuncCallStatement &statement) { m_lines.add(simpleText(statement)); }
    void write(const StatementList &statement);
    void write(const CompoundStatement &statement);
    void write(const BlockItemDefStatement &statement);
    void write(const IfStatement &statement);
    void write(const WhileStatement &statement);
    void write(const ForStatement &statement);
    void write(const SwitchStatement &statement);
    void write(const SelectStatement &statement);
    void write(const BreakStatement &statement);
    void write(const ContinueStatement &statement);
    void write(const ReturnStatement &statement);
    void write(const CallRoutineStatement &statement);
    void write(const WaitStatement &statement);
    void write(const CancelWaitStatement &statement);
    void write(const CancelAllWaitStatement &statement);
    void write(const OnOffStatement &statement);
    void write(const SendStringStatement &statement);
    void write(const SendCommandStatement &statement);
    void write(const SendLevelStatement &statement);
    void write(const CreateLevelStatement &statement);
    void write(const CreateBufferStatement &statement);
    void write(const ClearBufferStatement &statement);
    void writeStatements(const StatementList &list);
    void writeNested(const QString &head, const Statement *body);
    QString codesText(const std::vector<int> &codes) const;
    QString declaratorText(const Expression *declarator) const;
    QString stepListText(const StatementList *list) const;
    QString simpleText(const Statement *statement) const;
    QString simpleText(const AssignStatement &statement) const;
    QString simpleText(const StepStatement &statement) const;
    QString simpleText(const FuncCallStatement &statement) const;

    const AST &m_program;
    ExpressionWriter m_expressions;
    SourceLines &m_lines;
};
