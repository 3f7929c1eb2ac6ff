#pragma once
#include "compiler/ExpressionWriter.h"
#include "interp/DeviceStatements.h"
#include "interp/Statements.h"
#include "interp/WaitStatements.h"

#include <QStringList>

/// Lines of source with their indentation.
class SourceLines
{
public:
    void add(const QString &line) { m_lines += QString(m_depth * 4, QLatin1Char(' ')) + line; }
    void addBlank();
    void appendToLast(const QString &text) { m_lines.last() += text; }
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
    bool writeControl(const Statement *statement); // false: not of that kind
    bool writeDeviceStatement(const Statement *statement);
    bool writeWaits(const Statement *statement);
    void writeStatements(const StatementList &list);
    void writeNested(const QString &head, const Statement *body);
    void writeIf(const IfStatement &statement);
    void writeFor(const ForStatement &statement);
    void writeSwitch(const SwitchStatement &statement);
    void writeSelect(const SelectStatement &statement);
    void writeDefinition(const BlockItemDefStatement &statement);
    QString codesText(const std::vector<int> &codes) const;
    QString declaratorText(const Expression *declarator) const;
    QString stepListText(const StatementList *list) const;
    QString simpleText(const Statement *statement) const; // empty: not a simple statement
    QString switchingText(const OnOffStatement &statement) const;

    const AST &m_program;
    ExpressionWriter m_expressions;
    SourceLines &m_lines;
};
