#pragma once
#include "compiler/writing/StatementWriter.h"
#include "events/EventHandlers.h"
#include "program/Function.h"

#include <QStringList>

/// Writes a whole program as source.
class ProgramWriter
{
public:
    explicit ProgramWriter(const AST &program)
        : m_program(program)
        , m_expressions(program)
        , m_statements(program, m_lines)
    {}

    /// \param loaderMessages  what was said while the program was loaded; stands in comments
    QString run(const QStringList &loaderMessages);

private:
    void writeTypes();
    QString declaration(int typeCode, const QString &name, const std::vector<int> &sizes) const;
    void writeGlobals();
    void writeGlobal(const BasicType &value);
    QString initialText(const BasicType &value) const;
    QString referenceText(const DeviceReference &reference) const;
    void writeExclusives();
    void writeCombinations();
    void writeLevels();
    void writeCallables();
    void writeCallable(const QString &words, const QString &name, const FunctionArgList *arguments,
                       const Statement *body);
    QString parameterText(const FunctionArg &argument) const;
    void writePlainBlock(const QString &word, const Statement *block);
    void write(const ButtonEventHandler &handler);
    void write(const DataEventHandler &handler);
    void write(const LevelEventHandler &handler);
    void write(const TimelineEventHandler &handler);
    QStringList triggersText(const std::vector<std::unique_ptr<ButtonExpression>> &buttons) const;
    static QString head(const QString &word, const QStringList &triggers);
    void writeParts(const QString &word, const QStringList &triggers,
                    const std::vector<std::unique_ptr<SubEventHandler>> &parts);
    static QString partHead(const SubEventHandler &part);

    const AST &m_program;
    ExpressionWriter m_expressions;
    SourceLines m_lines;
    StatementWriter m_statements;
};
