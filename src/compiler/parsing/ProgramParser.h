#pragma once
#include "compiler/parsing/StatementParser.h"

/// Reads the parts of a program behind its variables into the program object, in the order of the object file.
class ProgramParser
{
public:
    ProgramParser(Workspace &workspace, Globals &globals, const Outline &outline)
        : m_work(workspace)
        , m_globals(globals)
        , m_outline(outline)
        , m_statements(workspace, globals)
    {}

    void nameCallables(); // before any body is read
    void parse();

private:
    TokenCursor &cursor() { return m_work.cursor; }
    const Token &token(size_t index) const { return m_work.cursor.token(index); }
    void report(Fault code, SourcePosition position, const QString &message)
    {
        m_work.sources.report(code, position, message);
    }
    void reportName(Fault code, const Token &name, const QString &message)
    {
        m_work.sources.reportName(code, name.position, name.text, message);
    }
    AST &program() { return m_work.symbols.program(); }

    CallableSymbol symbolOf(const Outline::Callable &callable);
    bool readParameter(std::vector<Parameter> &parameters);
    std::unique_ptr<FunctionArgList> parseParameters(const Outline::Callable &callable);
    enum class Result { None, Possible };
    std::unique_ptr<CompoundStatement> parseBody(const Outline::Callable &callable, const CallableSymbol &symbol,
                                                 Result result);
    void parseFunction(const Outline::Callable &outline);
    void parseRoutine(const Outline::Callable &outline);
    std::unique_ptr<StatementList> parseOnlyBlock(const std::vector<Outline::Block> &blocks, Places::Kind kind);

    Workspace &m_work;
    Globals &m_globals;
    const Outline &m_outline;
    StatementParser m_statements;
};
