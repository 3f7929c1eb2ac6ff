#include "compiler/parsing/ProgramParser.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/DeviceGroupParser.h"
#include "compiler/parsing/HandlerParser.h"
#include "library/Library.h"

void ProgramParser::nameCallables()
{
    for (const Outline::Callable &function : m_outline.functions) {
        const Token &name = token(function.name);
        const CallableSymbol symbol = symbolOf(function);
        if (Library::find(name.text)) {
            report(Fault::DuplicateName, name.position,
                   QStringLiteral("'%1' is a function of the library").arg(name.text));
        } else if (!m_work.symbols.addFunction(symbol)) {
            report(Fault::DuplicateName, name.position,
                   QStringLiteral("the function '%1' is already defined (%2)")
                       .arg(name.text, m_work.sources.lineReference(m_work.symbols.findFunction(name.text)->position,
                                                                    name.position)));
        }
    }
    for (const Outline::Callable &routine : m_outline.routines) {
        const Token &name = token(routine.name);
        if (!m_work.symbols.addRoutine(symbolOf(routine))) {
            report(Fault::DuplicateName, name.position,
                   QStringLiteral("the routine '%1' is already defined (%2)")
                       .arg(name.text, m_work.sources.lineReference(m_work.symbols.findRoutine(name.text)->position,
                                                                    name.position)));
        }
    }
}

CallableSymbol ProgramParser::symbolOf(const Outline::Callable &callable)
{
    const Token &name = token(callable.name);
    CallableSymbol symbol{ name.text, name.position, {}, std::nullopt, callable.isFaulty };
    if (isReservedWord(name.text)) {
        report(Fault::ReservedWord, name.position, QStringLiteral("'%1' is a word of the language").arg(name.text));
    }
    if (callable.type != 0) {
        const std::optional<int> code = m_globals.typeCodeAt(callable.type);
        symbol.result = StaticType{ code.value_or(StaticType::Unknown), static_cast<int>(callable.sizes.size()) };
    }
    const size_t head = callable.type != 0 ? callable.type - 1 : callable.name - 1;
    const auto kind = token(head).isName("routine") ? NameIndex::Kind::Routine : NameIndex::Kind::Function;
    const size_t shownLast = std::max(callable.name + 1, callable.parameters.last + 1);
    m_work.names.declare(kind, cursor(), { head, callable.name }, { callable.name, shownLast });
    m_work.names.extend(cursor(), callable.name, std::max(shownLast, callable.body.last) - 1);
    const TokenCursor::Visit visit(cursor(), callable.parameters);
    const TokenCursor::Nested nested(cursor());
    while (!cursor().atEnd() && readParameter(symbol.parameters) && cursor().take(TokenKind::Comma)) {
    }
    symbol.isFaulty = symbol.isFaulty || !cursor().atEnd();
    return symbol;
}

/// The type and name of a parameter; the cursor ends behind its brackets. False: no parameter stands here.
bool ProgramParser::readParameter(std::vector<Parameter> &parameters)
{
    if (!cursor().at(TokenKind::Name) || !cursor().peek(1).is(TokenKind::Name)) {
        cursor().expected("a parameter: its type and its name");
        return false;
    }
    const size_t head = cursor().index();
    Parameter parameter;
    parameter.type.code = m_globals.typeCodeAt(cursor().index()).value_or(StaticType::Unknown);
    cursor().next();
    parameter.name = cursor().peek().text;
    parameter.position = cursor().position();
    cursor().next();
    for (; cursor().at(TokenKind::LeftBracket); ++parameter.type.dimensions) {
        if (!cursor().skipBalanced()) {
            cursor().report(Fault::UnclosedBracket, QStringLiteral("']' is missing"));
            return false;
        }
    }
    m_work.names.declare(NameIndex::Kind::Parameter, cursor(), { head, head + 1 }, { head + 1, cursor().index() });
    parameters.push_back(parameter);
    return true;
}

void ProgramParser::parse()
{
    if (m_outline.programName != 0 && !token(m_outline.programName).text.isEmpty()) {
        program().setProgramName(token(m_outline.programName).text);
    }
    DeviceGroupParser groups(m_work);
    HandlerParser handlers(m_work, m_statements);
    for (const TokenRange &range : m_outline.exclusives) {
        groups.parseExclusive(range);
    }
    for (const Outline::Callable &function : m_outline.functions) {
        parseFunction(function);
    }
    for (const Outline::Callable &routine : m_outline.routines) {
        parseRoutine(routine);
    }
    program().startBlock = parseOnlyBlock(m_outline.startBlocks, Places::Kind::Start);
    program().mainlineBlock = parseOnlyBlock(m_outline.mainlineBlocks, Places::Kind::Mainline);
    for (const Outline::Handler &handler : m_outline.handlers) {
        handlers.parse(handler);
    }
    for (const TokenRange &range : m_outline.combinations) {
        groups.parseCombination(range);
    }
    for (const Outline::Binding &binding : m_outline.levels) {
        groups.parseLevel(binding);
    }
}

std::unique_ptr<FunctionArgList> ProgramParser::parseParameters(const Outline::Callable &callable)
{
    auto arguments = std::make_unique<FunctionArgList>();
    const TokenCursor::Visit visit(cursor(), callable.parameters);
    const TokenCursor::Nested nested(cursor());
    while (!cursor().atEnd()) {
        if (!cursor().at(TokenKind::Name) || !cursor().peek(1).is(TokenKind::Name)) {
            break; // has been reported
        }
        FunctionArg argument;
        argument.typeCode = m_work.symbols.typeCodeOf(cursor().next().text);
        argument.declaration = std::make_unique<VarExpression>(normalisedName(cursor().next().text));
        while (cursor().at(TokenKind::LeftBracket)) {
            auto array = std::make_unique<ArrayExpression>();
            array->base = std::move(argument.declaration);
            TokenRange size{ cursor().index() + 1, 0 };
            cursor().skipBalanced();
            size.last = cursor().index() - 1;
            const std::optional<std::vector<int>> sizes = m_globals.sizesOf({ size });
            if (sizes && sizes->front() != 0) {
                array->index = std::make_unique<ConstExpression>(sizes->front());
            }
            argument.declaration = std::move(array);
        }
        arguments->push_back(std::move(argument));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    if (!cursor().atEnd()) {
        cursor().expected("',' or ')'");
    }
    return arguments;
}

std::unique_ptr<CompoundStatement> ProgramParser::parseBody(const Outline::Callable &callable,
                                                            const CallableSymbol &symbol, Result result)
{
    if (callable.body.isEmpty() || symbol.isFaulty) {
        return nullptr;
    }
    std::vector<LocalScope::Local> locals;
    for (const Parameter &parameter : symbol.parameters) {
        for (const LocalScope::Local &other : locals) {
            if (normalisedName(other.name) == normalisedName(parameter.name)) {
                report(Fault::DuplicateName, parameter.position,
                       QStringLiteral("there is a parameter '%1' already").arg(parameter.name));
            }
        }
        if (const QString problem = nameProblem(parameter.name, parameter.type.isArray()); !problem.isEmpty()) {
            report(Fault::ReservedWord, parameter.position, problem);
        }
        locals.push_back({ parameter.name, parameter.type, parameter.position, LocalScope::Kind::Parameter });
    }
    StatementParser::Surroundings surroundings;
    surroundings.hasResult = result == Result::Possible;
    m_work.places.enter(result == Result::Possible ? Places::Kind::Function : Places::Kind::Routine, symbol.name,
                        symbol.position);
    m_work.checks->usage.enterCallable(symbol.name);
    std::unique_ptr<CompoundStatement> body = m_statements.parseBody(callable.body, locals, surroundings);
    m_work.checks->usage.leaveCallable();
    if (symbol.result && !surroundings.returned) {
        m_work.sources.report(Fault::NoResult, symbol.position,
                              QStringLiteral("the function '%1' never returns a value").arg(symbol.name));
    } else if (symbol.result && body) {
        m_work.checks->usage.body(symbol, body.get());
    }
    return body;
}

void ProgramParser::parseFunction(const Outline::Callable &outline)
{
    const CallableSymbol symbol = symbolOf(outline);
    auto function = std::make_unique<ProgramFunction>(symbol.name);
    function->arguments = parseParameters(outline);
    function->body = parseBody(outline, symbol, Result::Possible);
    if (symbol.result) {
        function->setReturnType({ symbol.result->code, m_globals.sizesOf(outline.sizes).value_or(std::vector<int>()) });
    }
    if (!m_work.sources.hasErrors()) {
        program().addFunction(std::move(function));
    }
}

void ProgramParser::parseRoutine(const Outline::Callable &outline)
{
    const CallableSymbol symbol = symbolOf(outline);
    auto routine = std::make_unique<ProgramRoutine>(symbol.name);
    routine->arguments = parseParameters(outline);
    routine->body = parseBody(outline, symbol, Result::None);
    if (!m_work.sources.hasErrors()) {
        program().addCallRoutine(std::move(routine));
    }
}

std::unique_ptr<StatementList> ProgramParser::parseOnlyBlock(const std::vector<Outline::Block> &blocks,
                                                             Places::Kind kind)
{
    std::unique_ptr<StatementList> list;
    for (const Outline::Block &block : blocks) {
        if (list) {
            report(Fault::DuplicateName, token(block.word).position,
                   QStringLiteral("there is a %1 block already (%2)")
                       .arg(token(block.word).text.toLower(),
                            m_work.sources.lineReference(token(blocks.front().word).position,
                                                         token(block.word).position)));
        }
        if (block.body.isEmpty()) {
            continue;
        }
        m_work.places.enter(kind, {}, token(block.word).position);
        m_work.names.block(cursor(), { block.word, block.word + 1 }, block.body.last - 1);
        std::unique_ptr<StatementList> body = m_statements.parsePlainBody(block.body);
        if (!list) {
            list = std::move(body);
        }
    }
    return list;
}
