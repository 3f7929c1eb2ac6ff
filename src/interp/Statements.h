#pragma once
#include "interp/Expressions.h"

/// The statement classes of the object file. Tags, fields and their order: docs/formats/object-file.md.

class StatementList : public Statement
{
public:
    int typeTag() const override { return 113; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override; // a definition after another statement is dropped, with a message
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::vector<std::unique_ptr<Statement>> statements;
};

class CompoundStatement : public Statement // a block
{
public:
    int typeTag() const override { return 102; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<StatementList> body;
};

class BlockItemDefStatement : public Statement // variables of a block
{
public:
    int typeTag() const override { return 103; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    struct Item
    {
        std::vector<int> codes; // storage classes, placements and types
        std::unique_ptr<Expression> declarator;
    };
    std::vector<Item> items;
};

class AssignStatement : public Statement
{
public:
    int typeTag() const override { return 101; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> target; // a variable, an element, a member or a channel
    std::unique_ptr<Expression> value;
};

/// x++ and x-- as statements; elements and members can be stepped too.
class StepStatement : public Statement
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::unique_ptr<Expression> operand;
};

class IncStatement : public StepStatement
{
public:
    int typeTag() const override { return 114; }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class DecStatement : public StepStatement
{
public:
    int typeTag() const override { return 115; }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class IfStatement : public Statement
{
public:
    int typeTag() const override { return 105; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> condition;
    std::unique_ptr<Statement> thenBranch;
    std::unique_ptr<Statement> elseBranch;
};

class WhileStatement : public Statement
{
public:
    int typeTag() const override { return 106; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> condition;
    std::unique_ptr<Statement> body;
};

class ForStatement : public Statement
{
public:
    int typeTag() const override { return 112; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Statement> body; // stands first in the file
    std::unique_ptr<StatementList> initialisation;
    std::unique_ptr<Expression> condition;
    std::unique_ptr<StatementList> step;
};

class SwitchStatement : public Statement
{
public:
    enum CaseKind : int { TextCase = 0, NumberCase = 1, DefaultCase = 2 };
    struct CaseItem
    {
        int kind = DefaultCase;
        QString text;
        double number = 0;
        std::unique_ptr<StatementList> body;
    };
    int typeTag() const override { return 121; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    bool hasCases = true;
    std::vector<CaseItem> cases;
    std::unique_ptr<Expression> value;
};

class SelectStatement : public Statement
{
public:
    struct ActiveItem
    {
        std::unique_ptr<Expression> condition;
        std::unique_ptr<Statement> body;
    };
    int typeTag() const override { return 119; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    bool hasBranches = true;
    std::vector<ActiveItem> branches;
};

class BreakStatement : public Statement
{
public:
    int typeTag() const override { return 117; }
    void writeTo(NodeWriter &) const override {}
    void readFrom(NodeReader &) override {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ContinueStatement : public Statement
{
public:
    int typeTag() const override { return 122; }
    void writeTo(NodeWriter &) const override {}
    void readFrom(NodeReader &) override {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ReturnStatement : public Statement
{
public:
    int typeTag() const override { return 116; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> value; // may be missing
};

class FuncCallStatement : public Statement
{
public:
    int typeTag() const override { return 107; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<FuncCallExpression> call;
};

class CallRoutineStatement : public Statement
{
public:
    int typeTag() const override { return 118; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<CallExpression> call;
};

std::unique_ptr<Statement> makeStatement(int tag); // nullptr: a tag without a class
