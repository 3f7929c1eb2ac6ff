#include "compiler/checks/Builtins.h"
#include "compiler/checks/Checks.h"
#include "compiler/parsing/ExpressionParser.h"
#include "library/Library.h"

#include <algorithm>

Operand ExpressionParser::parseCall()
{
    const Token name = cursor().next();
    Operand result;
    result.position = name.position;
    const CallableSymbol *callee = m_work.symbols.findFunction(name.text);
    const Builtin *builtin = callee ? nullptr : Library::find(name.text);
    if (!callee && !builtin && !reportOtherLanguage(m_work.sources, name)) {
        reportName(Fault::UnknownFunction, name,
                   m_work.symbols.findRoutine(name.text)
                       ? QStringLiteral("'%1' is a routine; write: call %1(…)").arg(name.text)
                       : QStringLiteral("unknown function '%1'%2")
                             .arg(name.text, didYouMean(m_work.symbols.closestFunction(name.text))));
    }
    if (builtin) {
        m_work.names.useSystem(NameIndex::Kind::Builtin, name);
    }
    using Kind = ExpressionChecks::Mark::Kind;
    if (callee) {
        m_work.names.use(name, callee->position);
        m_work.checks->usage.called(name.text);
        m_work.checks->expressions.mark(Kind::Call, name.text, name.position);
    } else if (builtin && hasEffects(name.text)) {
        m_work.checks->expressions.mark(Kind::BuiltinCall, name.text, name.position);
    }
    auto node = std::make_unique<FuncCallExpression>();
    node->functionName = name.text;
    node->arguments = parseArguments(callee, name.text, result.height);
    if (!node->arguments) {
        return {};
    }
    const int count = static_cast<int>(node->arguments->items.size());
    if (builtin && !builtin->takes(count)) {
        const QString wanted =
            builtin->leastArguments == builtin->mostArguments ? QString::number(builtin->leastArguments)
            : builtin->mostArguments == kAnyNumber
                ? QStringLiteral("at least %1").arg(builtin->leastArguments)
                : QStringLiteral("%1 to %2").arg(builtin->leastArguments).arg(builtin->mostArguments);
        report(Fault::ArgumentCount, name.position,
               QStringLiteral("'%1' takes %2 argument%3, not %4")
                   .arg(name.text, wanted,
                        wanted == QLatin1String("1") || wanted.endsWith(QLatin1String(" 1")) ? QString()
                                                                                             : QStringLiteral("s"))
                   .arg(count));
    }
    if (callee && callee->result) {
        result.type = *callee->result;
    } else if (builtin && builtin->result == ResultKind::Number) {
        result.type = kNumberType;
    }
    result.node = std::move(node);
    return result;
}

std::unique_ptr<ExpressionList> ExpressionParser::parseArguments(const CallableSymbol *callee, const QString &name,
                                                                 int &height)
{
    const SourcePosition position = cursor().previous().position;
    if (!cursor().expect(TokenKind::LeftParen, "'('")) {
        return nullptr;
    }
    std::vector<Operand> arguments;
    const TokenCursor::Nested nested(cursor());
    while (!cursor().at(TokenKind::RightParen)) {
        const size_t index = arguments.size();
        const bool isKnown = callee && index < callee->parameters.size();
        Operand argument = isKnown ? parseValueFor(callee->parameters[index].type) : parseValueFor({});
        if (!argument) {
            return nullptr;
        }
        height = std::max(height, argument.height + 1);
        arguments.push_back(std::move(argument));
        if (!cursor().take(TokenKind::Comma)) {
            break;
        }
    }
    if (!cursor().expect(TokenKind::RightParen, "',' or ')'")) {
        return nullptr;
    }
    if (callee && !callee->isFaulty && callee->parameters.size() != arguments.size()) {
        report(Fault::ArgumentCount, position,
               QStringLiteral("'%1' takes %2 argument%3, not %4")
                   .arg(name)
                   .arg(callee->parameters.size())
                   .arg(callee->parameters.size() == 1 ? QString() : QStringLiteral("s"))
                   .arg(arguments.size()));
    }
    if (!callee) {
        m_work.checks->usage.builtinCall(name, arguments);
    }
    auto list = std::make_unique<ExpressionList>();
    for (Operand &argument : arguments) {
        list->items.push_back(std::move(argument.node));
    }
    return list;
}
