#pragma once
#include "compiler/parsing/ExpressionParser.h"
#include "compiler/parsing/Outline.h"

#include <limits>

/// Reads what a program says of its devices as groups: EXCLUSIVE, COMBINE and LEVEL.
class DeviceGroupParser : public ExpressionParser
{
public:
    using ExpressionParser::ExpressionParser;
    static constexpr int kMostChannel = std::numeric_limits<int>::max();

    void parseExclusive(TokenRange range);
    void parseCombination(TokenRange range);
    void parseLevel(const Outline::Binding &binding);

private:
    AST &program() { return m_work.symbols.program(); }
    std::unique_ptr<Exclusive> parseExclusiveChannels();
};

/// By the name of a global device, else anonymous.
DeviceReference referenceTo(const AST &program, const DeviceAddress &address, const QString &name);
