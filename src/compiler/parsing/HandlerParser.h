#pragma once
#include "compiler/parsing/StatementParser.h"
#include "events/EventHandlers.h"

#include <functional>

/// Reads the event handlers of a program.
class HandlerParser : public ExpressionParser
{
public:
    HandlerParser(Workspace &workspace, StatementParser &statements)
        : ExpressionParser(workspace)
        , m_statements(statements)
    {}

    void parse(const Outline::Handler &outline);

private:
    AST &program() { return m_work.symbols.program(); }
    const Token &token(size_t index) const { return m_work.cursor.token(index); }
    void parseButtonHandler(const Outline::Handler &outline);
    void parseDataHandler(const Outline::Handler &outline);
    void parseLevelHandler(const Outline::Handler &outline);
    void parseTimelineHandler(const Outline::Handler &outline);
    using Handlers = std::vector<std::unique_ptr<SubEventHandler>>;
    using PartSeen = std::function<void(const QString &part, SourcePosition position)>;
    bool parseParts(const Outline::Handler &outline, bool isData, Handlers &handlers, const PartSeen &seen);
    std::unique_ptr<SubEventHandler> parsePartHead(bool isData);
    std::unique_ptr<SubEventHandler> parseHold();
    std::unique_ptr<Statement> parseEventBody(TokenRange body, const char *dataName, int dataType);
    TokenRange bodyAtCursor();
    std::vector<std::unique_ptr<ButtonExpression>> parseTriggers(TokenRange range, ButtonUse use);
    void warnUnlessDeclared(const DeviceAddress &address, SourcePosition position);

    StatementParser &m_statements;
};
