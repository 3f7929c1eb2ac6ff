#pragma once
#include "interp/nodes/Expressions.h"

/// The statement classes of the object file. Tags, fields and their order: docs/formats/object-file.md.

class StatementList : public Tagged<113, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.statements); }
    void wasRead(ProgramContext &program); // a definition after another statement is dropped, with a message
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::vector<std::unique_ptr<Statement>> statements;
};

class CompoundStatement : public Tagged<102, Statement> // a block
{
public:
    static void fields(auto &node, auto &visit) { visit(node.body); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<StatementList> body;
};

class BlockItemDefStatement : public Tagged<103, Statement> // variables of a block
{
public:
    static void fields(auto &node, auto &visit) { visit(node.items); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    struct Item
    {
        std::vector<int> codes; // storage classes, placements and types
        std::unique_ptr<Expression> declarator;

        static void fields(auto &item, auto &visit) { visit(item.codes, item.declarator); }
    };
    std::vector<Item> items;
};

class AssignStatement : public Tagged<101, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.target, node.value); }
    void wasRead(ProgramContext &program);
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> target; // a variable, an element, a member or a channel
    std::unique_ptr<Expression> value;
};

/// x++ and x-- as statements; elements and members can be stepped too.
class StepStatement : public Statement
{
public:
    static void fields(auto &node, auto &visit) { visit(node.operand); }
    void wasRead(ProgramContext &program);

    std::unique_ptr<Expression> operand;
};

class IncStatement : public Tagged<114, StepStatement>
{
public:
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class DecStatement : public Tagged<115, StepStatement>
{
public:
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class IfStatement : public Tagged<105, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.condition, node.thenBranch, node.elseBranch); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> condition;
    std::unique_ptr<Statement> thenBranch;
    std::unique_ptr<Statement> elseBranch;
};

class WhileStatement : public Tagged<106, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.condition, node.body); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> condition;
    std::unique_ptr<Statement> body;
};

class ForStatement : public Tagged<112, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.body, node.initialisation, node.condition, node.step); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Statement> body; // stands first in the file
    std::unique_ptr<StatementList> initialisation;
    std::unique_ptr<Expression> condition;
    std::unique_ptr<StatementList> step;
};

class SwitchStatement : public Tagged<121, Statement>
{
public:
    enum CaseKind : int { TextCase = 0, NumberCase = 1, DefaultCase = 2 };
    struct CaseItem
    {
        int kind = DefaultCase;
        QString text;
        double number = 0;
        std::unique_ptr<StatementList> body;

        static void fields(auto &item, auto &visit) { visit(item.kind, item.text, item.number, item.body); }
    };
    static void fields(auto &node, auto &visit);
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    bool hasCases = true;
    std::vector<CaseItem> cases;
    std::unique_ptr<Expression> value;
};

class SelectStatement : public Tagged<119, Statement>
{
public:
    struct ActiveItem
    {
        std::unique_ptr<Expression> condition;
        std::unique_ptr<Statement> body;

        static void fields(auto &item, auto &visit) { visit(item.condition, item.body); }
    };
    static void fields(auto &node, auto &visit);
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    bool hasBranches = true;
    std::vector<ActiveItem> branches;
};

class BreakStatement : public Tagged<117, Statement>
{
public:
    static void fields(auto &, auto &) {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ContinueStatement : public Tagged<122, Statement>
{
public:
    static void fields(auto &, auto &) {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ReturnStatement : public Tagged<116, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.value); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> value; // may be missing
};

class FuncCallStatement : public Tagged<107, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.call); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<FuncCallExpression> call;
};

class CallRoutineStatement : public Tagged<118, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.call); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<CallExpression> call;
};

const NodeTable<Statement> &statementTable();
