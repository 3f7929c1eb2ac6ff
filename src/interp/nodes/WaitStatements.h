#pragma once
#include "interp/nodes/Expressions.h"

class WaitStatement : public Tagged<104, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.name, node.captured, node.body, node.time); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    QString name;
    std::vector<QString> captured; // globals that the body sees as they are when the wait is issued
    std::unique_ptr<Statement> body;
    std::unique_ptr<Expression> time; // tenths of a second
};

class CancelWaitStatement : public Tagged<111, Statement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.name); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    QString name; // compared as it stands
};

class CancelAllWaitStatement : public Tagged<124, Statement>
{
public:
    static void fields(auto &, auto &) {}
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};
