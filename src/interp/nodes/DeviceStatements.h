#pragma once
#include "interp/nodes/Expressions.h"

/// Statements that act on devices.

class CommandStatement : public Statement // they all begin with a device
{
public:
    std::unique_ptr<DeviceExpr> device;
};

class SendStringStatement : public Tagged<100, CommandStatement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.payload); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> payload;
};

class SendCommandStatement : public Tagged<108, CommandStatement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.payload); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> payload;
};

class SendLevelStatement : public Tagged<109, CommandStatement>
{
public:
    static void fields(auto &node, auto &visit)
    {
        visit(node.device);
        visit.present(node.values);
    }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::vector<std::unique_ptr<Expression>> values; // one: the value; two: level codes and values
};

class OnOffStatement : public Tagged<110, Statement>
{
public:
    enum Action : int { On = 0, Off = 1, To = 2, Pulse = 3 };
    static void fields(auto &node, auto &visit) { visit(node.action, node.channels); }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    int action = On;
    std::unique_ptr<ButtonExpression> channels;
};

class CreateLevelStatement : public Tagged<120, CommandStatement>
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.levelCode, node.variable); }
    void wasRead(ProgramContext &program);
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> levelCode;
    QString variable;
};

/// The record that create_buffer and clear_buffer share: the buffer's name is upper-cased when read.
class BufferStatement : public CommandStatement
{
public:
    static void fields(auto &node, auto &visit) { visit(node.device, node.buffer); }
    void wasRead();

    QString buffer;
};

class CreateBufferStatement : public Tagged<123, BufferStatement>
{
public:
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ClearBufferStatement : public Tagged<125, BufferStatement>
{
public:
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};
