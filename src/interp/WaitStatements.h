#pragma once
#include "interp/Expressions.h"

class WaitStatement : public Statement
{
public:
    int typeTag() const override { return 104; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    QString name;
    std::vector<QString> captured; // globals that the body sees as they are when the wait is issued
    std::unique_ptr<Statement> body;
    std::unique_ptr<Expression> time; // tenths of a second
};

class CancelWaitStatement : public Statement
{
public:
    int typeTag() const override { return 111; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    QString name; // compared as it stands
};

class CancelAllWaitStatement : public Statement
{
public:
    int typeTag() const override { return 124; }
    void writeTo(NodeWriter &) const override {}
    void readFrom(NodeReader &) override {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};
