#pragma once
#include "compiler/parsing/ExpressionParser.h"
#include "compiler/parsing/Globals.h"
#include "interp/ProgramFunction.h"
#include "interp/nodes/DeviceStatements.h"
#include "interp/nodes/WaitStatements.h"

/// Reads statements and blocks. After an error it goes on behind the end of the statement.
class StatementParser : public ExpressionParser
{
public:
    StatementParser(Workspace &workspace, Globals &globals)
        : ExpressionParser(workspace)
        , m_globals(globals)
    {}

    /// What the body stands in; decides what BREAK, CONTINUE and RETURN may do.
    struct Surroundings
    {
        int loops = 0;
        int switches = 0;
        bool hasResult = false; // a function
        bool returned = false;  // a RETURN with a value has been met
    };

    /// The block of a range that begins with its brace, with the locals that are known on entry.
    std::unique_ptr<CompoundStatement> parseBody(TokenRange body, const std::vector<LocalScope::Local> &locals,
                                                 Surroundings &surroundings);
    /// The same for a START or MAINLINE block: its list of statements.
    std::unique_ptr<StatementList> parsePlainBody(TokenRange body);
    /// A block where the cursor stands, in a scope of its own.
    std::unique_ptr<CompoundStatement> parseBlock();

private:
    using Reader = std::unique_ptr<Statement> (StatementParser::*)();
    struct Row
    {
        const char *word;
        bool hasEffect; // on what is outside the function
        Reader read;
    };
    static const Row kRows[];

    // StatementParser.cpp: lists and what ends them
    enum class ListEnd { Brace, BraceOrCase };
    void parseStatements(StatementList &list, ListEnd end);
    bool atListEnd();
    bool atCase();
    std::unique_ptr<Statement> parseStatement();
    std::unique_ptr<Statement> readStatement();
    std::unique_ptr<Statement> parseNested(); // the body of an IF, a loop and so on
    void expectStatementEnd();
    void recover(size_t start);
    bool atDefinition();
    std::unique_ptr<Statement> parseDefinition(StatementList &assignments);
    bool parseDeclarator(BlockItemDefStatement &definition, const std::vector<int> &codes, StatementList &assignments);
    void declareLocal(size_t index, const StaticType &type, int size); // of the name's token
    void closeScope();
    std::unique_ptr<Statement> parseSimple(); // an assignment, a step or a call
    std::unique_ptr<Statement> parseAssignment();
    std::unique_ptr<Statement> finishAssignment(Operand target, size_t start);
    std::unique_ptr<Statement> parseChannelAssignment();
    std::unique_ptr<Statement> makeStep(Operand operand, bool isIncrement);
    void checkTarget(const Operand &target);
    void reportUnknownStatement(const Token &name);
    bool isKnown(const QString &name);
    const Row *meantRow(const Token &word);
    void skipElse();

    // ControlStatements.cpp
    std::unique_ptr<Expression> parseCondition(const char *word);
    void warnIfConstant(const Operand &condition, const char *word);
    std::unique_ptr<Statement> parseIf();
    std::unique_ptr<Statement> parseWhile();
    std::unique_ptr<Statement> parseFor();
    bool parseForHead(ForStatement &loop);
    std::unique_ptr<StatementList> parseForList(TokenKind end);
    std::unique_ptr<Statement> parseSwitch();
    bool parseCase(SwitchStatement &statement);
    std::unique_ptr<StatementList> parseCaseBody();
    std::unique_ptr<Statement> parseSelect();
    bool parseActive(SelectStatement &statement);
    std::unique_ptr<Statement> parseBreak();
    std::unique_ptr<Statement> parseContinue();
    std::unique_ptr<Statement> parseReturn();
    std::unique_ptr<Statement> parseRoutineCall();

    // DeviceStatementParser.cpp
    std::unique_ptr<Statement> parseWait();
    bool parseCaptured(WaitStatement &wait);
    std::unique_ptr<Statement> parseCancelWait();
    std::unique_ptr<Statement> parseCancelAllWait();
    std::unique_ptr<Statement> parseOn();
    std::unique_ptr<Statement> parseOff();
    std::unique_ptr<Statement> parseTo();
    std::unique_ptr<Statement> parsePulse();
    std::unique_ptr<Statement> parseSwitching(OnOffStatement::Action action);
    std::unique_ptr<Statement> parseSendString();
    std::unique_ptr<Statement> parseSendCommand();
    std::unique_ptr<Expression> parsePayload();
    std::unique_ptr<Statement> parseSendLevel();
    std::unique_ptr<Statement> parseCreateLevel();
    std::unique_ptr<Statement> parseCreateBuffer();
    std::unique_ptr<Statement> parseClearBuffer();
    std::unique_ptr<DeviceExpr> parseStatementDevice();
    QString parseBufferName();

    /// Nodes around what is read next.
    class Path
    {
    public:
        Path(Workspace &workspace, int nodes)
            : m_work(workspace)
            , m_nodes(nodes)
        {
            m_work.pathHeight += nodes;
        }
        ~Path() { m_work.pathHeight -= m_nodes; }
        Path(const Path &) = delete;
        Path &operator=(const Path &) = delete;

    private:
        Workspace &m_work;
        const int m_nodes;
    };

    Globals &m_globals;
    Surroundings m_in;
    TokenRange m_definitionHead; // what stands before the names of the variables that are being defined
};
