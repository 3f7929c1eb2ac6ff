#pragma once
#include "interp/Expressions.h"

/// Statements that act on devices.

class CommandStatement : public Statement // they all begin with a device
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    std::unique_ptr<DeviceExpr> device;
};

class SendStringStatement : public CommandStatement
{
public:
    int typeTag() const override { return 100; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> payload;
};

class SendCommandStatement : public CommandStatement
{
public:
    int typeTag() const override { return 108; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> payload;
};

class SendLevelStatement : public CommandStatement
{
public:
    int typeTag() const override { return 109; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::vector<std::unique_ptr<Expression>> values; // one: the value; two: level codes and values
};

class OnOffStatement : public Statement
{
public:
    enum Action : int { On = 0, Off = 1, To = 2, Pulse = 3 };
    int typeTag() const override { return 110; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    int action = On;
    std::unique_ptr<ButtonExpression> channels;
};

class CreateLevelStatement : public CommandStatement
{
public:
    int typeTag() const override { return 120; }
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;

    std::unique_ptr<Expression> levelCode;
    QString variable;
};

/// The record that create_buffer and clear_buffer share: the buffer's name is upper-cased when read.
class BufferStatement : public CommandStatement
{
public:
    void writeTo(NodeWriter &writer) const override;
    void readFrom(NodeReader &reader) override;

    QString buffer;
};

class CreateBufferStatement : public BufferStatement
{
public:
    int typeTag() const override { return 123; }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};

class ClearBufferStatement : public BufferStatement
{
public:
    int typeTag() const override { return 125; }
    std::unique_ptr<Step> prepare(Preparer &preparer) const override;
};
